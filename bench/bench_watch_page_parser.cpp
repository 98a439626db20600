// Throughput of the watch-page parser on a 1 MiB page whose stream map sits near
// the end, as on the service's pages (the head first, the related videos, then the
// player configuration). The parts show where the time goes.
#include "core/html_entities.h"
#include "core/youtube_parser.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <string_view>

namespace {

std::string stream_entry(int itag, const char* quality, const char* type)
{
    const std::string id = std::to_string(itag);
    return "url=http%3A%2F%2Fr4---sn-25g7rn7k.c.youtube.com%2Fvideoplayback%3Fsparams%3Dcp%252Cid%252Cip%252Cipbits"
           "%252Citag%252Cratebypass%252Csource%252Cexpire%26fexp%3D900222%26itag%3D" +
           id +
           "%26ip%3D203.0.113.7%26source%3Dyoutube%26expire%3D1353520800%26key%3Dyt1%26ratebypass%3Dyes%26id%3D"
           "42a9736c7b2a520d\\u0026quality=" +
           quality + "\\u0026fallback_host=tc.v19.cache1.c.youtube.com\\u0026type=" + type + "\\u0026itag=" + id +
           "\\u0026sig=4F1C3B2A9D0E8F7A6B5C4D3E2F1A0B9C8D7E6F5A.0B1C2D3E4F5A6B7C8D9E0F1A2B3C4D5E6F7A8B9C";
}

std::string related_video(int n)
{
    const std::string id = "dmlkZW8" + std::to_string(100000 + n);
    return "<li class=\"video-list-item related-list-item\"><a href=\"/watch?v=" + id +
           "&amp;feature=related\" class=\"related-video yt-uix-contextlink yt-uix-sessionlink\" "
           "data-sessionlink=\"ei=CPjYnb6e5LMCFcSVIQodvx0AAA%3D%3D&amp;feature=related&amp;vid=" +
           id +
           "\"><span class=\"ux-thumb-wrap contains-addto \"><span class=\"video-thumb ux-thumb yt-thumb-default-120 "
           "\"><span class=\"yt-thumb-clip\"><span class=\"yt-thumb-clip-inner\"><img src=\"//s.ytimg.com/yts/img/"
           "pixel-vfl3z5WfW.gif\" alt=\"Thumbnail\" data-thumb=\"//i1.ytimg.com/vi/" +
           id +
           "/default.jpg\" width=\"120\"><span class=\"vertical-align\"></span></span></span></span><span "
           "class=\"video-time\">4:0" +
           std::to_string(n % 10) + "</span></span><span dir=\"ltr\" class=\"title\" title=\"Related clip &#8470; " +
           std::to_string(n) + " &amp; friends\">Related clip " + std::to_string(n) +
           " &amp; friends</span><span class=\"stat attribution\">by <span class=\"yt-user-name \" "
           "dir=\"ltr\">uploader" +
           std::to_string(n % 37) + "</span></span><span class=\"stat view-count\">" + std::to_string(1000 + n * 7) +
           " views</span></a></li>\n";
}

std::string make_page(std::size_t size)
{
    std::string page = R"(<!DOCTYPE html>
<html lang="en" dir="ltr"><head>
<title>Tom &amp; Jerry &#8211; &quot;The Chase&quot; - YouTube</title>
<meta name="description" content="Caf&eacute; scenes &amp; a long chase &#x2014; music &copy; 2012">
<meta property="og:title" content="Tom &amp; Jerry &#8211; &quot;The Chase&quot;">
<link itemprop="thumbnailUrl" href="http://i2.ytimg.com/vi/Qk9zX2d1Zw0/hqdefault.jpg">
</head><body><div id="watch7-sidebar"><ul id="watch-related" class="video-list">
)";
    std::string tail = "</ul></div>\n<script>yt.setConfig({'PLAYER_CONFIG': {\"args\": {\"length_seconds\": 213, "
                       "\"url_encoded_fmt_stream_map\": \"";
    const struct {
        int itag;
        const char* quality;
        const char* type;
    } streams[] = {
        {46, "hd1080", "video%2Fwebm%3B+codecs%3D%22vp8.0%2C+vorbis%22"},
        {37, "hd1080", "video%2Fmp4%3B+codecs%3D%22avc1.64001F%2C+mp4a.40.2%22"},
        {45, "hd720", "video%2Fwebm%3B+codecs%3D%22vp8.0%2C+vorbis%22"},
        {22, "hd720", "video%2Fmp4%3B+codecs%3D%22avc1.64001F%2C+mp4a.40.2%22"},
        {44, "large", "video%2Fwebm%3B+codecs%3D%22vp8.0%2C+vorbis%22"},
        {35, "large", "video%2Fx-flv"},
        {43, "medium", "video%2Fwebm%3B+codecs%3D%22vp8.0%2C+vorbis%22"},
        {34, "medium", "video%2Fx-flv"},
        {18, "medium", "video%2Fmp4%3B+codecs%3D%22avc1.42001E%2C+mp4a.40.2%22"},
        {5, "small", "video%2Fx-flv"},
        {36, "small", "video%2F3gpp%3B+codecs%3D%22mp4v.20.3%2C+mp4a.40.2%22"},
        {17, "small", "video%2F3gpp%3B+codecs%3D%22mp4v.20.3%2C+mp4a.40.2%22"},
    };
    for (const auto& s : streams) {
        if (s.itag != 46)
            tail += ',';
        tail += stream_entry(s.itag, s.quality, s.type);
    }
    tail += "\", \"video_id\": \"Qk9zX2d1Zw0\"}}});</script>\n</body></html>\n";

