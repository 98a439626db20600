#pragma once

#include "service/Video.h"

#include <filesystem>
#include <string>
#include <vector>

namespace service {

// The videos of the hostile mode (--hostile FILE): what a service in the wrong
// hands, or anyone on the network path, could send. Each description holds the
// word "hostile", so that a search for it lists them all:
//   "Local Link"      its feed link is the local FILE
//   "Local Stream"    its streams' address is the local FILE
//   "Bomb Picture"    its thumbnail is a small PNG that declares 5600 x 5600
//   an escape title   terminal escapes in its title and channel name, raw and
//                     as "&#27;"; its subtitle track, the file subtitles (over
//                     5 MiB), full of control characters
//   "%1 and %2"       a title that a formatter could read as place holders, and
//                     a channel name of tens of kilobytes
// The others' streams are those of a demo video with an MP4 stream.
std::vector<Video> hostileVideos(const std::filesystem::path& secret, const std::filesystem::path& bombPicture,
                                 const std::filesystem::path& subtitles);

// The escape title as the watch page and the parser give it.
extern const char* const hostileEscapeTitle;

} // namespace service
