#include "catalogue/xml/TBXML.h"

#include <gtest/gtest.h>

namespace {

std::string decode(const char* utf8)
{
    return TBXML::stringByDecodingXMLEntities(QString::fromUtf8(utf8)).toStdString();
}

} // namespace

TEST(TBXMLEntities, DecodedOrLeftAsTheyAre)
{
    // Candidates of 4 to 10 units; replacements are never read again as the start of a
    // reference, but one may end in a ';' that a replacement to its right produced.
    const std::pair<const char*, const char*> cases[] = {
        {"&lt;b&gt; &#65;&#x41;&#X41;&#0065; &#0000065;&#1;", "<b> AAAA A\x01"},
        {"Beyoncé &amp; Jay &Eacute;&euro;&apos;&thetasym;", "Beyoncé & Jay É€'\xCF\x91"},
        {"&#65534;&#xfffe;", "\xEF\xBF\xBE\xEF\xBF\xBE"},
        {"&amp;lt; &&amp; &#38;#65; &amp&#59;", "&lt; && &#65; &"}};
    for (const auto& [in, out] : cases)
        EXPECT_EQ(decode(in), out) << in;

    const QString surrogate = TBXML::stringByDecodingXMLEntities(QStringLiteral("&#xD800;"));
    ASSERT_EQ(surrogate.size(), 1);
    EXPECT_EQ(surrogate[0].unicode(), 0xD800);

    // Zero and values past 65534, malformed numbers, unknown names, no ';', candidates of 3 and 11 units.
    for (const char* text : {"&#0;", "&#x0;", "&#65535;", "&#65536;", "&#xFFFF;", "&#x10000;", "&#99999999;", "&#;",
                             "&#x;", "&#65a;", "&#x4G;", "&#-65;", "&#+65;", "&# 65;", "&#0x41;", "&#x-41;"})
        EXPECT_EQ(decode(text), text);
    for (const char* text : {"&bogus;", "&AMP;", "&é;", "&amp", "AT&T", "& no semicolon", "&a;", "&#00000065;",
                             "&amp followed much later by;", "plain text, no references"})
        EXPECT_EQ(decode(text), text);
}
