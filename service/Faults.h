#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace service {

enum class RequestKind { feed, watch, parser, thumbnail, media };
std::optional<RequestKind> parseRequestKind(std::string_view name);

// How the parser service misbehaves: not at all, by closing the connection
// without a reply, or by answering something that is neither "DONE: " nor "YERR: ".
enum class ParserMode { ok, down, garbage };

// The faults the service is told to show, for tests and demos.
struct Faults {
    std::map<RequestKind, std::chrono::milliseconds> latency;
    ParserMode parser = ParserMode::ok;
    // By video id: streams answered with a status, cut off half-way, or stalled.
    std::map<std::string, int, std::less<>> failStreams;
    std::set<std::string, std::less<>> cutStreams;
    std::set<std::string, std::less<>> stallStreams;
    // Every feed answer padded to this many items (0: not padded).
    std::size_t feedSize = 0;
    // The hostile mode: the local file its videos point at, and that file's
    // bytes, which no request may ever carry here.
    std::filesystem::path hostileFile;
    std::string secret;

    std::chrono::milliseconds latencyOf(RequestKind kind) const;
};

} // namespace service
