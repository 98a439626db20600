#include "core/fetch/http.h"
#include "core/fetch/http_response_parser.h"

#include <gtest/gtest.h>

#include <string>

using urdl::detail::http_response_parser;
using urdl::detail::response_headers;

namespace {

bool parse_status_line(std::string_view line, int& status)
{
    return http_response_parser::parse_status_line(line, status);
}

bool parse_headers(std::string_view block, response_headers& headers)
{
    return http_response_parser::parse_headers(block, headers);
}

// Feeds text in pieces of the given size, as a socket might deliver it.
http_response_parser::result feed(http_response_parser& parser, std::string_view text, std::size_t piece)
{
    auto r = http_response_parser::result::need_more;
    for (std::size_t end = piece; r == http_response_parser::result::need_more; end += piece) {
        r = parser.parse(text.substr(0, end));
        if (end >= text.size() && r == http_response_parser::result::need_more)
            return r;
    }
    return r;
}

} // namespace

TEST(StatusLine, AcceptsTheStrictForm)
{
    const std::pair<const char*, int> cases[] = {{"HTTP/1.0 200 OK\r\n", 200},
                                                 {"HTTP/11.22 404 \r\n", 404},
                                                 {"HTTP/1.1 302 Moved \xe2\x80\x94 see there\r\n", 302},
                                                 {"HTTP/1.0 0200 OK\r\n", 200}};
    for (const auto& [line, expected] : cases) {
        int status = 0;
        EXPECT_TRUE(parse_status_line(line, status)) << line;
        EXPECT_EQ(status, expected) << line;
    }
}

TEST(StatusLine, RejectsEveryOtherByte)
{
    int status = 0;
    for (const char* bad : {"HTTP/1.0 200\r\n", "HTTP/1.0 200OK\r\n", "HTTP/1.0  200 OK\r\n", "HTTP/1.0 200 OK\n",
                            "HTTP/1.0 200 OK\r", "HTTP/1.0 200 OK", "http/1.0 200 OK\r\n", "HTTP/ 200 OK\r\n",
                            "HTTP/1 200 OK\r\n", "HTTP/1. 200 OK\r\n", "HTTP/.0 200 OK\r\n", "HTTP/1.0 20a OK\r\n",
                            "HTTP/1.0 -200 OK\r\n", "HTTP/1.0 200 O\tK\r\n", "HTTP/1.0 200 O\x7fK\r\n",
                            "HTTP/1.0 200 OK\r\nX", "HTTP/1.0 9999999999 OK\r\n", " HTTP/1.0 200 OK\r\n", ""}) {
        EXPECT_FALSE(parse_status_line(bad, status)) << bad;
    }
}

TEST(Headers, KeepsTheThreeHeaders)
{
    const struct {
        const char* block;
        const char* type;
        const char* length;
        const char* location;
    } cases[] = {
        // Any case; the later of two wins.
        {"Server: x\r\ncontent-TYPE: text/plain\r\nContent-Length: 12\r\nLOCATION: /a\r\nLocation: /b\r\n"
         "X-Empty: \r\n\r\n",
         "text/plain", "12", "/b"},
        // Folded lines join without a separator.
        {"Content-Type: text/html;\r\n \t charset=utf-8\r\n\tx\r\nLocation: /a\r\n  /b\r\n\r\n",
         "text/html;charset=utf-8x", "", "/a/b"},
        {"Location:  /two blanks \xc3\xa9\r\n\r\n", "", "", " /two blanks \xc3\xa9"},
        {"\r\n", "", "", ""},
    };
    for (const auto& c : cases) {
        response_headers h;
        ASSERT_TRUE(parse_headers(c.block, h)) << c.block;
        EXPECT_EQ(h.content_type, c.type) << c.block;
        EXPECT_EQ(h.content_length, c.length) << c.block;
        EXPECT_EQ(h.location, c.location) << c.block;
    }
}

TEST(Headers, RejectsEveryOtherByte)
{
    response_headers h;
    for (const char* bad : {"Location:/next\r\n\r\n", "Location:\t/next\r\n\r\n", "Loc ation: x\r\n\r\n",
                            "Loc/ation: x\r\n\r\n", "Lo(c): x\r\n\r\n", "Loc\xc3\xa9: x\r\n\r\n", ": x\r\n\r\n",
                            "Location: a\x01z\r\n\r\n", "Location: a\tz\r\n\r\n", "Location: x\n\r\n",
                            " folded: first\r\n\r\n", "Location: x\r\n", "Location: x\r\n\r\nextra", "", "\r\n\r\n"}) {
        EXPECT_FALSE(parse_headers(bad, h)) << bad;
    }
}

TEST(ResponseHead, SameResultWhateverThePieces)
{
    const std::string reply = "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 100 Continue\r\nX: y\r\n\r\n"
                              "HTTP/1.0 302 Found\r\nLocation: /a\r\n /b\r\n\r\nbody";
    for (std::size_t piece = 1; piece <= reply.size(); ++piece) {
        http_response_parser parser;
        ASSERT_EQ(feed(parser, reply, piece), http_response_parser::result::done) << piece;
        EXPECT_EQ(parser.status(), 302);
        EXPECT_EQ(parser.headers().location, "/a/b");
        EXPECT_EQ(reply.substr(parser.consumed()), "body");
    }
}

TEST(ResponseHead, HeadsBeyondTheLimitAreMalformed)
{
    http_response_parser endless_line;
    EXPECT_EQ(endless_line.parse("HTTP/1.0 200 OK" + std::string(70000, 'K')),
              http_response_parser::result::malformed_status_line);
    http_response_parser long_line;
    EXPECT_EQ(long_line.parse("HTTP/1.0 200 OK" + std::string(70000, 'K') + "\r\n\r\n"),
              http_response_parser::result::malformed_status_line);
    http_response_parser long_header;
    EXPECT_EQ(long_header.parse("HTTP/1.0 200 OK\r\nX: " + std::string(70000, 'x') + "\r\n\r\n"),
              http_response_parser::result::malformed_headers);

    // Endless "100 Continue" replies count together.
    std::string continues;
    while (continues.size() <= http_response_parser::max_head_bytes)
        continues += "HTTP/1.1 100 Continue\r\n\r\n";
    http_response_parser many;
    EXPECT_NE(many.parse(continues), http_response_parser::result::need_more);
}
