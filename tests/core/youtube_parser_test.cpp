#include "core/youtube_error.h"
#include "core/youtube_parser.h"
#include "core/youtube_parser_error.h"
#include "test_data.h"

#include <boost/numeric/conversion/converter_policies.hpp>
#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// The youtube_error message a page raises, if any.
std::optional<std::string> notice_of(const std::string& page)
{
    youtube_parser parser(page);
    try {
        parser.check_for_errors();
    } catch (const youtube_error& e) {
        return e.what();
    }
    return std::nullopt;
}

std::string stream_page(const std::string& map, const std::string& rest = "")
{
    return "<script>var c = {\"args\": {\"url_encoded_fmt_stream_map\": \"" + map + "\", " + rest + "}};</script>";
}

// One stream-map entry, parsed.
youtube_url parsed(const std::string& entry)
{
    youtube_url u(entry);
    u.parse();
    return u;
}

} // namespace

// (A realistic page, read whole: the catalogue's test of the local fallback.)
TEST(WatchPageNotices, WhichNoticeIsRaisedAndItsText)
{
    const std::string unavailable = R"(<div id="unavailable-message"><div class="yt-alert-message">
Removed.</div>)";
    const std::string unrated = R"(<span class="yt-badge-rating-signal yt-badge-rating-signal-unrated">U</span>
<p class="rating-info">Unrated.</p>)";
    const struct {
        std::string page;
        std::optional<std::string> notice;
    } cases[] = {{test_data("watch/notice_unavailable.html"), "This video has been removed by the user."},
                 {test_data("watch/notice_player_unavailable.html"), "This video is private."},
                 // " \" " goes wherever it stands, joining the words around it.
                 {test_data("watch/notice_unrated.html"),
                  "This video may be inappropriate for some users. To view it,sign inand confirm your age."},
                 {test_data("watch/notice_verify_age.html"),
                  "This video may contain content that is inappropriate for some users, "
                  "as flagged by YouTube's user community."},
                 {test_data("watch/streams.html"), std::nullopt},
                 // The later notice in the list wins, wherever it stands on the page.
                 {unrated + unavailable, "Unrated."},
                 // The first two skip the byte after their tag (the service writes a line break there).
                 {R"(<div id="unavailable-message"><div class="yt-alert-message">XGone.</div>)", "Gone."},
                 {R"(<div id="verify-details"><p class="rating-info">XAge.</p>)", "XAge."},
                 // Incomplete: end marker missing, second marker only before the first.
                 {"<div id=\"watch7-player-unavailable\"><h1 class=\"message\">\nPrivate.", std::nullopt},
                 // An empty text raises nothing; a blank one an empty message.
                 {R"(<div id="verify-details"><p class="rating-info"></p>)", std::nullopt},
                 {R"(<div id="verify-details"><p class="rating-info">   </p>)", ""}};
    for (const auto& c : cases)
        EXPECT_EQ(notice_of(c.page), c.notice) << c.page.substr(0, 80);
}

TEST(WatchPage, WhichEntriesBecomeStreamsAndWhereParsingStops)
{
    enum class end { done, no_map, notice, out_of_range, overflow, bad_length };
    const struct {
        std::string page;
        end outcome;
        std::vector<std::string> files;
    } cases[] = {
        {test_data("watch/no_stream_map.html"), end::no_map, {}},
        // A notice or an rtmpe stream stops everything, after the streams before it.
        {test_data("watch/notice_player_unavailable.html") + stream_page("url=http://h/p"), end::notice, {}},
        {test_data("watch/rtmpe_only.html"), end::notice, {}},
        {stream_page(R"(url=http%3A%2F%2Fh%2Fa\u0026quality=small,conn=rtmpe%3A%2F%2Fh)"), end::notice, {"http://h/a"}},
        // "%26" becomes "&" first, so the descriptor sees "url=a" and "b".
        {stream_page("url=a%26b"), end::done, {"a"}},
        // A blank ends the unescaping: "itag=18 x..." keeps just "itag=18", which has no address.
        {stream_page(R"(itag=18 x\u0026url=http%3A%2F%2Fh%2Fskipped,,fallback_host=tc,url=http%3A%2F%2Fh%2Fkept)"),
         end::done,
         {"http://h/kept"}},
        // A map without its closing quote runs to the page end.
        {R"("url_encoded_fmt_stream_map": "url=http%3A%2F%2Fh%2Fa,url=http%3A%2F%2Fh%2Fb)",
         end::done,
         {"http://h/a", "http://h/b"}},
        // "url" inside another key is no address: the entry is kept, then the lookup throws.
        {stream_page(R"(url=http%3A%2F%2Fh%2Fa,curl=1)"), end::out_of_range, {"http://h/a", ""}},
        {stream_page(R"(url=http%3A%2F%2Fh%2Fa,url=http%3A%2F%2Fh%2Fcaf\u00e9)"), end::overflow, {"http://h/a"}},
        // Anything but a whole unsigned number as the length; "-1" would wrap round.
        {stream_page("url=http%3A%2F%2Fh%2Fa", R"("length_seconds": -1,)"), end::bad_length, {"http://h/a"}},
        {stream_page("url=http%3A%2F%2Fh%2Fa", R"("length_seconds": "61",)"), end::bad_length, {"http://h/a"}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.page.substr(0, 100));
        youtube_parser parser(c.page);
        end outcome = end::done;
        try {
            outcome = parser.parse() ? end::done : end::no_map;
        } catch (const youtube_error&) {
            outcome = end::notice;
        } catch (const std::out_of_range&) {
            outcome = end::out_of_range;
        } catch (const boost::numeric::positive_overflow&) {
            outcome = end::overflow;
        } catch (const youtube_parser_error& e) {
            outcome = end::bad_length;
            EXPECT_EQ(e.page(), c.page);
            EXPECT_TRUE(std::string(e.what()).starts_with("bad lexical cast: ")) << e.what();
        }
        EXPECT_EQ(outcome, c.outcome);
        std::vector<std::string> files;
        for (const auto& u : parser.urls)
            files.push_back(u.file());
        EXPECT_EQ(files, c.files);
        if (outcome != end::done) {
            EXPECT_TRUE(parser.title.empty() && parser.description.empty() && parser.thumbnail.empty());
            EXPECT_EQ(parser.length_seconds, 0u);
        }
    }
}

