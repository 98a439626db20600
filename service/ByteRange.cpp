#include "service/ByteRange.h"

#include <limits>
#include <optional>

namespace service {

namespace {

std::string_view trim(std::string_view text)
{
    const auto begin = text.find_first_not_of(" \t");
    if (begin == std::string_view::npos)
        return {};
    const auto end = text.find_last_not_of(" \t");
    return text.substr(begin, end - begin + 1);
}

// Digits only; a number too large for 64 bits saturates.
std::optional<std::uint64_t> number(std::string_view text)
{
    if (text.empty())
        return std::nullopt;
    std::uint64_t value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9')
            return std::nullopt;
        const auto digit = static_cast<std::uint64_t>(c - '0');
        if (value > (std::numeric_limits<std::uint64_t>::max() - digit) / 10)
            value = std::numeric_limits<std::uint64_t>::max();
        else
            value = value * 10 + digit;
    }
    return value;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if ((a[i] | 0x20) != (b[i] | 0x20))
            return false;
    return true;
}

} // namespace

ByteRange ByteRange::parse(std::string_view header, std::uint64_t size)
{
    const ByteRange whole;
    const ByteRange unsatisfiable{Kind::unsatisfiable, 0, 0};

    header = trim(header);
    const auto eq = header.find('=');
    if (eq == std::string_view::npos || !equalsIgnoringCase(trim(header.substr(0, eq)), "bytes"))
        return whole;
    const std::string_view ranges = trim(header.substr(eq + 1));
    if (ranges.find(',') != std::string_view::npos)
        return whole;
    const auto dash = ranges.find('-');
    if (dash == std::string_view::npos)
        return whole;
    const std::string_view from = trim(ranges.substr(0, dash));
    const std::string_view to = trim(ranges.substr(dash + 1));

    if (from.empty()) {
        // The last n bytes.
        const auto n = number(to);
        if (!n)
            return whole;
        if (*n == 0 || size == 0)
            return unsatisfiable;
        return {Kind::partial, *n >= size ? 0 : size - *n, size - 1};
    }
    const auto first = number(from);
    if (!first)
        return whole;
    std::uint64_t last = std::numeric_limits<std::uint64_t>::max();
    if (!to.empty()) {
        const auto parsed = number(to);
        if (!parsed || *parsed < *first)
            return whole;
        last = *parsed;
    }
    if (*first >= size)
        return unsatisfiable;
    return {Kind::partial, *first, last >= size ? size - 1 : last};
}

} // namespace service
