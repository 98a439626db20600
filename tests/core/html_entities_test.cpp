#include "core/html_entities.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

// Decoded into a buffer of the input's size. (That decoding in place gives the same
// bytes, the fuzz replay checks on any input.)
std::string decode(const std::string& text)
{
    std::string out(std::strlen(text.c_str()) + 1, '\0');
    out.resize(decode_html_entities_utf8(out.data(), text.c_str()));
    return out;
}

} // namespace

TEST(HtmlEntities, Decodes)
{
    // Names near each other in the sorted table and by case; numbers at each UTF-8
    // length. A ";" ends the first reference only: a later one decodes on its own.
    const std::pair<const char*, const char*> cases[] = {
        {"", ""},
        {"Tom &amp; Jerry &lt;b&gt;&quot;x&quot;&apos;", "Tom & Jerry <b>\"x\"'"},
        {"&AElig;&zwnj;&yuml;&Yuml;&prime;&Prime;&larr;&lArr;&sup;&sup1;&supe;",
         "\xC3\x86\xE2\x80\x8C\xC3\xBF\xC5\xB8\xE2\x80\xB2\xE2\x80\xB3\xE2\x86\x90\xE2\x87\x90\xE2\x8A\x83\xC2\xB9\xE2"
         "\x8A\x87"},
        {"&thetasym;&euro;&sigmaf;&shy;&nbsp;&alefsym;&diams;&fnof;",
         "\xCF\x91\xE2\x82\xAC\xCF\x82\xC2\xAD\xC2\xA0\xE2\x84\xB5\xE2\x99\xA6\xC6\x92"},
        {"&#x41;&#X42;&#67;&#000065;&#127;&#128;&#x7FF;&#x800;", "ABCA\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80"},
        {"&#xFFFF;&#x10000;&#x10FFFF;&#xD800;", "\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF\xED\xA0\x80"},
        {"a & b; c &amp; d &am&amp;", "a & b; c & d &am&"}};
    for (const auto& [in, out] : cases)
        EXPECT_EQ(decode(in), out) << in;

    for (const char* kept : {"&bogus;", "&AMP;", "&amp", "&;", "&thetasymx;", "&", "&#x110000;",
                             "&#99999999999999999999999;", "&#65", "&#65a;", "&#x;", "&#-65;", "&#0x41;"})
        EXPECT_EQ(decode(kept), kept);

    char zero[] = "a&#0;b";
    EXPECT_EQ(decode_html_entities_utf8(zero, nullptr), 3u);
    EXPECT_EQ(std::string(zero, 3), std::string("a\0b", 3));
}

TEST(HtmlEntities, ManyAmpersandsWithoutSemicolonStayLinear)
{
    // Each "&" looks for a ";" ahead; done naively this input would take minutes.
    const std::string many(1 << 20, '&');
    EXPECT_EQ(decode(many), many);
    EXPECT_EQ(decode(many + "amp;"), std::string((1 << 20) - 1, '&') + "&");
}
