#pragma once

#include <charconv>
#include <optional>
#include <string_view>

namespace service {

// text as a whole number of that type: digits only (a sign where the type has
// one), nothing around them, and in range.
template <class Number>
std::optional<Number> wholeNumber(std::string_view text)
{
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

} // namespace service
