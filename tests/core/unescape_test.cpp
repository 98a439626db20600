#include "core/youtube_parser.h"

#include <boost/numeric/conversion/converter_policies.hpp>
#include <gtest/gtest.h>

#include <string>
#include <utility>

TEST(QueryUnescape, DecodesPercentEscapesAndKeepsSafeBytes)
{
    const std::pair<std::string, std::string> cases[] = {
        {"url=http%3A%2f%2Fh%2Fp%3Fa%3D1%26b%3D2", "url=http://h/p?a=1&b=2"},
        {"azAZ09!$&'()*+,-./:;=@_~", "azAZ09!$&'()*+,-./:;=@_~"}, // "+" is not a blank here
        {"%00%ff%22", std::string("\0\xff\"", 3)},
        {"", ""},
    };
    for (const auto& [in, decoded] : cases) {
        std::string out = "stale";
        EXPECT_TRUE(youtube_parser::query_unescape(in, out)) << in;
        EXPECT_EQ(out, decoded) << in;
    }
}

TEST(QueryUnescape, StopsAtTheFirstBadByteKeepingWhatCameBefore)
{
    std::string out;
    EXPECT_FALSE(youtube_parser::query_unescape("itag=18 x&url=http://h", out));
    EXPECT_EQ(out, "itag=18");

    for (const char* bad : {"a\"b", "a#b", "a<b", "a>b", "a?b", "a[b", "a]b", "a^b", "a`b", "a{b", "a|b", "a}b", "a\tb",
                            "a\x7f"
                            "b",
                            "a\xc3\xa9"}) {
        EXPECT_FALSE(youtube_parser::query_unescape(bad, out)) << bad;
        EXPECT_EQ(out, "a") << bad;
    }
}

TEST(QueryUnescape, RejectsShortAndNonHexEscapes)
{
    const std::pair<const char*, const char*> cases[] = {{"ab%4", "ab"}, {"ab%", "ab"}, {"%41%4g", "A"}, {"%%41", ""}};
    for (const auto& [in, kept] : cases) {
        std::string out;
        EXPECT_FALSE(youtube_parser::query_unescape(in, out)) << in;
        EXPECT_EQ(out, kept) << in;
    }
}

TEST(UnicodeUnescape, ReplacesEachEscapeByOneByte)
{
    EXPECT_EQ(youtube_parser::unicode_unescape(R"(itag=18\u0026quality=medium\u0026type=video%2Fmp4)"),
              "itag=18&quality=medium&type=video%2Fmp4");
    EXPECT_EQ(youtube_parser::unicode_unescape(R"(\u003Cb\u003e)"), "<b>");
    EXPECT_EQ(youtube_parser::unicode_unescape(R"(\u007f\u0000)"), std::string("\x7f\0", 2));
    EXPECT_EQ(youtube_parser::unicode_unescape(""), "");
}

TEST(UnicodeUnescape, LeavesIncompleteEscapesAlone)
{
    for (const char* kept : {R"(\u004)", R"(\u00g1)", R"(\U0041)", R"(u0041)", R"(\\u)", R"(\x41)"})
        EXPECT_EQ(youtube_parser::unicode_unescape(kept), kept);
    // The escape in "\\u0041" is the second backslash's: the first stays.
    EXPECT_EQ(youtube_parser::unicode_unescape(R"(\\u0041)"), R"(\A)");
}

TEST(UnicodeUnescape, ValueAboveAsciiThrowsPositiveOverflow)
{
    for (const char* wide : {R"(caf\u00e9)", R"(\u0080)", R"(\uFFFF)"}) {
        try {
            youtube_parser::unicode_unescape(wide);
            ADD_FAILURE() << wide << " did not throw";
        } catch (const boost::numeric::positive_overflow& e) {
            EXPECT_STREQ(e.what(), "bad numeric conversion: positive overflow");
        }
    }
}
