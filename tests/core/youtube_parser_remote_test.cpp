#include "core/youtube_error.h"
#include "core/youtube_parser.h"

#include "scripted_server.h"
#include "test_data.h"

#include <gtest/gtest.h>

#include <typeinfo>

namespace {

std::string reply(const std::string& body)
{
    return "HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\n\r\n" + body;
}

const std::string service_path = "/cgi-bin/zor.parser";

} // namespace

// (What the local parse reads off a page, the catalogue tests check through the
// fallback, and the command-line runs with the parser service down or wrong.)
class ParserExchange : public ::testing::Test {
protected:
    const std::string page = test_data("watch/streams.html");
    const std::shared_ptr<parser_result> local = youtube_parser::parse_html(page);
};

TEST_F(ParserExchange, DoneReplyIsTheRecordAndThePageIsPostedAsIs)
{
    const std::string archive = test_data("parser_result/two_streams.archive");
    scripted_server service(reply("DONE: " + archive));
    const auto result = youtube_parser::parse_html_remote(page, service.url(service_path), true);
    ASSERT_EQ(result->urls.size(), 2u);
    EXPECT_EQ(result->urls[0].quality, "hd720");
    EXPECT_EQ(result->urls[1].quality, "small");
    EXPECT_EQ(result->length_seconds, 213u);

    EXPECT_EQ(service.requests().at(0),
              "POST /cgi-bin/zor.parser HTTP/1.0\r\nHost: 127.0.0.1:" + std::to_string(service.port()) +
                  "\r\nAccept: */*\r\nContent-Length: " + std::to_string(page.size()) +
                  "\r\nContent-Type: text/plain\r\nConnection: close\r\n\r\n" + page);
}

TEST_F(ParserExchange, VerdictsReachTheCallerWithOrWithoutFallback)
{
    const auto expect_private = [](const std::string& sent, const std::string& address, bool fallback) {
        try {
            youtube_parser::parse_html_remote(sent, address, fallback);
            ADD_FAILURE() << "no youtube_error from " << address;
        } catch (const youtube_error& e) {
            EXPECT_STREQ(e.what(), "This video is private.");
        }
    };
    // The service's verdict is final; so is the local one when the service fails.
    scripted_server verdict(reply("YERR: This video is private."));
    expect_private(page, verdict.url(service_path), true);
    expect_private(page, verdict.url(service_path), false);
    scripted_server garbage(reply("garbage"));
    expect_private(test_data("watch/notice_player_unavailable.html"), garbage.url(service_path), true);
}

TEST_F(ParserExchange, FailuresFallBackToTheLocalParse)
{
    const std::string broken_archive = "DONE: 22 serialization::archive 18 0 0 999999999 x";
    scripted_server unknown(reply("DONE"));
    scripted_server empty(reply(""));
    scripted_server garbage(reply("<html>Internal error</html>"));
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
         {unknown.url(service_path), empty.url(service_path), garbage.url(service_path), malformed.url(service_path),
          failing.url(service_path), bad_status.url(service_path), oversized.url(service_path), down,
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
