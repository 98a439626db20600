#pragma once

#include <boost/system/error_code.hpp>

#include <string>
#include <type_traits>
#include <utility>

namespace urdl::http {

namespace detail {

// One text-valued option; Tag keeps the option types apart in an option_set.
template <typename Tag>
class text_option {
public:
    text_option() : value_(Tag::default_value) {}
    explicit text_option(std::string value) : value_(std::move(value)) {}
    const std::string& value() const noexcept { return value_; }
    void value(std::string v) { value_ = std::move(v); }

private:
    std::string value_;
};

struct request_method_tag {
    static constexpr const char* default_value = "GET";
};
struct request_content_tag {
    static constexpr const char* default_value = "";
};
struct request_content_type_tag {
    static constexpr const char* default_value = "";
};
struct user_agent_tag {
    static constexpr const char* default_value = "";
};

} // namespace detail

using request_method = detail::text_option<detail::request_method_tag>;
using request_content = detail::text_option<detail::request_content_tag>;
using request_content_type = detail::text_option<detail::request_content_type_tag>;
using user_agent = detail::text_option<detail::user_agent_tag>;

namespace errc {
// Besides these two, an HTTP status code is its own error value.
enum errc_t {
    malformed_status_line = 1,
    malformed_response_headers = 2,
    continue_request = 100,
    ok = 200,
    moved_permanently = 301,
    found = 302,
    see_other = 303,
    not_found = 404,
};

boost::system::error_code make_error_code(errc_t e);
} // namespace errc

// Named "HTTP"; the message of a status code is its status text.
const boost::system::error_category& error_category();

inline boost::system::error_code make_error_code(int value)
{
    return boost::system::error_code(value, error_category());
}

} // namespace urdl::http

namespace boost::system {
template <>
struct is_error_code_enum<urdl::http::errc::errc_t> : std::true_type {
};
} // namespace boost::system
