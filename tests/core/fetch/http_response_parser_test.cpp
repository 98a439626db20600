#include "core/fetch/http.h"
#include "core/fetch/http_response_parser.h"

#include <gtest/gtest.h>

#include <string>

using urdl::detail::parse_headers;
using urdl::detail::parse_status_line;
using urdl::detail::response_headers;

TEST(StatusLine, AcceptsTheStrictForm)
{
    int status = 0;
    EXPECT_TRUE(parse_status_line("HTTP/1.0 200 OK\r\n", status));
    EXPECT_EQ(status, 200);
    EXPECT_TRUE(parse_status_line("HTTP/11.22 404 \r\n", status));
    EXPECT_EQ(status, 404);
    EXPECT_TRUE(parse_status_line("HTTP/1.1 302 Moved \xe2\x80\x94 see there\r\n", status));
    EXPECT_EQ(status, 302);
    EXPECT_TRUE(parse_status_line("HTTP/1.0 0200 OK\r\n", status));
    EXPECT_EQ(status, 200);
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

TEST(Headers, KeepsTheThreeHeadersAnyCaseLaterWins)
{
    response_headers h;
    ASSERT_TRUE(parse_headers("Server: x\r\ncontent-TYPE: text/plain\r\nContent-Length: 12\r\nLOCATION: /a\r\n"
                              "Location: /b\r\nX-Empty: \r\n\r\n",
                              h));
    EXPECT_EQ(h.content_type, "text/plain");
    EXPECT_EQ(h.content_length, "12");
    EXPECT_EQ(h.location, "/b");
}

TEST(Headers, FoldedLinesJoinWithoutSeparator)
{
    response_headers h;
    ASSERT_TRUE(parse_headers("Content-Type: text/html;\r\n \t charset=utf-8\r\n\tx\r\nLocation: /a\r\n  /b\r\n\r\n", h));
    EXPECT_EQ(h.content_type, "text/html;charset=utf-8x");
    EXPECT_EQ(h.location, "/a/b");
}

TEST(Headers, EmptyBlockAndValueBytes)
{
    response_headers h;
    EXPECT_TRUE(parse_headers("\r\n", h));
    EXPECT_TRUE(parse_headers("Location:  /two blanks \xc3\xa9\r\n\r\n", h));
    EXPECT_EQ(h.location, " /two blanks \xc3\xa9");
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

TEST(HttpCategory, TextsOfTheTable)
{
    using urdl::http::make_error_code;
    EXPECT_STREQ(urdl::http::error_category().name(), "HTTP");
    EXPECT_EQ(make_error_code(1).message(), "Malformed status line");
    EXPECT_EQ(make_error_code(2).message(), "Malformed response headers");
    EXPECT_EQ(make_error_code(203).message(), "Non-authoritative information");
    EXPECT_EQ(make_error_code(307).message(), "Temporary redirect");
    EXPECT_EQ(make_error_code(408).message(), "Request time-out");
    EXPECT_EQ(make_error_code(416).message(), "Requested range not satisfiable");
    EXPECT_EQ(make_error_code(505).message(), "HTTP version not supported");
    EXPECT_EQ(make_error_code(306).message(), "Unknown HTTP error");
    EXPECT_EQ(make_error_code(0).message(), "Unknown HTTP error");
}
