#include "service/Faults.h"

namespace service {

std::optional<RequestKind> parseRequestKind(std::string_view name)
{
    if (name == "feed")
        return RequestKind::feed;
    if (name == "watch")
        return RequestKind::watch;
    if (name == "parser")
        return RequestKind::parser;
    if (name == "thumbnail")
        return RequestKind::thumbnail;
    if (name == "media")
        return RequestKind::media;
    return std::nullopt;
}

std::chrono::milliseconds Faults::latencyOf(RequestKind kind) const
{
    const auto it = latency.find(kind);
    return it == latency.end() ? std::chrono::milliseconds(0) : it->second;
}

} // namespace service
