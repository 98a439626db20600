// Feeds arbitrary bytes to the reply-head reader the URL stream uses, whole and in
// pieces: however the bytes arrive, the outcome must be the same.
#include "core/fetch/http_response_parser.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

using urdl::detail::http_response_parser;

void check(bool condition)
{
    if (!condition)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::size_t piece = data[0] % 16 + 1;
    const std::string_view reply(reinterpret_cast<const char*>(data + 1), size - 1);

    http_response_parser whole;
    const auto at_once = whole.parse(reply);

    http_response_parser pieces;
    auto bit_by_bit = http_response_parser::result::need_more;
    for (std::size_t end = 0; bit_by_bit == http_response_parser::result::need_more && end < reply.size();) {
        end = std::min(reply.size(), end + piece);
        bit_by_bit = pieces.parse(reply.substr(0, end));
    }
    if (reply.empty())
        bit_by_bit = pieces.parse(reply);

    check(at_once == bit_by_bit);
    if (at_once == http_response_parser::result::done) {
        check(whole.status() == pieces.status());
        check(whole.consumed() == pieces.consumed() && whole.consumed() <= reply.size());
        check(whole.headers().location == pieces.headers().location);
        check(whole.headers().content_type == pieces.headers().content_type);
        check(whole.headers().content_length == pieces.headers().content_length);
    }

    int status = 0;
    http_response_parser::parse_status_line(reply, status);
    urdl::detail::response_headers headers;
    http_response_parser::parse_headers(reply, headers);
    return 0;
}
