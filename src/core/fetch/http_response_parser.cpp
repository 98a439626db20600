#include "core/fetch/http_response_parser.h"

#include <algorithm>
#include <array>
#include <strings.h>

namespace urdl::detail {

namespace {

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

bool is_control(char c)
{
    const auto u = static_cast<unsigned char>(c);
    return u < 32 || u == 127;
}

constexpr std::array<bool, 256> token_chars = [] {
    std::array<bool, 256> table{};
    for (int c = 33; c <= 126; ++c)
        table[static_cast<std::size_t>(c)] = true;
    for (const char c : std::string_view("()<>@,;:\\\"/[]?={}"))
        table[static_cast<unsigned char>(c)] = false;
    return table;
}();

bool is_token(char c)
{
    return token_chars[static_cast<unsigned char>(c)];
}

bool iequals(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && ::strncasecmp(a.data(), b.data(), a.size()) == 0;
}

class cursor {
public:
    explicit cursor(std::string_view text) : text_(text) {}

    bool at_end() const { return pos_ == text_.size(); }
    char peek() const { return text_[pos_]; }
    bool take(char c)
    {
        if (at_end() || text_[pos_] != c)
            return false;
        ++pos_;
        return true;
    }
    bool take(std::string_view s)
    {
        if (text_.substr(pos_, s.size()) != s)
            return false;
        pos_ += s.size();
        return true;
    }
    // One or more bytes satisfying pred.
    template <typename Pred>
    std::string_view take_while(Pred pred)
    {
        const auto start = pos_;
        while (!at_end() && pred(text_[pos_]))
            ++pos_;
        return text_.substr(start, pos_ - start);
    }

private:
    std::string_view text_;
    std::size_t pos_ = 0;
};

bool take_digits(cursor& in)
{
    return !in.take_while(is_digit).empty();
}

bool is_value_byte(char c)
{
    return !is_control(c);
}

} // namespace

bool http_response_parser::parse_status_line(std::string_view line, int& status)
{
    cursor in(line);
    if (!in.take("HTTP/") || !take_digits(in) || !in.take('.') || !take_digits(in) || !in.take(' '))
        return false;
    const std::string_view code = in.take_while(is_digit);
    // Nine digits fit an int; a longer code is nothing a server means.
    if (code.empty() || code.size() > 9 || !in.take(' '))
        return false;
    in.take_while(is_value_byte);
    if (!in.take("\r\n") || !in.at_end())
        return false;
    int value = 0;
    for (const char c : code)
        value = value * 10 + (c - '0');
    status = value;
    return true;
}

bool http_response_parser::parse_headers(std::string_view block, response_headers& headers)
{
    cursor in(block);
    std::string_view name;
    std::string value;
    bool open = false;

    const auto finish = [&] {
        if (!open)
            return;
        if (iequals(name, "Content-Type"))
            headers.content_type = value;
        else if (iequals(name, "Content-Length"))
            headers.content_length = value;
        else if (iequals(name, "Location"))
            headers.location = value;
        open = false;
    };

    for (;;) {
        if (in.take("\r\n")) {
            finish();
            return in.at_end();
        }
        if (in.at_end())
            return false;
        if (in.peek() == ' ' || in.peek() == '\t') {
            if (!open)
                return false;
            in.take_while([](char c) { return c == ' ' || c == '\t'; });
            value += in.take_while(is_value_byte);
        } else {
            finish();
            name = in.take_while(is_token);
            if (name.empty() || !in.take(':') || !in.take(' '))
                return false;
            value = in.take_while(is_value_byte);
            open = true;
        }
        if (!in.take("\r\n"))
            return false;
    }
}

http_response_parser::result http_response_parser::parse(std::string_view received)
{
    for (;;) {
        if (line_end_ == std::string_view::npos) {
            // Earlier bytes were searched already; a "\r\n" may straddle the boundary.
            line_end_ = received.find("\r\n", std::max(searched_, start_ + 1) - 1);
            if (line_end_ == std::string_view::npos || line_end_ + 2 > max_head_bytes) {
                searched_ = received.size();
                return received.size() > max_head_bytes ? result::malformed_status_line : result::need_more;
            }
            if (!parse_status_line(received.substr(start_, line_end_ + 2 - start_), status_))
                return result::malformed_status_line;
            searched_ = line_end_;
        }

        // Searching from the status line's own "\r\n" also finds an empty block.
        const std::size_t block_end = received.find("\r\n\r\n", std::max(searched_, line_end_ + 3) - 3);
        if (block_end == std::string_view::npos || block_end + 4 > max_head_bytes) {
            searched_ = received.size();
            return received.size() > max_head_bytes ? result::malformed_headers : result::need_more;
        }
        headers_ = {};
        if (!parse_headers(received.substr(line_end_ + 2, block_end + 2 - line_end_), headers_))
            return result::malformed_headers;

        start_ = block_end + 4;
        searched_ = start_;
        line_end_ = std::string_view::npos;
        if (status_ != 100)
            return result::done;
    }
}

} // namespace urdl::detail