    for (int n = 0; page.size() + tail.size() < size; ++n)
        page += related_video(n);
    page += tail;
    return page;
}

const std::string& page()
{
    static const std::string p = make_page(1 << 20);
    return p;
}

void BM_ParseWatchPage(benchmark::State& state)
{
    for (auto _ : state) {
        youtube_parser parser(page());
        benchmark::DoNotOptimize(parser.parse());
        benchmark::DoNotOptimize(parser.urls.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * page().size()));
}
BENCHMARK(BM_ParseWatchPage);

// The four notice markers, searched over the whole page (none is there).
void BM_CheckForErrors(benchmark::State& state)
{
    for (auto _ : state) {
        youtube_parser parser(page());
        parser.check_for_errors();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * page().size()));
}
BENCHMARK(BM_CheckForErrors);

// Unescaping and splitting the twelve streams, with no page search.
void BM_StreamMap(benchmark::State& state)
{
    const std::size_t map = page().find("\"url_encoded_fmt_stream_map\": \"");
    for (auto _ : state) {
        youtube_parser parser(page());
        parser.parse_url_encoded_fmt_stream_map(map);
        benchmark::DoNotOptimize(parser.urls.data());
    }
}
BENCHMARK(BM_StreamMap);

// One absent marker over the page: the plain first-byte search of std::string
// against memmem.
constexpr std::string_view absent = R"(<div id="watch7-player-unavailable")";

void BM_FindAbsent_StdFind(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(page().find(absent.data(), 0, absent.size()));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * page().size()));
}
BENCHMARK(BM_FindAbsent_StdFind);

void BM_FindAbsent_Memmem(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(::memmem(page().data(), page().size(), absent.data(), absent.size()));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * page().size()));
}
BENCHMARK(BM_FindAbsent_Memmem);

// The decoder on text that a hostile page could put in a description: many "&"
// and a single ";" at the end. Stays linear.
void BM_DecodeManyAmpersands(benchmark::State& state)
{
    std::string text(static_cast<std::size_t>(state.range(0)), '&');
    text += ';';
    std::string buffer(text.size() + 1, '\0');
    for (auto _ : state)
        benchmark::DoNotOptimize(decode_html_entities_utf8(buffer.data(), text.c_str()));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_DecodeManyAmpersands)->Arg(1 << 16)->Arg(1 << 20);

} // namespace

BENCHMARK_MAIN();
