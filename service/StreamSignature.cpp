#include "service/StreamSignature.h"

#include <cstdint>
#include <cstdio>

namespace service {

namespace {

std::uint64_t fnv1a(std::string_view text, std::uint64_t hash)
{
    for (const unsigned char c : text) {
        hash ^= c;
        hash *= 0x100000001b3ULL;
    }
    return hash;
}

} // namespace

std::string streamSignature(std::string_view videoId, int itag, std::optional<std::int64_t> expire)
{
    std::string key = std::string(videoId) + '/' + std::to_string(itag);
    if (expire)
        key += '/' + std::to_string(*expire);
    // Two halves around a dot, like the signatures the service used to hand out.
    const std::uint64_t first = fnv1a(key, 0xcbf29ce484222325ULL);
    const std::uint64_t second = fnv1a(key, first ^ 0x6d656c6f64726966ULL);
    char text[34];
    std::snprintf(text, sizeof text, "%016llX.%016llX", static_cast<unsigned long long>(first),
                  static_cast<unsigned long long>(second));
    return text;
}

} // namespace service
