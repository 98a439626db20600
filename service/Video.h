#pragma once

#include <cstdint>
#include <filesystem>
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

    // What a service in the wrong hands puts in place of the usual (--hostile);
    // each field empty where the video's own stands.
    struct Hostile {
        std::string link;              // the feed item's <link> text, as it stands
        std::string titleXml;          // the feed item's <title> text, as it stands
        std::string stream;            // every stream's address
        std::string mediaOf;           // the video whose media files its streams are
        std::filesystem::path picture; // its thumbnail's file
    };
    std::optional<Hostile> hostile;
};

} // namespace service
