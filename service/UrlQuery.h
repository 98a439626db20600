#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace service {

// The query of a request target, read tolerantly: pairs split at "&", "+" and
// "%XX" decoded, a "%" without two hex digits kept as it stands.
class UrlQuery {
public:
    explicit UrlQuery(std::string_view query);

    // Path and query of a request target ("/p?q", or "http://host/p?q").
    static std::pair<std::string_view, std::string_view> splitTarget(std::string_view target);

    // The first value of key.
    std::optional<std::string> value(std::string_view key) const;

    static std::string decode(std::string_view text);
    // Everything but letters, digits and "-._~" as "%XX", blanks as "+".
    static std::string encode(std::string_view text);

private:
    std::vector<std::pair<std::string, std::string>> pairs_;
};

} // namespace service
