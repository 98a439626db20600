#include "catalogue/xml/TBXML.h"

#include <gtest/gtest.h>

namespace {

std::string decode(const char* utf8)
{
    return TBXML::stringByDecodingXMLEntities(QString::fromUtf8(utf8)).toStdString();
}

} // namespace

TEST(TBXMLEntities, Decoded)
{
    struct {
        const char* in;
        const char* out;
    } const cases[] = {
        {"&lt;b&gt;", "<b>"},
        {"&#65;&#x41;&#X41;&#0065;", "AAAA"},
        {"Beyoncé &amp; Jay &Eacute;&euro;&apos;", "Beyoncé & Jay É€'"},
        {"&#1;", "\x01"},           // shortest candidate
        {"&#0000065;", "A"},        // longest candidate
        {"&thetasym;", "\xCF\x91"}, // longest name
        {"&#65534;&#xfffe;", "\xEF\xBF\xBE\xEF\xBF\xBE"},
        {"a &lt; b &amp;&amp; c &gt; d", "a < b && c > d"},
        // Replacements are never read again as the start of a reference...
        {"&amp;lt;", "&lt;"},
        {"&&amp;", "&&"},
        {"&#38;#65;", "&#65;"},
        // ...but a reference may end in a ';' that a replacement to its right produced.
        {"&amp&#59;", "&"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(decode(c.in), c.out) << c.in;

    const QString surrogate = TBXML::stringByDecodingXMLEntities(QStringLiteral("&#xD800;"));
    ASSERT_EQ(surrogate.size(), 1);
    EXPECT_EQ(surrogate[0].unicode(), 0xD800);
}

// Zero and values past 65534, malformed numbers, unknown names, no ';', candidates of 3 and 11 units.
TEST(TBXMLEntities, LeftAsTheyAre)
{
    for (const char* text : {"&#0;", "&#x0;", "&#65535;", "&#65536;", "&#xFFFF;", "&#x10000;", "&#99999999;", "&#;",
                             "&#x;", "&#65a;", "&#x4G;", "&#-65;", "&#+65;", "&# 65;", "&#0x41;", "&#x-41;"})
        EXPECT_EQ(decode(text), text);
    for (const char* text : {"&bogus;", "&AMP;", "&é;", "&amp", "AT&T", "& no semicolon", "&a;", "&#00000065;",
                             "&amp followed much later by;", "plain text, no references"})
        EXPECT_EQ(decode(text), text);
}
