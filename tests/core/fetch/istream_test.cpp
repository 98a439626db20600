#include "core/fetch/http.h"
#include "core/fetch/istream.h"

#include "scripted_server.h"

#include <boost/asio/error.hpp>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

namespace {

using urdl::url;

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

void expect_http_error(const urdl::istream& in, int value, const char* text)
{
    EXPECT_TRUE(in.fail());
    EXPECT_EQ(&in.error().category(), &urdl::http::error_category());
    EXPECT_EQ(in.error().value(), value);
    EXPECT_EQ(in.error().message(), text);
}

} // namespace

TEST(UrlStream, DefaultsAreGetAndFiveMinutes)
{
    urdl::istream in;
    EXPECT_EQ(in.open_timeout(), 300000u);
    EXPECT_EQ(in.read_timeout(), 300000u);
    EXPECT_EQ(in.get_options().get_option<urdl::http::request_method>().value(), "GET");
    EXPECT_EQ(in.get_options().get_option<urdl::http::user_agent>().value(), "");
}

TEST(UrlStream, GetRequestBytesAndBodyUntilClose)
{
    scripted_server server(ok("hello, world", "Content-Type: text/plain\r\nContent-Length: 12\r\n"));
    opened o(server.url("/watch?v=abc"));
    ASSERT_FALSE(o.in.fail()) << o.in.error().message();
    EXPECT_EQ(o.in.content_type(), "text/plain");
    EXPECT_EQ(o.in.content_length(), "12");
    EXPECT_EQ(read_all(o.in), "hello, world");
    EXPECT_FALSE(o.in.error());
    EXPECT_EQ(server.requests().at(0), "GET /watch?v=abc HTTP/1.0\r\nHost: 127.0.0.1:" + std::to_string(server.port()) +
                                           "\r\nAccept: */*\r\nConnection: close\r\n\r\n");
}

TEST(UrlStream, PostRequestBytesInOrder)
{
    scripted_server server(ok("DONE"));
    urdl::istream in;
    in.set_option(urdl::http::request_method("POST"));
    in.set_option(urdl::http::request_content_type("text/plain"));
    in.set_option(urdl::http::request_content("a\r\nb\0c"));
    in.set_option(urdl::http::request_content(std::string("page\0bytes", 10)));
    in.set_option(urdl::http::user_agent("Melodrift/1.0.1"));
    in.open(url::from_string(server.url("/cgi-bin/zor.parser")));
    ASSERT_FALSE(in.fail());
    EXPECT_EQ(read_all(in), "DONE");
    EXPECT_EQ(server.requests().at(0),
              "POST /cgi-bin/zor.parser HTTP/1.0\r\nHost: 127.0.0.1:" + std::to_string(server.port()) +
                  "\r\nAccept: */*\r\nContent-Length: 10\r\nContent-Type: text/plain\r\n"
                  "User-Agent: Melodrift/1.0.1\r\nConnection: close\r\n\r\n" +
                  std::string("page\0bytes", 10));
}

TEST(UrlStream, EmptyBodySendsNeitherLengthNorType)
{
    scripted_server server(ok(""));
    urdl::istream in;
    in.set_option(urdl::http::request_method("POST"));
    in.set_option(urdl::http::request_content_type("text/plain"));
    in.open(url::from_string(server.url("/p")));
    ASSERT_FALSE(in.fail());
    EXPECT_EQ(read_all(in), "");
    const std::string request = server.requests().at(0);
    EXPECT_EQ(request.find("Content-"), std::string::npos) << request;
}

TEST(UrlStream, LargeBodyArrivesWhole)
{
    std::string body(3 << 20, '\0');
    for (std::size_t i = 0; i < body.size(); ++i)
        body[i] = static_cast<char>(i * 131 % 251);
    scripted_server server(ok(body));
    opened o(server.url());
    EXPECT_EQ(read_all(o.in), body);
}

