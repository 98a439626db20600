#include "core/youtube_parser.h"

#include <boost/numeric/conversion/converter_policies.hpp>
#include <gtest/gtest.h>

#include <string>

TEST(QueryUnescape, DecodesUpToTheFirstBadByte)
{
    const struct {
        std::string in;
        bool ok;
        std::string out; // what came before the first bad byte, on failure
    } cases[] = {{"url=http%3A%2f%2Fh%2Fp%3Fa%3D1%26b%3D2", true, "url=http://h/p?a=1&b=2"},
                 {"azAZ09!$&'()*+,-./:;=@_~", true, "azAZ09!$&'()*+,-./:;=@_~"}, // "+" is not a blank here
                 {"%00%ff%22", true, std::string("\0\xff\"", 3)},
                 {"", true, ""},
                 {"itag=18 x&url=http://h", false, "itag=18"},
                 {"ab%4", false, "ab"},
                 {"ab%", false, "ab"},
                 {"%41%4g", false, "A"},
                 {"%%41", false, ""}};
    for (const auto& c : cases) {
        std::string out = "stale";
        EXPECT_EQ(youtube_parser::query_unescape(c.in, out), c.ok) << c.in;
        EXPECT_EQ(out, c.out) << c.in;
    }
    for (const char* bad : {"a\"b", "a#b", "a<b", "a^b", "a{b", "a\tb", "a\xc3\xa9"}) {
        std::string out;
        EXPECT_FALSE(youtube_parser::query_unescape(bad, out)) << bad;
        EXPECT_EQ(out, "a") << bad;
    }
}

TEST(UnicodeUnescape, ReplacesEachCompleteEscapeByOneByte)
{
    const std::pair<std::string, std::string> cases[] = {
        {R"(itag=18\u0026quality=medium\u0026type=video%2Fmp4)", "itag=18&quality=medium&type=video%2Fmp4"},
        {R"(\u003Cb\u003e)", "<b>"},
        {R"(\u007f\u0000)", std::string("\x7f\0", 2)},
        // The escape in "\\u0041" is the second backslash's: the first stays.
        {R"(\\u0041)", R"(\A)"},
        {R"(\u004)", R"(\u004)"},
        {R"(\u00g1)", R"(\u00g1)"},
        {R"(\U0041)", R"(\U0041)"},
        {R"(\x41)", R"(\x41)"},
        {"", ""}};
    for (const auto& [in, out] : cases)
        EXPECT_EQ(youtube_parser::unicode_unescape(in), out) << in;

    for (const char* wide : {R"(caf\u00e9)", R"(\u0080)", R"(\uFFFF)"}) {
        try {
            youtube_parser::unicode_unescape(wide);
            ADD_FAILURE() << wide << " did not throw";
        } catch (const boost::numeric::positive_overflow& e) {
            EXPECT_STREQ(e.what(), "bad numeric conversion: positive overflow");
        }
    }
}
