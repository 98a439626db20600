#pragma once

#include <boost/system/error_code.hpp>

#include <string>
#include <string_view>

namespace urdl {

// protocol "://" [user info "@"] host [":" port] path ["?" query] ["#" fragment]
// The host may be a bracketed IPv6 literal; it is kept without its brackets.
class url {
public:
    enum components_type {
        protocol_component = 1,
        user_info_component = 2,
        host_component = 4,
        port_component = 8,
        path_component = 16,
        query_component = 32,
        fragment_component = 64,
        all_components = 127,
    };

    url() = default;
    // Throws boost::system::system_error for text that is no URL.
    url(const char* text);
    url(const std::string& text);

    static url from_string(std::string_view text, boost::system::error_code& ec);
    static url from_string(std::string_view text);

    const std::string& protocol() const noexcept { return protocol_; }
    const std::string& user_info() const noexcept { return user_info_; }
    const std::string& host() const noexcept { return host_; }
    // The explicit port, else the protocol's default (http 80, https 443, ftp 21), else 0.
    unsigned short port() const noexcept;
    // Never empty: "/" when the text had no path.
    const std::string& path() const noexcept { return path_; }
    const std::string& query() const noexcept { return query_; }
    const std::string& fragment() const noexcept { return fragment_; }

    // The chosen components with their separators; the port only when it was given.
    std::string to_string(int components = all_components) const;

    // target as it stands in a Location header, read against this URL.
    url resolve(std::string_view target, boost::system::error_code& ec) const;

    friend bool operator==(const url&, const url&) = default;

private:
    std::string protocol_;
    std::string user_info_;
    std::string host_;
    std::string port_;
    std::string path_ = "/";
    std::string query_;
    std::string fragment_;
    bool ipv6_host_ = false;
};

} // namespace urdl
