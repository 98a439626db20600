#include "core/fetch/http.h"
#include "core/fetch/http_response_parser.h"

#include <gtest/gtest.h>

#include <string>

using urdl::detail::http_response_parser;
using urdl::detail::response_headers;

TEST(StatusLine, OnlyTheStrictFormIsAccepted)
{
    const std::pair<const char*, int> good[] = {{"HTTP/1.0 200 OK\r\n", 200},
                                                {"HTTP/11.22 404 \r\n", 404},
                                                {"HTTP/1.1 302 Moved \xe2\x80\x94 see there\r\n", 302},
                                                {"HTTP/1.0 0200 OK\r\n", 200}};
    for (const auto& [line, expected] : good) {
        int status = 0;
        EXPECT_TRUE(http_response_parser::parse_status_line(line, status)) << line;
        EXPECT_EQ(status, expected) << line;
    }
    int status = 0;
    for (const char* bad : {"HTTP/1.0 200\r\n", "HTTP/1.0 200OK\r\n", "HTTP/1.0  200 OK\r\n", "HTTP/1.0 200 OK\n",
                            "http/1.0 200 OK\r\n", "HTTP/1. 200 OK\r\n", "HTTP/1.0 20a OK\r\n", "HTTP/1.0 200 O\tK\r\n",
                            "HTTP/1.0 200 OK\r\nX", "HTTP/1.0 9999999999 OK\r\n", ""})
        EXPECT_FALSE(http_response_parser::parse_status_line(bad, status)) << bad;
}

TEST(Headers, KeepsTheThreeHeadersAndRefusesEveryOtherByte)
{
    const struct {
        const char* block;
        const char* type;
        const char* length;
        const char* location;
    } cases[] = {// Any case; the later of two wins.
                 {"Server: x\r\ncontent-TYPE: text/plain\r\nContent-Length: 12\r\nLOCATION: /a\r\nLocation: /b\r\n"
                  "X-Empty: \r\n\r\n",
                  "text/plain", "12", "/b"},
                 // Folded lines join without a separator.
                 {"Content-Type: text/html;\r\n \t charset=utf-8\r\n\tx\r\nLocation: /a\r\n  /b\r\n\r\n",
                  "text/html;charset=utf-8x", "", "/a/b"},
                 {"Location:  /two blanks \xc3\xa9\r\n\r\n", "", "", " /two blanks \xc3\xa9"},
                 {"\r\n", "", "", ""}};
    for (const auto& c : cases) {
        response_headers h;
        ASSERT_TRUE(http_response_parser::parse_headers(c.block, h)) << c.block;
        EXPECT_EQ(h.content_type, c.type) << c.block;
        EXPECT_EQ(h.content_length, c.length) << c.block;
        EXPECT_EQ(h.location, c.location) << c.block;
    }
    response_headers h;
    for (const char* bad : {"Location:/next\r\n\r\n", "Loc ation: x\r\n\r\n", "Lo(c): x\r\n\r\n", ": x\r\n\r\n",
                            "Location: a\x01z\r\n\r\n", "Location: x\n\r\n", " folded: first\r\n\r\n",
                            "Location: x\r\n", "Location: x\r\n\r\nextra", ""})
        EXPECT_FALSE(http_response_parser::parse_headers(bad, h)) << bad;
}

TEST(ResponseHead, EndlessContinueRepliesCountTowardsTheLimit)
{
    std::string continues;
    while (continues.size() <= http_response_parser::max_head_bytes)
        continues += "HTTP/1.1 100 Continue\r\n\r\n";
    http_response_parser parser;
    EXPECT_NE(parser.parse(continues), http_response_parser::result::need_more);
}
