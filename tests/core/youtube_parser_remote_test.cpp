// The parser service: the record it answers with, and the exchange.
#include "core/parser_result.h"
#include "core/youtube_error.h"
#include "core/youtube_parser.h"

#include "scripted_server.h"
#include "test_data.h"

#include <boost/archive/archive_exception.hpp>
#include <gtest/gtest.h>

#include <typeinfo>

namespace {

std::string reply(const std::string& body)
{
    return "HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\n\r\n" + body;
}

const std::string service_path = "/cgi-bin/zor.parser";

parser_result two_streams()
{
    parser_result r;
    r.title = std::string("Tom & Jerry \xE2\x80\x93 \"The Chase\"\0\0\0", 30);
    r.description = "Two lines:\nfirst & second";
    r.thumbnail = "http://i2.ytimg.com/vi/Qk9zX2d1Zw0/hqdefault.jpg";
    r.length_seconds = 213;
    r.urls.push_back({"http://r4.c.youtube.com/videoplayback?itag=22&quality=hd720&signature=9A8B.C7D6&type=video/"
                      "mp4;+codecs=\"avc1.64001F,+mp4a.40.2\"&",
                      "hd720", "video/mp4;+codecs=\"avc1.64001F,+mp4a.40.2\""});
    r.urls.push_back(
        {"http://r4.c.youtube.com/videoplayback?itag=5&quality=small&type=video/x-flv&", "small", "video/x-flv"});
    return r;
}

bool refused(const std::string& text)
{
    parser_result r;
    try {
        load_parser_result(text, r);
    } catch (const boost::archive::archive_exception&) {
        return true;
    }
    return false;
}

const std::string header = "22 serialization::archive 18 ";

} // namespace

TEST(ParserResultArchive, WireFormatIsFixed)
{
    // Written once by the library's own text archive; reading and writing must
    // both keep to it, whatever changes in the code.
    const std::string text = test_data("parser_result/two_streams.archive");
    ASSERT_FALSE(text.empty());
    parser_result read;
    read.description = "stale";
    read.urls.resize(3);
    load_parser_result(text, read);
    EXPECT_EQ(read, two_streams());
    EXPECT_EQ(save_parser_result(two_streams()), text);
}

TEST(ParserResultArchive, MalformedTextIsRefused)
{
    const std::string good = test_data("parser_result/two_streams.archive");
    for (const std::string& text :
         {std::string(), std::string("DONE"), std::string("22 serialization::archive 99 0 0 0  0  0  0 0 0 0 0"),
          good.substr(0, good.size() / 2), header + "0 0 x",
          // A declared string length of a terabyte, or one byte more than there is.
          header + "0 0 1099511627776 abc", header + "0 0 4 abc",
          // Stream counts that the rest could not hold.
          header + "0 0 0  0  0  0 0 0 1000000000000 0", header + "0 0 0  0  0  0 0 0 3 0 0 0 0  0  0  "})
        EXPECT_TRUE(refused(text)) << text;
    EXPECT_FALSE(refused(header + "0 0 3 abc 0  0  0 0 0 0 0"));
}

// (What the local parse reads off a page, the catalogue tests check through the
// fallback, and the command-line runs with the parser service down or wrong.)
class ParserExchange : public ::testing::Test {
protected:
    const std::string page = test_data("watch/streams.html");
    const std::shared_ptr<parser_result> local = youtube_parser::parse_html(page);
};

// (A record in reply, and the page posted as is: the catalogue's test of the
// service's fields.)
TEST_F(ParserExchange, VerdictsReachTheCaller)
{
    // The service's verdict is final; so is the local one when the service fails.
    scripted_server verdict(reply("YERR: This video is private."));
    scripted_server garbage(reply("garbage"));
    for (const auto& [sent, address] : {std::pair{page, verdict.url(service_path)},
                                        {test_data("watch/notice_player_unavailable.html"), garbage.url(service_path)}}) {
        try {
            youtube_parser::parse_html_remote(sent, address, true);
            ADD_FAILURE() << "no youtube_error from " << address;
        } catch (const youtube_error& e) {
            EXPECT_STREQ(e.what(), "This video is private.");
        }
    }
}

TEST_F(ParserExchange, FailuresFallBackToTheLocalParse)
{
    const std::string broken_archive = "DONE: 22 serialization::archive 18 0 0 999999999 x";
    // (Down, or answering garbage: the command-line runs.)
    scripted_server unknown(reply("DONE"));
    scripted_server malformed(reply(broken_archive));
    scripted_server failing("HTTP/1.0 500 Internal Server Error\r\n\r\nYERR: not a verdict");
    scripted_server bad_status("HTTP/1.0 200\r\n\r\nDONE: ");
    // A good record padded past 64 MiB: read whole it would be accepted.
    parser_result padded;
    padded.title = "Padded";
    const std::string archive = "DONE: " + save_parser_result(padded);
    scripted_server oversized(reply(archive + std::string(64 * 1024 * 1024 + 1 - archive.size(), ' ')));
    const std::string down = "http://127.0.0.1:" + std::to_string(scripted_server::closed_port()) + service_path;

    for (const std::string& address :
         {unknown.url(service_path), malformed.url(service_path), failing.url(service_path),
          bad_status.url(service_path), oversized.url(service_path), down,
          std::string("not an address"), std::string("ftp://127.0.0.1/zor.parser")}) {
        EXPECT_EQ(*youtube_parser::parse_html_remote(page, address, true), *local) << address;

        // Without the fallback only the plain base type escapes, with its generic text.
        try {
            youtube_parser::parse_html_remote(page, address, false);
            ADD_FAILURE() << "no error from " << address;
        } catch (const std::exception& e) {
            EXPECT_EQ(typeid(e), typeid(std::exception)) << address;
        }
    }
}