TEST(UrlStream, StatusOtherThan200IsAnHttpError)
{
    scripted_server not_found("HTTP/1.0 404 Not Found\r\nContent-Type: text/html\r\n\r\n<h1>gone</h1>");
    expect_http_error(opened(not_found.url()).in, 404, "Not found");

    scripted_server teapot("HTTP/1.0 418 I'm a teapot\r\n\r\n");
    expect_http_error(opened(teapot.url()).in, 418, "Unknown HTTP error");
}

TEST(UrlStream, ContinueIsSkipped)
{
    scripted_server plain("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\n\r\nbody");
    opened a(plain.url());
    ASSERT_FALSE(a.in.fail()) << a.in.error().message();
    EXPECT_EQ(read_all(a.in), "body");

    scripted_server with_headers("HTTP/1.1 100 Continue\r\nX-Hint: wait\r\n\r\nHTTP/1.1 100 Continue\r\n\r\n"
                                 "HTTP/1.1 200 OK\r\nContent-Type: a/b\r\n\r\nbody");
    opened b(with_headers.url());
    ASSERT_FALSE(b.in.fail()) << b.in.error().message();
    EXPECT_EQ(b.in.content_type(), "a/b");
    EXPECT_EQ(read_all(b.in), "body");
}

TEST(UrlStream, FollowsFoundAndMovedWithTheSameOptions)
{
    scripted_server target(ok("moved here"));
    scripted_server server(std::vector<scripted_server::reply>{
        {"HTTP/1.0 302 Found\r\nLocation: " + target.url("/final") + "\r\n\r\n"},
    });
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
    EXPECT_EQ(read_all(in), "moved here");

    ASSERT_EQ(first.requests().size(), 2u);
    EXPECT_EQ(first.requests()[1].substr(0, 21), "POST /next HTTP/1.0\r\n");
    EXPECT_EQ(target.requests().at(0).substr(0, 22), "POST /final HTTP/1.0\r\n");
    EXPECT_EQ(target.requests().at(0).substr(target.requests()[0].size() - 1), "x");
}

TEST(UrlStream, OtherRedirectsAreErrors)
{
    scripted_server see_other("HTTP/1.0 303 See Other\r\nLocation: /elsewhere\r\n\r\n");
    expect_http_error(opened(see_other.url()).in, 303, "See other");
    EXPECT_EQ(see_other.connections(), 1u);

    scripted_server temporary("HTTP/1.0 307 Temporary Redirect\r\nLocation: /elsewhere\r\n\r\n");
    expect_http_error(opened(temporary.url()).in, 307, "Temporary redirect");

    scripted_server nowhere("HTTP/1.0 302 Found\r\n\r\n");
    expect_http_error(opened(nowhere.url()).in, 302, "Found");
}

TEST(UrlStream, RedirectIntoLocalFilesIsRefused)
{
    scripted_server server("HTTP/1.0 302 Found\r\nLocation: file:///etc/passwd\r\n\r\n");
    opened o(server.url());
    EXPECT_TRUE(o.in.fail());
    EXPECT_EQ(o.in.error(), boost::system::error_code(EOPNOTSUPP, boost::system::system_category()));
}

TEST(UrlStream, RedirectLoopEndsAtTheOpenTimeout)
{
    scripted_server loop("HTTP/1.0 302 Found\r\nLocation: /again\r\n\r\n");
    opened o(loop.url(), 300);
    EXPECT_TRUE(o.in.fail());
    EXPECT_EQ(o.in.error(), boost::asio::error::timed_out);
    EXPECT_GT(loop.connections(), 1u);
}

TEST(UrlStream, MalformedRepliesOverTheSocket)
{
    scripted_server no_reason("HTTP/1.0 200\r\n\r\nbody");
    expect_http_error(opened(no_reason.url()).in, 1, "Malformed status line");

    scripted_server no_blank("HTTP/1.0 302 Found\r\nLocation:/next\r\n\r\n");
    expect_http_error(opened(no_blank.url()).in, 2, "Malformed response headers");

    scripted_server tab("HTTP/1.0 200 OK\r\nContent-Type:\ttext/plain\r\n\r\n");
    expect_http_error(opened(tab.url()).in, 2, "Malformed response headers");

    scripted_server huge("HTTP/1.0 200 OK\r\nX-Filler: " + std::string(100000, 'x') + "\r\n\r\n");
    expect_http_error(opened(huge.url()).in, 2, "Malformed response headers");

    scripted_server endless_line("HTTP/1.0 200 OK" + std::string(100000, 'K'));
    expect_http_error(opened(endless_line.url()).in, 1, "Malformed status line");
}

