#include "catalogue/YouTubeVideo.h"

#include "catalogue/xml/TBXML.h"
#include "catalogue_server.h"
#include "core/youtube_error.h"
#include "log_capture.h"
#include "test_data.h"

#include <QUrlQuery>
#include <gtest/gtest.h>

#include <thread>

namespace {

std::shared_ptr<YouTubeUrl> stream(const std::string& quality, const std::string& type)
{
    return YouTubeUrl::init({"http://h/" + quality, quality, type});
}

} // namespace

// The stream a download takes. (The lowest stream and a stream by its label are
// asked for by no part of the program.)
TEST(StreamChoice, BestIsTheLastMp4OfTheBestRank)
{
    // Index into the streams; -1: none.
    const struct {
        std::vector<std::pair<const char*, const char*>> streams;
        int best;
    } cases[] = {
        {{{"medium", "video/webm"}, {"medium", "video/mp4"}, {"large", "video/x-flv"}, {"large", "video/mp4"},
          {"large", "video/mp4; codecs=\"avc1\""}},
         4},
        // Without an MP4 among the best, the first of them; "mp4" anywhere in the type counts.
        {{{"medium", "video/mp4"}, {"hd720", "video/webm"}, {"hd720", "video/x-flv"}}, 1},
        // Unknown qualities rank below small, and alone are no choice at all.
        {{{"small", "video/webm"}, {"hd1080", "video/mp4"}}, 0},
        {{{"HD720", "video/webm"}, {"", "video/x-flv"}}, -1},
        {{{"HD720", "video/webm"}, {"hd1080", "x-video/mp4"}}, 1},
        {{}, -1},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        YouTubeVideo::StreamList streams;
        for (const auto& [quality, type] : cases[i].streams)
            streams.append(stream(quality, type));
        const auto video = YouTubeVideo::initFromURL(QUrl("http://h/watch?v=x"), QUrl());
        video->setUrls(streams);
        EXPECT_EQ(video->UrlWithBestQuality(), cases[i].best < 0 ? nullptr : streams[cases[i].best]);
    }
}

TEST(YouTubeUrl, TypeLabelsAndSuffixesByPrefix)
{
    struct {
        const char* type;
        const char* label;
        const char* suffix;
        bool mp4;
    } const cases[] = {
        {"video/webm; codecs=\"vp8.0, vorbis\"", "WebM", "webm", false},
        {"video/mp4;+codecs=\"avc1.42001E,+mp4a.40.2\"", "MP4", "mp4", true},
        {"video/3gpp; codecs=\"mp4v.20.3\"", "3gp", "3gp", false},
        {"audio/mp4", "audio/mp4", "mp4", false},
        {"", "", "mp4", false},
        {"VIDEO/MP4", "VIDEO/MP4", "mp4", false},
        {"video/x-flv", "Flash Video", "flv", false},
    };
    for (const auto& c : cases) {
        const auto u = stream("medium", c.type);
        EXPECT_EQ(u->localizedType(), QString::fromUtf8(c.label)) << c.type;
        EXPECT_EQ(YouTubeUrl::getVideoSuffix(QString::fromUtf8(c.type)), QString::fromUtf8(c.suffix)) << c.type;
        EXPECT_EQ(u->isMP4(), c.mp4) << c.type;
    }
    // An address that cannot be repaired leaves none, but the stream stays. (Quality
    // labels: the video record's test of its streams. A type's quotes repaired: every
    // download from the service, whose stream addresses carry them.)
    const auto broken = YouTubeUrl::init({"http://h/a b", "small", "video/x-flv"});
    EXPECT_TRUE(broken->url().isEmpty() && broken->localizedType() == "Flash Video");
}

class VideoRecord : public ::testing::Test {
protected:
    catalogue_server service;
    log_capture log;
    const QUrl parser = QUrl(QString::fromStdString(service.base() + "/cgi-bin/zor.parser"));

    std::shared_ptr<YouTubeVideo> from_feed(const feed_item& item)
    {
        const TBXML document(QString::fromStdString(service.feed({item})));
        const TBXMLElement* channel = document.rootXMLElement()->firstChild;
        return YouTubeVideo::initFromXML(TBXML::childElementNamed("item", channel), parser);
    }
};

// (Titles decoded and links read off a feed: the search view's rows and the
// command-line search, against the service.)
TEST_F(VideoRecord, FeedItemFields)
{
    EXPECT_EQ(from_feed({"missing", "T", "", "n/a"})->seconds(), 0);
    // An item that lacks everything but a title leaves the rest empty.
    const TBXML bare(QStringLiteral("<rss><channel><item><title>Only</title></item></channel></rss>"));
    const auto only =
        YouTubeVideo::initFromXML(TBXML::childElementNamed("item", bare.rootXMLElement()->firstChild), parser);
    EXPECT_EQ(only->title(), "Only");
    EXPECT_TRUE(only->link().isEmpty());
    EXPECT_FALSE(only->thumbnail());
}

