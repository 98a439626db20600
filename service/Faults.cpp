#include "service/Faults.h"

#include "service/WholeNumber.h"

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
    if (name == "subtitles")
        return RequestKind::subtitles;
    if (name == "media")
        return RequestKind::media;
    return std::nullopt;
}

std::optional<std::pair<std::string, StreamCut>> StreamCut::parse(std::string_view text)
{
    // Video ids never hold a colon.
    const auto colon = text.find(':');
    const std::string_view id = text.substr(0, colon);
    if (id.empty())
        return std::nullopt;
    StreamCut cut;
    if (colon != std::string_view::npos) {
        const std::string_view rest = text.substr(colon + 1);
        const auto second = rest.find(':');
        cut.after = wholeNumber<std::uint64_t>(rest.substr(0, second));
        if (!cut.after)
            return std::nullopt;
        if (second != std::string_view::npos) {
            cut.times = wholeNumber<unsigned>(rest.substr(second + 1));
            if (!cut.times || *cut.times == 0)
                return std::nullopt;
        }
    }
    return std::pair{std::string(id), cut};
}

std::chrono::milliseconds Faults::latencyOf(RequestKind kind) const
{
    const auto it = latency.find(kind);
    return it == latency.end() ? std::chrono::milliseconds(0) : it->second;
}

} // namespace service
