// Reading a search feed of 1000 items: the XML reader against pugixml's in-place parse,
// each followed by the walk that the catalogue makes over every item (title, description,
// link, thumbnail address, duration). Both copy the feed once per run: the reader does
// so itself, and pugixml gets a fresh buffer to parse in place.
#include "catalogue/xml/TBXML.h"

#include <benchmark/benchmark.h>
#include <pugixml.hpp>

#include <cstring>
#include <malloc.h>
#include <memory>
#include <string>
#include <string_view>

namespace {

std::string videoId(int n)
{
    static const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    std::string id;
    for (unsigned v = 2654435761u * static_cast<unsigned>(n + 1), i = 0; i < 11; ++i, v = v * 1103515245u + 12345u)
        id += alphabet[(v >> 16) % 64];
    return id;
}

// About 1 KB, in the shape of the video service's old RSS answers.
std::string feedItem(int n)
{
    const std::string id = videoId(n);
    const std::string number = std::to_string(n);
    return "    <item>\n"
           "      <guid isPermaLink='false'>http://gdata.youtube.com/feeds/api/videos/" +
           id +
           "</guid>\n"
           "      <pubDate>Mon, 19 Nov 2012 21:40:03 +0000</pubDate>\n"
           "      <title>Harbour Lights &amp; the Night Ferry, part " +
           number +
           "</title>\n"
           "      <description>Recorded at the pier on a windy night; set list &amp; credits in the comments. "
           "Camera by the quayside crew.</description>\n"
           "      <link>http://www.youtube.com/watch?v=" +
           id +
           "&amp;feature=youtube_gdata</link>\n"
           "      <author>noreply@youtube.com (quaysidesessions)</author>\n"
           "      <media:group>\n"
           "        <media:category label='Music' "
           "scheme='http://gdata.youtube.com/schemas/2007/categories.cat'>Music</media:category>\n"
           "        <media:content url='http://www.youtube.com/v/" +
           id +
           "?version=3&amp;f=videos&amp;app=youtube_gdata' type='application/x-shockwave-flash' "
           "medium='video' isDefault='true' expression='full' duration='" +
           number +
           "' yt:format='5'/>\n"
           "        <media:keywords/>\n"
           "        <media:thumbnail url='http://i.ytimg.com/vi/" +
           id +
           "/0.jpg' height='360' width='480' time='00:02:02.500'/>\n"
           "        <media:thumbnail url='http://i.ytimg.com/vi/" +
           id +
           "/default.jpg' height='90' width='120' time='00:01:01.250'/>\n"
           "        <yt:duration seconds='" +
           number +
           "'/>\n"
           "      </media:group>\n"
           "      <yt:statistics favoriteCount='0' viewCount='" +
           std::to_string(1000 + 37 * n) +
           "'/>\n"
           "    </item>\n";
}

std::string makeFeed(int items)
{
    std::string feed = "<?xml version='1.0' encoding='UTF-8'?>\n"
                       "<rss version='2.0' xmlns:media='http://search.yahoo.com/mrss/' "
                       "xmlns:yt='http://gdata.youtube.com/schemas/2007'>\n  <channel>\n"
                       "    <title>YouTube Videos matching query: harbour lights</title>\n"
                       "    <link>http://www.youtube.com</link>\n";
    for (int n = 0; n < items; ++n)
        feed += feedItem(n);
    feed += "  </channel>\n</rss>\n";
    return feed;
}

const std::string& feed()
{
    static const std::string f = makeFeed(1000);
    return f;
}

void setCounters(benchmark::State& state, std::size_t touched, std::size_t items)
{
    if (items != 1000)
        state.SkipWithError("wrong item count");
    benchmark::DoNotOptimize(touched);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * feed().size()));
    state.counters["feed_bytes"] = static_cast<double>(feed().size());
}

const char* rawAttribute(const TBXMLElement* element, std::string_view name)
{
    for (const TBXMLAttribute* a = element ? element->firstAttribute : nullptr; a; a = a->next)
        if (name == a->name)
            return a->value;
    return "";
}

std::size_t rawLength(const TBXMLElement* element)
{
    return element && element->text ? std::strlen(element->text) : 0;
}