TEST(UrlStream, FoldedHeaderOverTheSocket)
{
    scripted_server server(ok("x", "Content-Type: text/html;\r\n\tcharset=utf-8\r\n"));
    opened o(server.url());
    ASSERT_FALSE(o.in.fail());
    EXPECT_EQ(o.in.content_type(), "text/html;charset=utf-8");
}

TEST(UrlStream, EarlyCloseFailsTheOpen)
{
    for (const char* cut : {"", "HTTP/1.0 200", "HTTP/1.0 200 OK\r\nContent-Type: te"}) {
        scripted_server server(cut);
        opened o(server.url());
        EXPECT_TRUE(o.in.fail()) << cut;
        EXPECT_EQ(o.in.error(), boost::asio::error::eof) << cut;
    }
}

TEST(UrlStream, SilentServerHitsTheOpenTimeout)
{
    scripted_server server(std::vector<scripted_server::reply>{{"HTTP/1.0 200 OK\r\n\r\n", 0}});
    opened o(server.url(), 200);
    EXPECT_TRUE(o.in.fail());
    EXPECT_EQ(o.in.error(), boost::asio::error::timed_out);
}

TEST(UrlStream, StalledBodyHitsTheReadTimeout)
{
    const std::string reply = ok("first part|second part");
    scripted_server server(std::vector<scripted_server::reply>{{reply, reply.find('|')}});
    urdl::istream in;
    in.read_timeout(200);
    in.open(url::from_string(server.url()));
    ASSERT_FALSE(in.fail());
    EXPECT_EQ(read_all(in), "first part");
    EXPECT_EQ(in.error(), boost::asio::error::timed_out);
}

TEST(UrlStream, RefusedConnection)
{
    opened o("http://127.0.0.1:" + std::to_string(scripted_server::closed_port()) + "/");
    EXPECT_TRUE(o.in.fail());
    EXPECT_EQ(o.in.error(), boost::asio::error::connection_refused);
}

TEST(UrlStream, SchemesOtherThanHttpAndFile)
{
    for (const char* u : {"https://127.0.0.1/", "ftp://127.0.0.1/x", "gopher://127.0.0.1/"}) {
        opened o(u);
        EXPECT_TRUE(o.in.fail()) << u;
        EXPECT_EQ(o.in.error(), boost::system::error_code(EOPNOTSUPP, boost::system::system_category())) << u;
    }
}

TEST(UrlStream, ReadsLocalFiles)
{
    const std::string path = ::testing::TempDir() + "melodrift url stream.txt";
    {
        std::ofstream(path, std::ios::binary) << std::string("file\0body", 9);
    }
    std::string escaped;
    for (const char c : path)
        escaped += c == ' ' ? std::string("%20") : std::string(1, c);
    opened o("file://" + escaped);
    ASSERT_FALSE(o.in.fail()) << o.in.error().message();
    EXPECT_EQ(read_all(o.in), std::string("file\0body", 9));
    std::remove(path.c_str());

    opened missing("file:///nonexistent/melodrift");
    EXPECT_TRUE(missing.in.fail());
    EXPECT_EQ(missing.in.error(), boost::system::error_code(ENOENT, boost::system::system_category()));
}

TEST(UrlStream, ReopenAfterFailure)
{
    scripted_server server(ok("again"));
    urdl::istream in;
    in.open(url::from_string("gopher://h/"));
    ASSERT_TRUE(in.fail());
    in.open(url::from_string(server.url()));
    ASSERT_FALSE(in.fail());
    EXPECT_FALSE(in.error());
    EXPECT_EQ(read_all(in), "again");
}
