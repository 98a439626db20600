#include "service/Video.h"

#include <array>
#include <utility>

namespace service {

namespace {

constexpr std::array<std::pair<VideoKind, std::string_view>, 6> names{{
    {VideoKind::normal, "normal"},
    {VideoKind::notice1, "notice1"},
    {VideoKind::notice2, "notice2"},
    {VideoKind::notice3, "notice3"},
    {VideoKind::notice4, "notice4"},
    {VideoKind::rtmpe, "rtmpe"},
}};

} // namespace

std::string_view kindName(VideoKind kind)
{
    for (const auto& [k, name] : names)
        if (k == kind)
            return name;
    return "normal";
}

std::optional<VideoKind> parseVideoKind(std::string_view name)
{
    for (const auto& [k, n] : names)
        if (n == name)
            return k;
    return std::nullopt;
}

} // namespace service