void BM_TBXML(benchmark::State& state)
{
    std::size_t touched = 0, items = 0;
    for (auto _ : state) {
        const TBXML doc(feed());
        const TBXMLElement* channel = TBXML::childElementNamed("channel", doc.rootXMLElement());
        items = 0;
        for (const TBXMLElement* item = TBXML::childElementNamed("item", channel); item;
             item = TBXML::nextSiblingNamed("item", item), ++items) {
            touched += rawLength(TBXML::childElementNamed("title", item));
            touched += rawLength(TBXML::childElementNamed("description", item));
            touched += rawLength(TBXML::childElementNamed("link", item));
            const TBXMLElement* group = TBXML::childElementNamed("media:group", item);
            touched += std::strlen(rawAttribute(TBXML::childElementNamed("media:thumbnail", group), "url"));
            touched += std::strlen(rawAttribute(TBXML::childElementNamed("yt:duration", group), "seconds"));
        }
    }
    setCounters(state, touched, items);
}
BENCHMARK(BM_TBXML);

// The same walk through the query operations that the catalogue calls, which hand out QStrings.
void BM_TBXML_QStrings(benchmark::State& state)
{
    std::size_t touched = 0, items = 0;
    for (auto _ : state) {
        const TBXML doc(feed());
        const TBXMLElement* channel = TBXML::childElementNamed("channel", doc.rootXMLElement());
        items = 0;
        for (const TBXMLElement* item = TBXML::childElementNamed("item", channel); item;
             item = TBXML::nextSiblingNamed("item", item), ++items) {
            touched += TBXML::textForElement(TBXML::childElementNamed("title", item)).size();
            touched += TBXML::textForElement(TBXML::childElementNamed("description", item)).size();
            touched += TBXML::textForElement(TBXML::childElementNamed("link", item)).size();
            const TBXMLElement* group = TBXML::childElementNamed("media:group", item);
            touched += TBXML::valueOfAttributeNamed("url", TBXML::childElementNamed("media:thumbnail", group))->size();
            touched += TBXML::valueOfAttributeNamed("seconds", TBXML::childElementNamed("yt:duration", group))->size();
        }
    }
    setCounters(state, touched, items);
}
BENCHMARK(BM_TBXML_QStrings);

void pugixmlRun(benchmark::State& state, unsigned options)
{
    std::size_t touched = 0, items = 0;
    for (auto _ : state) {
        std::unique_ptr<char[]> buffer(new char[feed().size()]);
        std::memcpy(buffer.get(), feed().data(), feed().size());
        pugi::xml_document doc;
        if (!doc.load_buffer_inplace(buffer.get(), feed().size(), options, pugi::encoding_utf8))
            state.SkipWithError("pugixml failed");
        const pugi::xml_node channel = doc.child("rss").child("channel");
        items = 0;
        for (pugi::xml_node item = channel.child("item"); item; item = item.next_sibling("item"), ++items) {
            touched += std::strlen(item.child_value("title"));
            touched += std::strlen(item.child_value("description"));
            touched += std::strlen(item.child_value("link"));
            const pugi::xml_node group = item.child("media:group");
            touched += std::strlen(group.child("media:thumbnail").attribute("url").value());
            touched += std::strlen(group.child("yt:duration").attribute("seconds").value());
        }
    }
    setCounters(state, touched, items);
}

// Its usual settings: references decoded, line ends normalised.
void BM_Pugixml_Default(benchmark::State& state)
{
    pugixmlRun(state, pugi::parse_default);
}
BENCHMARK(BM_Pugixml_Default);

// Closest to what the reader does: no reference decoding, CDATA kept, text trimmed.
void BM_Pugixml_Minimal(benchmark::State& state)
{
    pugixmlRun(state, pugi::parse_minimal | pugi::parse_cdata | pugi::parse_trim_pcdata);
}
BENCHMARK(BM_Pugixml_Minimal);

// Decoding the references of a long description, from the end backwards.
void BM_DecodeEntities(benchmark::State& state)
{
    QString text;
    while (text.size() < state.range(0))
        text += QStringLiteral("Tom &amp; Jerry &#8211; &quot;The Chase&quot; &#x2014; caf&eacute; ");
    for (auto _ : state)
        benchmark::DoNotOptimize(TBXML::stringByDecodingXMLEntities(text));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size() * 2));
}
BENCHMARK(BM_DecodeEntities)->Arg(1 << 10)->Arg(1 << 20);

} // namespace

int main(int argc, char** argv)
{
    // Freed memory stays with the process: otherwise the page faults of a fresh 1 MB buffer and
    // the records per run drown out the parsers (both sides pay them alike).
    mallopt(M_MMAP_THRESHOLD, 256 << 20);
    mallopt(M_TRIM_THRESHOLD, 512 << 20);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
