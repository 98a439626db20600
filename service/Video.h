#pragma once

#include <chrono>
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
        std::string link;                // the feed item's <link> text, as it stands
        std::string titleXml;            // the feed item's <title> text, as it stands
        std::string stream;              // every stream's address
        std::string mediaOf;             // the video whose media files its streams are
        std::filesystem::path picture;   // its thumbnail's file
        std::string channelXml;          // the feed item's channel name, as it stands
        std::filesystem::path subtitles; // its subtitle track's file, for every language
    };
    std::optional<Hostile> hostile;

    // Last and with initializers: a video written out without them is still
    // whole, and the catalogue makes them up from its id.
    std::string channel = {};
    std::chrono::year_month_day uploaded = {};
};

// A channel name and an upload date of the id's own, the same on every run.
std::string channelFromId(std::string_view id);
std::chrono::year_month_day uploadDateFromId(std::string_view id);

// "2012-11-19", as JSON-LD and catalogue files write dates; nullopt for anything
// else or a day that does not exist.
std::string isoDate(std::chrono::year_month_day date);
std::optional<std::chrono::year_month_day> parseIsoDate(std::string_view text);
// Noon of the day, which keeps the date where readers shift it to a zone up to
// twelve hours away. For feeds "Mon, 19 Nov 2012 12:00:00 +0000" (strict RFC 2822
// readers, Qt's among them, refuse the obsolete "GMT"); for HTTP headers the
// same with "GMT", which HTTP requires.
std::string rfc822Date(std::chrono::year_month_day date);
std::string httpDate(std::chrono::year_month_day date);

} // namespace service