// The stream map's two unescapings.
TEST(QueryUnescape, DecodesUpToTheFirstBadByte)
{
    const struct {
        std::string in;
        bool ok;
        std::string out; // what came before the first bad byte, on failure
    } cases[] = {{"url=http%3A%2f%2Fh%2Fp%3Fa%3D1%26b%3D2", true, "url=http://h/p?a=1&b=2"},
                 {"azAZ09!$&'()*+,-./:;=@_~%00%ff", true, std::string("azAZ09!$&'()*+,-./:;=@_~\0\xff", 26)},
                 {"itag=18 x&url=http://h", false, "itag=18"},
                 {"ab%4", false, "ab"},
                 {"%41%4g", false, "A"}};
    for (const auto& c : cases) {
        std::string out = "stale";
        EXPECT_EQ(youtube_parser::query_unescape(c.in, out), c.ok) << c.in;
        EXPECT_EQ(out, c.out) << c.in;
    }
    for (const char* bad : {"a\"b", "a#b", "a<b", "a\tb", "a\xc3\xa9"}) {
        std::string out;
        EXPECT_FALSE(youtube_parser::query_unescape(bad, out)) << bad;
        EXPECT_EQ(out, "a") << bad;
    }
}

TEST(UnicodeUnescape, ReplacesEachCompleteEscapeByOneByte)
{
    const std::pair<std::string, std::string> cases[] = {
        {R"(itag=18\u0026quality=medium\u0026type=video%2Fmp4)", "itag=18&quality=medium&type=video%2Fmp4"},
        {R"(\u003Cb\u003e\u0000)", std::string("<b>\0", 4)},
        // The escape in "\\u0041" is the second backslash's: the first stays.
        {R"(\\u0041)", R"(\A)"},
        {R"(\u00g1 \U0041 \u004)", R"(\u00g1 \U0041 \u004)"}};
    for (const auto& [in, out] : cases)
        EXPECT_EQ(youtube_parser::unicode_unescape(in), out) << in;

    for (const char* wide : {R"(\u0080)", R"(\uFFFF)"}) {
        try {
            youtube_parser::unicode_unescape(wide);
            ADD_FAILURE() << wide << " did not throw";
        } catch (const boost::numeric::positive_overflow& e) {
            EXPECT_STREQ(e.what(), "bad numeric conversion: positive overflow");
        }
    }
}

// The entries of a stream map: where each parameter comes from, and the address printed.
TEST(YoutubeUrl, WhereEachParameterComesFrom)
{
    const auto u = parsed("url=http://h/p?a=1&itag=18&sig=XYZ&type=video/mp4&quality=medium");
    EXPECT_EQ(u.file(), "http://h/p");
    EXPECT_EQ(u.url(), "http://h/p?a=1&itag=18&quality=medium&signature=XYZ&type=video/mp4&");
    EXPECT_EQ(u.url_without_type(), "http://h/p?a=1&itag=18&quality=medium&signature=XYZ&");
    EXPECT_EQ(u.type(), "video/mp4");
    EXPECT_EQ(u.quality(), "medium");
    // Only "type" itself is left out; an address without "?" is also read as a query.
    EXPECT_EQ(parsed("url=http://h/p?type=a&typex=b&ty=c").url_without_type(), "http://h/p?ty=c&typex=b&");
    EXPECT_EQ(parsed("url=http://h/p&itag=5").url(), "http://h/p?http://h/p=http://h/p&itag=5&");

    const struct {
        const char* entry;
        const char* key;
        const char* value;
    } cases[] = {// The address's own first parameter is read after every token of the entry.
                 {"itag=5&url=http://h/p?itag=18", "itag", "18"},
                 {"url=http://h/p?s=FROM_ADDRESS&sig=FROM_ENTRY", "signature", "FROM_ADDRESS"},
                 // Signature keys are renamed, their values kept as they came ("sig" and "s"
                 // alone: every download from the service, which checks them).
                 {"url=http://h/p&s=A%2FB.C", "signature", "A%2FB.C"},
                 {"url=http://h/p?x=1&sig=1&s=2", "signature", "2"}};
    for (const auto& c : cases)
        EXPECT_EQ(parsed(c.entry).get_param(c.key), c.value) << c.entry;
}
