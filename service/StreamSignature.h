#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace service {

// The signature a stream address must carry: derived from the video, the format
// and, for addresses that expire, the moment they do (Unix seconds), so that the
// service keeps no table of handed-out addresses and none can be prolonged.
std::string streamSignature(std::string_view videoId, int itag, std::optional<std::int64_t> expire = std::nullopt);

} // namespace service
