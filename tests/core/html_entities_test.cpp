#include "core/html_entities.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace {

// Decodes both ways (into a buffer of exactly the input's size and in place);
// the two must agree byte for byte.
std::string decode(const std::string& text)
{
    const std::size_t length = std::strlen(text.c_str());
    auto separate = std::make_unique<char[]>(length + 1);
    const std::size_t written = decode_html_entities_utf8(separate.get(), text.c_str());
    EXPECT_LE(written, length);
    EXPECT_EQ(separate[written], '\0');

    std::string in_place = text;
    const std::size_t written_in_place = decode_html_entities_utf8(in_place.data(), nullptr);
    EXPECT_EQ(written_in_place, written);
    EXPECT_EQ(std::memcmp(in_place.data(), separate.get(), written + 1), 0);
    return std::string(separate.get(), written);
}

} // namespace

TEST(HtmlEntities, NamedReferencesBecomeUtf8)
{
    EXPECT_EQ(decode(""), "");
    EXPECT_EQ(decode("Tom &amp; Jerry"), "Tom & Jerry");
    EXPECT_EQ(decode("&lt;b&gt;&quot;x&quot;&apos;"), "<b>\"x\"'");
    struct {
        const char* ref;
        const char* utf8;
    } const samples[] = {
        {"&AElig;", "\xC3\x86"},    {"&zwnj;", "\xE2\x80\x8C"},    {"&nbsp;", "\xC2\xA0"},
        {"&yuml;", "\xC3\xBF"},     {"&Yuml;", "\xC5\xB8"},        {"&euro;", "\xE2\x82\xAC"},
        {"&thetasym;", "\xCF\x91"}, {"&prime;", "\xE2\x80\xB2"},   {"&Prime;", "\xE2\x80\xB3"},
        {"&sup;", "\xE2\x8A\x83"},  {"&sup1;", "\xC2\xB9"},        {"&supe;", "\xE2\x8A\x87"},
        {"&sigmaf;", "\xCF\x82"},   {"&alefsym;", "\xE2\x84\xB5"}, {"&image;", "\xE2\x84\x91"},
        {"&rang;", "\xE2\x8C\xAA"}, {"&diams;", "\xE2\x99\xA6"},   {"&fnof;", "\xC6\x92"},
        {"&lArr;", "\xE2\x87\x90"}, {"&larr;", "\xE2\x86\x90"},    {"&shy;", "\xC2\xAD"},
    };
    for (const auto& s : samples)
        EXPECT_EQ(decode(s.ref), s.utf8) << s.ref;
}

TEST(HtmlEntities, UnknownOrUnterminatedNamesAreCopied)
{
    for (const char* kept : {"&bogus;", "&AMP;", "&amp", "a & b", "&;", "& amp;", "&ampx;", "&thetasymx;", "&"})
        EXPECT_EQ(decode(kept), kept);
    // The ";" ends the first reference only; a later one decodes on its own.
    EXPECT_EQ(decode("a & b; c &amp; d"), "a & b; c & d");
    EXPECT_EQ(decode("&&amp;&"), "&&&");
    EXPECT_EQ(decode("&am&amp;"), "&am&");
}

TEST(HtmlEntities, NumericReferencesAtEachUtf8Length)
{
    EXPECT_EQ(decode("&#x41;&#X42;&#67;"), "ABC");
    EXPECT_EQ(decode("&#127;&#128;"), "\x7F\xC2\x80");
    EXPECT_EQ(decode("&#x7FF;&#x800;"), "\xDF\xBF\xE0\xA0\x80");
    EXPECT_EQ(decode("&#xFFFF;&#x10000;"), "\xEF\xBF\xBF\xF0\x90\x80\x80");
    EXPECT_EQ(decode("&#x10FFFF;"), "\xF4\x8F\xBF\xBF");
    EXPECT_EQ(decode("&#xD800;"), "\xED\xA0\x80");
    EXPECT_EQ(decode("&#000065;"), "A");
}

TEST(HtmlEntities, BadNumbersAreCopied)
{
    for (const char* kept : {"&#1114112;", "&#x110000;", "&#99999999999999999999999;", "&#65", "&#65a;", "&#x4G;",
                             "&#;", "&#x;", "&# 65;", "&#+65;", "&#-65;", "&#0x41;"})
        EXPECT_EQ(decode(kept), kept);
}

TEST(HtmlEntities, ZeroReferenceWritesAZeroByte)
{
    char buffer[] = "a&#0;b";
    EXPECT_EQ(decode_html_entities_utf8(buffer, nullptr), 3u);
    EXPECT_EQ(std::string(buffer, 3), std::string("a\0b", 3));
}

TEST(HtmlEntities, ManyAmpersandsWithoutSemicolonStayLinear)
{
    // Each "&" looks for a ";" ahead; done naively this input would take minutes.
    const std::string many(1 << 20, '&');
    EXPECT_EQ(decode(many), many);
    EXPECT_EQ(decode(many + ";"), many + ";");
    EXPECT_EQ(decode(many + "amp;"), std::string((1 << 20) - 1, '&') + "&");
}
