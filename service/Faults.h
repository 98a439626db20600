#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace service {

enum class RequestKind { feed, watch, parser, thumbnail, subtitles, media };
std::optional<RequestKind> parseRequestKind(std::string_view name);

// How the parser service misbehaves: not at all, by closing the connection
// without a reply, or by answering something that is neither "DONE: " nor "YERR: ".
enum class ParserMode { ok, down, garbage };

// Where a video's streams are cut off, and how often.
struct StreamCut {
    std::optional<std::uint64_t> after; // body bytes; half the body without
    std::optional<unsigned> times;      // the first requests cut; all without

    // "ID", "ID:BYTES" or "ID:BYTES:TIMES" (TIMES at least 1); nullopt for
    // anything else.
    static std::optional<std::pair<std::string, StreamCut>> parse(std::string_view text);
};

// The faults the service is told to show, for tests and demos.
struct Faults {
    std::map<RequestKind, std::chrono::milliseconds> latency;
    ParserMode parser = ParserMode::ok;
    // By video id: streams answered with a status, cut off, or stalled.
    std::map<std::string, int, std::less<>> failStreams;
    std::map<std::string, StreamCut, std::less<>> cutStreams;
    std::set<std::string, std::less<>> stallStreams;
    // KiB/s, 0 for none: throttleKiB paces whole streams and ranges wider than
    // throttledRange, perConnectionKiB every stream answer; the lower one wins.
    static constexpr std::uint64_t throttledRange = 10 * 1024 * 1024;
    std::uint64_t throttleKiB = 0;
    std::uint64_t perConnectionKiB = 0;
    // With it, stream addresses are good for this long after their page was made.
    std::optional<std::chrono::seconds> expireAfter;
    // Every feed answer padded to this many items (0: not padded).
    std::size_t feedSize = 0;
    // The hostile mode: the local file its videos point at, and that file's
    // bytes, which no request may ever carry here.
    std::filesystem::path hostileFile;
    std::string secret;

    std::chrono::milliseconds latencyOf(RequestKind kind) const;
};

} // namespace service
