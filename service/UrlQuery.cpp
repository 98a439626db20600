#include "service/UrlQuery.h"

#include "core/hex_digit.h"

namespace service {

namespace {

bool unreserved(unsigned char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
           c == '_' || c == '~';
}

} // namespace

UrlQuery::UrlQuery(std::string_view query)
{
    for (std::size_t start = 0; start <= query.size();) {
        auto amp = query.find('&', start);
        if (amp == std::string_view::npos)
            amp = query.size();
        const auto pair = query.substr(start, amp - start);
        if (!pair.empty()) {
            const auto eq = pair.find('=');
            pairs_.emplace_back(decode(pair.substr(0, eq)),
                                eq == std::string_view::npos ? std::string() : decode(pair.substr(eq + 1)));
        }
        start = amp + 1;
    }
}

std::pair<std::string_view, std::string_view> UrlQuery::splitTarget(std::string_view target)
{
    if (target.starts_with("http://") || target.starts_with("https://")) {
        const auto authority = target.find("//") + 2;
        const auto path = target.find_first_of("/?", authority);
        target = path == std::string_view::npos ? std::string_view("/") : target.substr(path);
    }
    const auto question = target.find('?');
    if (question == std::string_view::npos)
        return {target, {}};
    return {target.substr(0, question), target.substr(question + 1)};
}

std::optional<std::string> UrlQuery::value(std::string_view key) const
{
    for (const auto& [k, v] : pairs_)
        if (k == key)
            return v;
    return std::nullopt;
}

std::string UrlQuery::decode(std::string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '+') {
            out += ' ';
        } else if (c == '%' && i + 2 < text.size() && hex_digit_value(text[i + 1]) >= 0 && hex_digit_value(text[i + 2]) >= 0) {
            out += static_cast<char>(hex_digit_value(text[i + 1]) * 16 + hex_digit_value(text[i + 2]));
            i += 2;
        } else {
            out += c;
        }
    }
    return out;
}

std::string UrlQuery::encode(std::string_view text)
{
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(text.size() * 3);
    for (const unsigned char c : text) {
        if (unreserved(c)) {
            out += static_cast<char>(c);
        } else if (c == ' ') {
            out += '+';
        } else {
            out += '%';
            out += digits[c >> 4];
            out += digits[c & 15];
        }
    }
    return out;
}

} // namespace service
