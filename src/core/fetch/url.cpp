#include "core/fetch/url.h"

#include <boost/system/system_error.hpp>

#include <algorithm>
#include <cctype>

namespace urdl {

namespace {

bool is_protocol_char(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) || c == '+' || c == '-' || c == '.';
}

// Blanks and control bytes would end up inside the request line.
bool is_url_char(char c)
{
    const auto u = static_cast<unsigned char>(c);
    return u > 0x20 && u != 0x7F;
}

std::string lower(std::string_view text)
{
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(), [](unsigned char c) { return std::tolower(c); });
    return out;
}

} // namespace

url::url(const char* text) : url(from_string(text)) {}

url::url(const std::string& text) : url(from_string(text)) {}

url url::from_string(std::string_view text)
{
    boost::system::error_code ec;
    url result = from_string(text, ec);
    if (ec)
        throw boost::system::system_error(ec);
    return result;
}

url url::from_string(std::string_view text, boost::system::error_code& ec)
{
    const auto invalid = [&ec] {
        ec = boost::system::errc::make_error_code(boost::system::errc::invalid_argument);
        return url();
    };
    if (!std::all_of(text.begin(), text.end(), is_url_char))
        return invalid();

    url u;
    const auto scheme_end = text.find("://");
    if (scheme_end == 0 || scheme_end == std::string_view::npos ||
        !std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(scheme_end), is_protocol_char))
        return invalid();
    u.protocol_ = lower(text.substr(0, scheme_end));
    text.remove_prefix(scheme_end + 3);

    std::string_view authority = text.substr(0, text.find_first_of("/?#"));
    text.remove_prefix(authority.size());

    if (const auto at = authority.rfind('@'); at != std::string_view::npos) {
        u.user_info_ = authority.substr(0, at);
        authority.remove_prefix(at + 1);
    }

    std::string_view port;
    if (!authority.empty() && authority.front() == '[') {
        const auto close = authority.find(']');
        if (close == std::string_view::npos || close == 1)
            return invalid();
        u.host_ = authority.substr(1, close - 1);
        u.ipv6_host_ = true;
        authority.remove_prefix(close + 1);
        if (!authority.empty()) {
            if (authority.front() != ':')
                return invalid();
            port = authority.substr(1);
            if (port.empty())
                return invalid();
        }
    } else {
        const auto colon = authority.find(':');
        u.host_ = authority.substr(0, colon);
        if (colon != std::string_view::npos) {
            port = authority.substr(colon + 1);
            if (port.empty())
                return invalid();
        }
    }
    if (u.host_.empty() && u.protocol_ != "file")
        return invalid();
    if (!port.empty()) {
        if (port.size() > 5 || !std::all_of(port.begin(), port.end(), [](char c) { return c >= '0' && c <= '9'; }) ||
            std::stoul(std::string(port)) > 65535)
            return invalid();
        u.port_ = port;
    }

    const auto hash = text.find('#');
    if (hash != std::string_view::npos) {
        u.fragment_ = text.substr(hash + 1);
        text = text.substr(0, hash);
    }
    const auto question = text.find('?');
    if (question != std::string_view::npos) {
        u.query_ = text.substr(question + 1);
        text = text.substr(0, question);
    }
    if (!text.empty())
        u.path_ = text;

    ec.clear();
    return u;
}

unsigned short url::port() const noexcept
{
    if (!port_.empty())
        return static_cast<unsigned short>(std::stoul(port_));
    if (protocol_ == "http")
        return 80;
    if (protocol_ == "https")
        return 443;
    if (protocol_ == "ftp")
        return 21;
    return 0;
}

std::string url::to_string(int components) const
{
    std::string s;
    if ((components & protocol_component) && !protocol_.empty())
        s += protocol_ + "://";
    if ((components & user_info_component) && !user_info_.empty())
        s += user_info_ + "@";
    if (components & host_component)
        s += ipv6_host_ ? "[" + host_ + "]" : host_;
    if ((components & port_component) && !port_.empty())
        s += ":" + port_;
    if (components & path_component)
        s += path_;
    if ((components & query_component) && !query_.empty())
        s += "?" + query_;
    if ((components & fragment_component) && !fragment_.empty())
        s += "#" + fragment_;
    return s;
}

url url::resolve(std::string_view target, boost::system::error_code& ec) const
{
    if (target.find("://") != std::string_view::npos)
        return from_string(target, ec);
    const std::string origin = to_string(protocol_component | user_info_component | host_component | port_component);
    if (target.substr(0, 2) == "//")
        return from_string(protocol_ + ":" + std::string(target), ec);
    if (!target.empty() && target.front() == '/')
        return from_string(origin + std::string(target), ec);
    // Relative to the folder of the current path.
    return from_string(origin + path_.substr(0, path_.rfind('/') + 1) + std::string(target), ec);
}

} // namespace urdl
