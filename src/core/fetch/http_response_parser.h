#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace urdl::detail {

// The headers the reader keeps; a later header of the same name replaces an earlier one.
struct response_headers {
    std::string content_type;
    std::string content_length;
    std::string location;
};

// Reads the head of an HTTP reply (status line and header block, skipping any
// "100 Continue" replies before it) from bytes as they arrive.
class http_response_parser {
public:
    enum class result { need_more, done, malformed_status_line, malformed_headers };

    // A head (with the "100 Continue" replies before it) longer than this is no
    // reply we can use.
    static constexpr std::size_t max_head_bytes = 64 * 1024;

    // received: every byte read so far, the earlier ones unchanged. On done,
    // status() and headers() tell the reply, and the body starts at consumed().
    result parse(std::string_view received);

    int status() const { return status_; }
    const response_headers& headers() const { return headers_; }
    std::size_t consumed() const { return start_; }

    // "HTTP/" major "." minor " " code " " reason "\r\n", checked byte by byte; the
    // line must end with its "\r\n". Sets status on success.
    static bool parse_status_line(std::string_view line, int& status);

    // Header lines "Name: value\r\n" (a line starting with a blank or tab continues
    // the previous value) up to and including the empty line that ends the block,
    // which must be the last bytes of block.
    static bool parse_headers(std::string_view block, response_headers& headers);

private:
    std::size_t start_ = 0;    // where the current reply's status line begins
    std::size_t searched_ = 0; // received bytes already searched for the current delimiter
    std::size_t line_end_ = std::string_view::npos;
    int status_ = 0;
    response_headers headers_;
};

} // namespace urdl::detail
