#include "catalogue/xml/TBXML.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// A compact picture of a subtree: name, [attributes], "text" when there is one, (children).
// Checks the links between the records on the way.
std::string outline(const TBXMLElement* e)
{
    std::string s = e->name;
    if (e->firstAttribute) {
        s += '[';
        for (const TBXMLAttribute* a = e->firstAttribute; a; a = a->next)
            s += std::string(a->name) + '=' + a->value + (a->next ? "," : "");
        s += ']';
    }
    if (e->text)
        s += '"' + std::string(e->text) + '"';
    if (e->firstChild) {
        s += '(';
        const TBXMLElement* previous = nullptr;
        for (const TBXMLElement* c = e->firstChild; c; c = c->nextSibling) {
            EXPECT_EQ(c->parentElement, e) << c->name;
            EXPECT_EQ(c->previousSibling, previous) << c->name;
            s += (previous ? " " : "") + outline(c);
            previous = c;
        }
        EXPECT_EQ(e->currentChild, previous) << e->name;
        s += ')';
    }
    return s;
}

std::string outline(const TBXML& doc)
{
    const TBXMLElement* root = doc.rootXMLElement();
    if (!root)
        return "(no root)";
    EXPECT_EQ(root->parentElement, nullptr);
    EXPECT_EQ(root->nextSibling, nullptr);
    return outline(root);
}

std::string outline(std::string_view xml)
{
    return outline(TBXML(xml));
}

} // namespace

// (A real search feed, tests/data/feeds, is walked whole by the fuzz replay, which
// checks every link and lookup; what the catalogue reads off a feed, the search
// tests.)
// Names match whole; of two equally named children the first is found.
TEST(TBXMLTree, NamesMatchWhole)
{
    const TBXML doc(std::string_view("<r><items/><item k='1' kk='2'/><item k='3'/><media:group/></r>"));
    const TBXMLElement* r = doc.rootXMLElement();
    EXPECT_EQ(TBXML::childElementNamed("ite", r), nullptr);
    EXPECT_EQ(TBXML::childElementNamed("group", r), nullptr);
    const TBXMLElement* item = TBXML::childElementNamed("item", r);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(TBXML::valueOfAttributeNamed("k", item), "1");
    EXPECT_EQ(TBXML::valueOfAttributeNamed("kk", item), "2");
    EXPECT_EQ(TBXML::valueOfAttributeNamed("kkk", item), std::nullopt);
}

// Shapes of small documents, one line each.
TEST(TBXMLTree, Shapes)
{
    struct {
        std::string_view xml;
        const char* shape;
    } const cases[] = {
        {R"(<a x='1' y="2">t</a>)", R"(a[x=1,y=2]"t")"},
        {R"(<a q='say "hi"' r="it's"/>)", R"(a[q=say "hi",r=it's])"},
        {"<r><e/><f></f><g/></r>", R"(r(e f"" g))"},
        {"<media:group><media:thumbnail url='u'/></media:group>", R"(media:group""(media:thumbnail[url=u]))"},
        // Text beside child elements: dropped once a child has closed.
        {"<a>before<b>in</b>after</a>", R"(a(b"in"))"},
        {"<a> \t\r\n x  y \v\f\n</a>", R"(a"x  y")"},
        {R"(<?xml version="1.0"?><!DOCTYPE a><!-- <b/> --><a><?pi x?><!-- <c> --><d/></a>)", R"(a""(d))"},
        // CDATA in text becomes plain text, however many sections follow each other.
        {"<a>x <![CDATA[<b>&amp;</b>]]> y</a>", R"(a"x <b>&amp;</b> y")"},
        {"<r><a><![CDATA[]]]]><![CDATA[>]]></a></r>", R"(r(a"]]>"))"},
        // ...and in attribute values, where it may hold quotes and '>'.
        {R"(<t url="<![CDATA[http://x/?a=1&b=2]]>" v='<![CDATA[a>b 'q']]>' w="pre<![CDATA[mid]]>post"/>)",
         "t[url=http://x/?a=1&b=2,v=a>b 'q',w=premidpost]"},
        // Only the first top-level element counts; a stray end tag before it is ignored.
        {"<a/><b><c/></b>", "a"},
        // Broken documents keep what was read before the break.
        {"<r><a/><!-- never closed <b/></r>", R"(r""(a))"},
        {std::string_view("<a>x\0<b/></a>", 13), R"(a"x")"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(outline(c.xml), c.shape) << c.xml;
}

// Records come in blocks of 100: a document with more of each must stay whole.
TEST(TBXMLTree, ManyElementsAndAttributes)
{
    std::string xml = "<r><many", shape = "r(many[", nested = "d\"bottom\"", closing;
    for (int i = 0; i < 250; ++i) {
        const std::string n = std::to_string(i);
        xml += " a" + n + "=\"v" + n + '"';
        shape += (i ? ",a" : "a") + n + "=v" + n;
    }
    xml += "/>";
    // Nested, so that every element is also a parent.
    for (int i = 0; i < 250; ++i) {
        xml += "<d>";
        closing += "</d>";
        nested = i ? "d(" + nested + ")" : nested;
    }
    xml += "bottom" + closing + "</r>";
    shape += "] " + nested + ")";
    EXPECT_EQ(outline(std::string_view(xml)), shape); // also checks every link
}

// (A document without root: the fuzz replay checks its error code for any bytes;
// the search tests feed the catalogue an HTML page and plain text, and a bare item
// has it ask every query of a missing element.)

TEST(TBXMLEntities, DecodedOrLeftAsTheyAre)
{
    const auto decode = [](const char* utf8) {
        return TBXML::stringByDecodingXMLEntities(QString::fromUtf8(utf8)).toStdString();
    };
    // Candidates of 4 to 10 units; replacements are never read again as the start of a
    // reference, but one may end in a ';' that a replacement to its right produced.
    const std::pair<const char*, const char*> cases[] = {
        {"&lt;b&gt; &#65;&#x41;&#X41;&#0000065;&#1;", "<b> AAAA\x01"},
        {"Beyoncé &amp; Jay &Eacute;&euro;&apos;&thetasym;", "Beyoncé & Jay É€'\xCF\x91"},
        {"&#65534;&#xfffe;", "\xEF\xBF\xBE\xEF\xBF\xBE"},
        {"&amp;lt; &&amp; &#38;#65; &amp&#59;", "&lt; && &#65; &"}};
    for (const auto& [in, out] : cases)
        EXPECT_EQ(decode(in), out) << in;

    // Half of a surrogate pair is no letter: the text stays valid UTF-16.
    EXPECT_EQ(TBXML::stringByDecodingXMLEntities(QStringLiteral("a&#xD800;b&#57343;")), QString::fromUtf8("a\uFFFDb\uFFFD"));

    // Zero and values past 65534, malformed numbers, unknown names, no ';', candidates of 3 and 11 units.
    for (const char* text : {"&#0;", "&#65535;", "&#x10000;", "&#99999999;", "&#;", "&#x;", "&#65a;", "&#-65;",
                             "&#0x41;", "&bogus;", "&AMP;", "&amp", "AT&T", "&a;", "&#00000065;",
                             "&amp followed much later by;"})
        EXPECT_EQ(decode(text), text);
}
