#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace service {

// What the watch page of a video shows: its streams, one of the service's four
// notices, or streams that are only offered over rtmpe.
enum class VideoKind { normal, notice1, notice2, notice3, notice4, rtmpe };

std::string_view kindName(VideoKind kind);
std::optional<VideoKind> parseVideoKind(std::string_view name);

struct Video {
    std::string id;
    std::uint64_t seconds = 0;
    VideoKind kind = VideoKind::normal;
    std::string title; // UTF-8, as shown
    std::string description;
    std::vector<int> itags; // the streams there are, in stream-map order
};

} // namespace service
