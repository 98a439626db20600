// The HTTP client the parser exchange uses: its reply reader, addresses, and the
// stream against what a hostile or broken service can answer.
#include "core/fetch/http.h"
#include "core/fetch/http_response_parser.h"
#include "core/fetch/istream.h"
#include "core/fetch/url.h"

#include "scripted_server.h"

#include <boost/asio/error.hpp>
#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <iterator>
#include <string>

using urdl::url;
using urdl::detail::http_response_parser;
using urdl::detail::response_headers;

namespace {

std::string read_all(urdl::istream& in)
{
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string ok(const std::string& body, const std::string& headers = "")
{
    return "HTTP/1.0 200 OK\r\n" + headers + "\r\n" + body;
}

// Opens u with short time-outs, so that a test that would hang fails instead.
struct opened {
    urdl::istream in;
    explicit opened(const std::string& u, std::size_t timeout_ms = 5000)
    {
        in.open_timeout(timeout_ms);
        in.read_timeout(timeout_ms);
        in.open(url::from_string(u));
    }
};

} // namespace

// (The strict status line: the stream's and the parser exchange's malformed replies.)
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
                 {"\r\n", "", "", ""}};
    for (const auto& c : cases) {
        response_headers h;
        ASSERT_TRUE(http_response_parser::parse_headers(c.block, h)) << c.block;
        EXPECT_EQ(h.content_type, c.type) << c.block;
        EXPECT_EQ(h.content_length, c.length) << c.block;
        EXPECT_EQ(h.location, c.location) << c.block;
    }
    response_headers h;
    for (const char* bad : {"Loc ation: x\r\n\r\n", "Lo(c): x\r\n\r\n", ": x\r\n\r\n", "Location: a\x01z\r\n\r\n",
                            "Location: x\n\r\n", " folded: first\r\n\r\n", "Location: x\r\n", ""})
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

// (Host, port and path: every request to the scripted servers; relative and
// absolute redirect targets: the redirect test.)
TEST(Url, RejectsWhatIsNoUrl)
{
    for (const char* bad : {"", "example.org/x", "://h/x", "ht tp://h/", "http:///x", "http://h:/x", "http://h:80a/",
                            "http://h:65536/", "http://h:123456/", "http://[::1/x", "http://[]/", "http://[::1]x/",
                            "http://h/a b", "http://h/x\r\nHost: evil", "http://h/\x7f"}) {
        boost::system::error_code ec;
        url::from_string(bad, ec);
        EXPECT_TRUE(ec) << bad;
    }
    EXPECT_THROW(url::from_string("nonsense"), boost::system::system_error);
}

// The stream as the parser exchange uses it: its request bytes, a reply read
// whole, an unreachable, refused or unsupported address falling back, are that
// exchange's tests.
TEST(UrlStream, RepliesThatFailTheOpen)
{
    const auto http = [](int value) { return urdl::http::make_error_code(value); };
    const boost::system::error_code unsupported(EOPNOTSUPP, boost::system::system_category());
    const struct {
        std::string reply;
        boost::system::error_code error;
        const char* message; // for HTTP errors
    } cases[] = {{"HTTP/1.0 404 Not Found\r\nContent-Type: text/html\r\n\r\n<h1>gone</h1>", http(404), "Not found"},
                 // Only 301 and 302 with a place to go are followed.
                 {"HTTP/1.0 303 See Other\r\nLocation: /elsewhere\r\n\r\n", http(303), "See other"},
                 {"HTTP/1.0 302 Found\r\nLocation: file:///etc/passwd\r\n\r\n", unsupported, nullptr},
                 {"HTTP/1.0 200\r\n\r\nbody", http(1), "Malformed status line"},
                 {"HTTP/1.0 302 Found\r\nLocation:/next\r\n\r\n", http(2), "Malformed response headers"},
                 {"HTTP/1.0 200 OK" + std::string(100000, 'K'), http(1), "Malformed status line"},
                 // Closed early.
                 {"", boost::asio::error::eof, nullptr},
                 {"HTTP/1.0 200 OK\r\nContent-Type: te", boost::asio::error::eof, nullptr}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.reply.substr(0, 60));
        scripted_server server(c.reply);
        opened o(server.url());
        EXPECT_TRUE(o.in.fail());
        EXPECT_EQ(o.in.error(), c.error) << o.in.error().message();
        if (c.message) {
            EXPECT_EQ(o.in.error().message(), c.message);
        }
    }
}

TEST(UrlStream, FollowsFoundAndMovedWithTheSameOptionsPastContinues)
{
    // "100 Continue" heads are skipped wherever they come.
    scripted_server target("HTTP/1.1 100 Continue\r\nX-Hint: wait\r\n\r\nHTTP/1.1 100 Continue\r\n\r\n" +
                           ok("moved here", "Content-Type: a/b\r\n"));
    scripted_server server("HTTP/1.0 302 Found\r\nLocation: " + target.url("/final") + "\r\n\r\n");
    scripted_server first(std::vector<scripted_server::reply>{
        {"HTTP/1.0 301 Moved Permanently\r\nlocation: /next\r\n\r\n"},
        {"HTTP/1.0 302 Found\r\nLocation: " + server.url("/hop") + "\r\n\r\n"},
    });

    urdl::istream in;
    in.set_option(urdl::http::request_method("POST"));
    in.set_option(urdl::http::request_content("x"));
    in.open_timeout(5000);
    in.open(url::from_string(first.url("/start")));
    ASSERT_FALSE(in.fail()) << in.error().message();
    EXPECT_EQ(in.content_type(), "a/b");
    EXPECT_EQ(read_all(in), "moved here");

    ASSERT_EQ(first.requests().size(), 2u);
    EXPECT_EQ(first.requests()[1].substr(0, 21), "POST /next HTTP/1.0\r\n");
    EXPECT_EQ(target.requests().at(0).substr(0, 22), "POST /final HTTP/1.0\r\n");
    EXPECT_EQ(target.requests().at(0).substr(target.requests()[0].size() - 1), "x");
}

TEST(UrlStream, SilenceOrARedirectLoopEndsTheOpenAStalledBodyTheRead)
{
    scripted_server silent(std::vector<scripted_server::reply>{{"HTTP/1.0 200 OK\r\n\r\n", 0}});
    scripted_server loop("HTTP/1.0 302 Found\r\nLocation: /again\r\n\r\n");
    for (const scripted_server* server : {&silent, &loop}) {
        opened o(server->url(), 300);
        EXPECT_TRUE(o.in.fail());
        EXPECT_EQ(o.in.error(), boost::asio::error::timed_out);
    }
    EXPECT_GT(loop.requests().size(), 1u);

    const std::string reply = ok("first part|second part");
    scripted_server stalled(std::vector<scripted_server::reply>{{reply, reply.find('|')}});
    opened o(stalled.url(), 200);
    ASSERT_FALSE(o.in.fail());
    EXPECT_EQ(read_all(o.in), "first part");
    EXPECT_EQ(o.in.error(), boost::asio::error::timed_out);
}
