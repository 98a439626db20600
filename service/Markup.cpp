#include "service/Markup.h"

namespace service {

std::string escapeXml(std::string_view text)
{
    std::string out;
    out.reserve(text.size() + text.size() / 8);
    for (const char c : text) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        case '\'': out += "&#39;"; break;
        case '\t':
        case '\n':
        case '\r': out += c; break;
        default:
            if (static_cast<unsigned char>(c) >= 0x20)
                out += c;
        }
    }
    return out;
}

std::string escapeHtml(std::string_view utf8)
{
    std::string out;
    out.reserve(utf8.size() + utf8.size() / 4);
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const auto c = static_cast<unsigned char>(utf8[i]);
        switch (c) {
        case '&': out += "&amp;"; continue;
        case '<': out += "&lt;"; continue;
        case '>': out += "&gt;"; continue;
        case '"': out += "&quot;"; continue;
        case '\'': out += "&#39;"; continue;
        default: break;
        }
        if (c < 0x80) {
            out += static_cast<char>(c);
            continue;
        }
        // A multi-byte sequence becomes one numeric reference; a broken one is
        // passed on byte by byte.
        const std::size_t length = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : c >= 0xC0 ? 2 : 0;
        char32_t code = length == 4 ? c & 0x07 : length == 3 ? c & 0x0F : c & 0x1F;
        bool valid = length != 0 && i + length <= utf8.size();
        for (std::size_t k = 1; valid && k < length; ++k) {
            const auto next = static_cast<unsigned char>(utf8[i + k]);
            valid = (next & 0xC0) == 0x80;
            code = (code << 6) | (next & 0x3F);
        }
        if (!valid) {
            out += static_cast<char>(c);
            continue;
        }
        out += "&#" + std::to_string(static_cast<unsigned long>(code)) + ';';
        i += length - 1;
    }
    return out;
}

std::string escapeJson(std::string_view utf8)
{
    static constexpr char hex[] = "0123456789abcdef";
    std::string out;
    out.reserve(utf8.size() + utf8.size() / 8);
    for (const char c : utf8) {
        const auto byte = static_cast<unsigned char>(c);
        switch (c) {
        case '"': out += "\\\""; continue;
        case '\\': out += "\\\\"; continue;
        case '\n': out += "\\n"; continue;
        default: break;
        }
        if (byte < 0x20 || c == '<' || c == '>' || c == '&') {
            out += "\\u00";
            out += hex[byte >> 4];
            out += hex[byte & 0xF];
        } else {
            out += c;
        }
    }
    return out;
}

} // namespace service
