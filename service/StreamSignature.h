#pragma once

#include <string>
#include <string_view>

namespace service {

// The signature a stream address must carry: derived from the video and the
// format, so that the service keeps no table of handed-out addresses.
std::string streamSignature(std::string_view videoId, int itag);

} // namespace service