TEST_F(VideoRecord, StreamsAreExtractedOnceThroughTheLocalFallback)
{
    std::string page = test_data("watch/streams.html");
    const std::string remote = "http://i2.ytimg.com/vi/Qk9zX2d1Zw0/hqdefault.jpg";
    service.set_page("x", page.replace(page.find(remote), remote.size(), service.thumbnail_url("page")));
    const auto video = YouTubeVideo::initFromURL(QUrl(QString::fromStdString(service.watch_url("x"))), parser);

    // Two readings at once (a download button pressed twice) fetch the page once.
    std::thread other([&] { video->parseUrls(); });
    video->parseUrls();
    other.join();
    EXPECT_EQ(service.count("/watch"), 1u);
    EXPECT_EQ(service.count("/cgi-bin/zor.parser"), 1u);
    QStringList streams;
    for (const auto& u : video->Urls())
        streams << QUrlQuery(u->url()).queryItemValue("itag") + " " + u->quality() + " " + u->url().path();
    EXPECT_EQ(streams, QStringList({"45 hd720 /videoplayback", "22 hd720 /videoplayback", "43 medium /videoplayback",
                                    "18 medium /videoplayback", "5 small /videoplayback"}));
    EXPECT_EQ(video->Urls()[1]->type(), "video/mp4;+codecs=\"avc1.64001F,+mp4a.40.2\"");
    EXPECT_EQ(video->title(), QString::fromUtf8("Tom & Jerry \u2013 \"The Chase\""));
    EXPECT_EQ(video->description(),
              QString::fromUtf8("Caf\u00e9 scenes & a long chase \u2014 music \u00a9 2012 by \"The Band\". Enjoy!"));
    EXPECT_EQ(video->seconds(), 213);
    EXPECT_EQ(video->localizedQualitys(), QStringList({"hd720", "Medium", "Small"}));
    EXPECT_EQ(video->SortedUrls().value("hd720").size(), 2);
    EXPECT_EQ(video->SortedUrls().value("Medium").first(), video->Urls()[2]);
    ASSERT_TRUE(video->thumbnail());
    EXPECT_EQ(video->thumbnail()->size(), QSize(4, 3));
    EXPECT_EQ(video->UrlWithBestQuality(), video->Urls()[1]);
}

TEST_F(VideoRecord, ServiceFieldsReplaceTheFeedsOnlyWithStreams)
{
    parser_result served;
    served.title = std::string("Served title\0\0", 14);
    served.description = "Served text";
    served.length_seconds = 7;
    served.thumbnail = service.thumbnail_url("missing");
    service.set_page("abc", "<html>a page</html>");
    for (const bool with_streams : {false, true}) {
        SCOPED_TRACE(with_streams);
        if (with_streams)
            served.urls.push_back({"http://h/v?itag=22&type=video/mp4;+codecs=\"avc1\"&", "hd720", "video/mp4"});
        service.set_parser_reply("DONE: " + save_parser_result(served));
        const auto video = from_feed({"abc", "Feed title", "Feed text", "42"});
        ASSERT_TRUE(video->thumbnail());
        video->parseUrls();
        ASSERT_EQ(video->Urls().size(), with_streams ? 1 : 0);
        EXPECT_EQ(video->title(), with_streams ? "Served title" : "Feed title");
        EXPECT_EQ(video->description(), with_streams ? "Served text" : "Feed text");
        EXPECT_EQ(video->seconds(), with_streams ? 7 : 42);
        const auto requests = service.requests();
        const auto posted = std::ranges::find(requests, "/cgi-bin/zor.parser", &route_server::request::target);
        ASSERT_NE(posted, requests.end());
        EXPECT_EQ(posted->method + " " + posted->body, "POST <html>a page</html>");
        // The service's picture replaces the feed's, even when it cannot be had.
        if (with_streams) {
            EXPECT_FALSE(video->thumbnail());
        }
    }
}

// (A notice through the error callback: the preview and search views' alert tests.)
TEST_F(VideoRecord, UnreadablePageIsAYoutubeError)
{
    service.set_parser_reply("garbage");
    service.set_page("bad", R"("url_encoded_fmt_stream_map": "url=http%3A%2F%2Fh%2Fa\u0026type=video%2Fmp4")");
    const auto video = YouTubeVideo::initFromURL(QUrl(QString::fromStdString(service.watch_url("bad"))), parser);
    try {
        video->parseUrls();
        FAIL() << "no youtube_error";
    } catch (const youtube_error& e) {
        EXPECT_STREQ(e.what(), "The video page could not be read (map::at:  key not found).");
    }
}
