#pragma once

#include <string>
#include <string_view>

namespace urdl::detail {

// The headers the reader keeps; a later header of the same name replaces an earlier one.
struct response_headers {
    std::string content_type;
    std::string content_length;
    std::string location;
};

// "HTTP/" major "." minor " " code " " reason "\r\n", checked byte by byte; the line
// must end with its "\r\n". Sets status on success.
bool parse_status_line(std::string_view line, int& status);

// Header lines "Name: value\r\n" (a line starting with a blank or tab continues the
// previous value) up to and including the empty line that ends the block, which
// must be the last bytes of block.
bool parse_headers(std::string_view block, response_headers& headers);

} // namespace urdl::detail
