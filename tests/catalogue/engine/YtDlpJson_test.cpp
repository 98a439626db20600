// yt-dlp's answers made into Melodrift's records: a search and one video of
// the real service's shape (tests/data/ytdlp, written after yt-dlp's
// documented fields), and what a service in the wrong hands could put in them.
#include "catalogue/YouTubeVideo.h"
#include "catalogue/engine/YtDlpJson.h"

#include "test_data.h"

#include <gtest/gtest.h>

using namespace engine::ytdlp;
using Media = Format::Media;

namespace {

ExtractedVideo video(const QByteArray& json)
{
    const auto reading = readVideo(json);
    EXPECT_TRUE(reading.value) << reading.error.toStdString();
    return reading.value.value_or(ExtractedVideo{});
}

const Format* withItag(const QList<Format>& formats, const char* itag)
{
    for (const Format& f : formats)
        if (f.url.query().contains(QStringLiteral("itag=%1&").arg(QLatin1String(itag))))
            return &f;
    return nullptr;
}

} // namespace

TEST(YtDlpVideo, FormatsBecomeStreamsAndTheBestAreChosen)
{
    const ExtractedVideo v = video(QByteArray::fromStdString(test_data("ytdlp/video.json")));
    EXPECT_EQ(v.title, "Harbour Lights at Night");
    EXPECT_EQ(v.description, "Boats, lights and water.\nFilmed from the pier.");
    EXPECT_EQ(v.seconds, 212);
    EXPECT_EQ(v.thumbnail, QUrl("https://i.ytimg.com/vi/SGFyYm91ckw/maxresdefault.jpg"));

    // The storyboard and the HLS playlist are no streams; the rest come best first.
    ASSERT_EQ(v.formats.size(), 9);
    EXPECT_EQ(v.formats.first().height, 2160);
    EXPECT_EQ(v.refusedSchemes, QStringList({"m3u8_native"}));
    const Format* both = withItag(v.formats, "18");
    ASSERT_TRUE(both);
    EXPECT_EQ(both->media, Media::PictureAndSound);
    EXPECT_EQ(both->quality, "medium");
    EXPECT_EQ(both->type, "video/mp4; codecs=\"avc1.42001E, mp4a.40.2\"");
    EXPECT_EQ(both->headers.size(), 4);
    EXPECT_TRUE(both->headers.contains({"User-Agent", "Mozilla/5.0 (X11; Linux x86_64)"}));
    const struct {
        const char* itag;
        Media media;
        const char* quality;
        const char* type;
    } separate[] = {
        {"137", Media::PictureOnly, "hd1080", "video/mp4; codecs=\"avc1.640028\""},
        {"136", Media::PictureOnly, "hd720", "video/mp4; codecs=\"avc1.4d401f\""},
        {"160", Media::PictureOnly, "small", "video/mp4; codecs=\"avc1.4d400c\""},
        {"313", Media::PictureOnly, "hd1080", "video/webm; codecs=\"vp9\""},
        {"140", Media::SoundOnly, "audio", "audio/mp4; codecs=\"mp4a.40.2\""},
        {"251", Media::SoundOnly, "audio", "audio/webm; codecs=\"opus\""},
    };
    for (const auto& s : separate) {
        const Format* f = withItag(v.formats, s.itag);
        ASSERT_TRUE(f) << s.itag;
        EXPECT_EQ(f->media, s.media) << s.itag;
        EXPECT_EQ(f->quality, s.quality) << s.itag;
        EXPECT_EQ(f->type, s.type) << s.itag;
    }

    // As records: the one stream with both is the best of the existing rule; the
    // picture alone is MP4 before a higher WebM, the sound M4A before a richer Opus;
    // 1080 above 360 makes a joined video the better one.
    YouTubeVideo::StreamList urls, apart;
    for (const Format& f : v.formats)
        (f.media == Media::PictureAndSound ? urls : apart).append(streamOf(f));
    const auto record = YouTubeVideo::initFromURL(QUrl("https://www.youtube.com/watch?v=SGFyYm91ckw"), QUrl());
    record->setUrls(urls);
    record->setSeparateUrls(apart);
    ASSERT_TRUE(record->UrlWithBestQuality());
    EXPECT_EQ(record->UrlWithBestQuality()->url(), both->url);
    EXPECT_EQ(record->UrlWithBestQuality()->httpHeaders(), both->headers);
    ASSERT_TRUE(record->UrlWithBestPicture() && record->UrlWithBestSound());
    EXPECT_EQ(record->UrlWithBestPicture()->url(), withItag(v.formats, "137")->url);
    EXPECT_EQ(record->UrlWithBestSound()->url(), withItag(v.formats, "140")->url);
    EXPECT_TRUE(record->isBetterJoined());

    // One choice a height, highest first: MP4 before WebM at 720, the stream with
    // both at 360, HDR and frame rate said, sizes added up where both are known.
    QStringList labels;
    for (const YouTubeVideo::Quality& q : record->qualities())
        labels << q.label() + (q.sound ? "+" : "") + (q.bytes ? "=" + QString::number(q.bytes) : "");
    EXPECT_EQ(labels, QStringList({"2160p60 HDR+", "1080p+=55828800", "720p+", "360p", "144p+"}));
    const auto upTo = [&](int height) { return record->qualityUpTo(height)->picture->url(); };
    EXPECT_EQ(upTo(0), withItag(v.formats, "313")->url);
    EXPECT_EQ(upTo(1440), withItag(v.formats, "137")->url);
    EXPECT_EQ(upTo(720), withItag(v.formats, "136")->url);
    EXPECT_EQ(upTo(480), both->url);
    EXPECT_EQ(upTo(100), withItag(v.formats, "160")->url); // nothing that low: the lowest
    EXPECT_EQ(record->qualityUpTo(1080)->sound->url(), withItag(v.formats, "140")->url);

    // What the files are titled with: the channel, the date, the largest picture
    // and the WebVTT subtitles, the uploader's before the automatic ones.
    EXPECT_EQ(v.about.channel, "Harbour Films");
    EXPECT_EQ(v.about.uploadDate, "2024-01-31");
    EXPECT_EQ(v.about.cover, QUrl("https://i.ytimg.com/vi_webp/SGFyYm91ckw/maxresdefault.webp"));
    record->setAbout(v.about);
    const auto subtitles = [&](const char* language, bool automatic) {
        const auto track = record->subtitlesIn(language, automatic);
        return track ? track->url.toString() : QString();
    };
    EXPECT_EQ(subtitles("en", false), "https://www.youtube.com/api/timedtext?v=SGFyYm91ckw&lang=en-GB&fmt=vtt");
    EXPECT_EQ(subtitles("en", true), subtitles("en", false));
    EXPECT_EQ(subtitles("de", false), "");
    EXPECT_EQ(subtitles("de", true), "https://www.youtube.com/api/timedtext?v=SGFyYm91ckw&lang=de&kind=asr&fmt=vtt");
    EXPECT_EQ(subtitles("e", true), "");
    EXPECT_EQ(v.about.subtitles.size(), 2); // no live chat, no automatic English without WebVTT

    record->setSeparateUrls({});
    EXPECT_FALSE(record->isBetterJoined());
}

TEST(YtDlpVideo, WhatAStrangerSendsIsCheckedOrRefused)
{
    const ExtractedVideo v = video(R"json({"title": "T (1)", "extractor": "html5", "duration": 1e300,
        "thumbnail": "file:///etc/passwd", "upload_date": "20241345",
        "channel": " \u001b[31mRed\u0007  Channel\u2028 ", "thumbnails": [{"url": "javascript:alert(1)", "width": 9000}],
        "subtitles": {"en": [{"ext": "vtt", "url": "file:///etc/passwd"}], "../x": [{"ext": "vtt", "url": "https://h/s.vtt"}],
                      "fr": [{"url": "https://h/t?fmt=vtt"}]},
        "formats": [
        {"url": "file:///etc/passwd", "ext": "mp4", "height": 720},
        {"url": "rtmpe://host/stream", "protocol": "rtmpe", "ext": "flv"},
        {"url": "https://h/a?itag=1&", "ext": "mp4\"x", "vcodec": "avc1\"; x=\"", "height": 999999,
         "http_headers": {"X-Fine": "yes", "Bad Name": "x", "X-Split": "a\r\nHost: elsewhere", "Range": "bytes=9-",
                          "Host": "elsewhere"}},
        {"url": "https://h/b?itag=2&", "ext": "flv", "res": 240}]})json");
    // html5's numbering of a lone video goes; a length past a week is none.
    EXPECT_EQ(v.title, "T");
    EXPECT_EQ(v.seconds, 0);
    EXPECT_FALSE(v.thumbnail);
    EXPECT_FALSE(v.about.cover);
    EXPECT_EQ(v.about.uploadDate, "");
    EXPECT_EQ(v.about.channel, "[31mRed Channel");
    // Only a web address of a language: a track whose kind yt-dlp could not tell, by its address.
    ASSERT_EQ(v.about.subtitles.size(), 1);
    EXPECT_EQ(v.about.subtitles[0].language, "fr");
    EXPECT_EQ(readVideo(R"({"title": "x", "url": "https://h/v.mp4", "channel": ")" + QByteArray(5000, 'c') + R"("})")
                  .value->about.channel.size(),
              longestChannel);
    EXPECT_EQ(v.refusedSchemes, QStringList({"file", "rtmpe"}));
    ASSERT_EQ(v.formats.size(), 2);
    const Format& odd = v.formats[1];
    // A stream with both is ranked no higher than hd720; odd codecs are left out of the type.
    EXPECT_EQ(odd.quality, "hd720");
    EXPECT_EQ(odd.type, "video/unknown");
    EXPECT_EQ(odd.headers, Headers({{"X-Fine", "yes"}}));
    // Unknown codecs and height: a stream with both, of the lowest rank.
    EXPECT_EQ(v.formats[0].type, "video/x-flv");
    EXPECT_EQ(v.formats[0].quality, "small");

    for (const QByteArray& broken : {QByteArray("null"), QByteArray("{\"title\": "), QByteArray("[1]"),
                                     QByteArray(largestAnswer + 1, ' ')})
        EXPECT_FALSE(readVideo(broken).value) << broken.left(20).toStdString();
    EXPECT_FALSE(readVideo(R"({"_type": "playlist", "entries": [{"title": "no formats"}]})").value);
}

TEST(YtDlpSearch, EntriesInOrderWithTheirLinksLengthsAndPictures)
{
    const auto reading = readSearch(QByteArray::fromStdString(test_data("ytdlp/search.json")));
    ASSERT_TRUE(reading.value) << reading.error.toStdString();
    const QList<FoundVideo>& found = *reading.value;
    ASSERT_EQ(found.size(), 3); // the channel has no address
    EXPECT_EQ(found[0].title, "Harbour Lights at Night");
    EXPECT_EQ(found[0].description, "");
    EXPECT_EQ(found[0].seconds, 40);
    EXPECT_EQ(found[0].link, QUrl("https://www.youtube.com/watch?v=SGFyYm91ckw"));
    // The smallest picture that fills a row; else the largest there is.
    EXPECT_EQ(found[0].thumbnail->path(), "/vi/SGFyYm91ckw/hq720.jpg");
    EXPECT_TRUE(found[0].thumbnail->query().startsWith("sqp=-oaymwEXCOgC"));
    EXPECT_EQ(found[1].title, QString::fromUtf8("Café Crème – \"short\" & sweet"));
    EXPECT_EQ(found[1].seconds, 60);
    EXPECT_EQ(found[1].thumbnail->path(), "/vi/shorts00001/frame0.jpg");
    // A feed's entry: yt-dlp's note in the fragment goes.
    EXPECT_EQ(found[2].link, QUrl("http://127.0.0.1:8080/watch?v=UXVvdGVkQmE&feature=youtube_gdata"));
    EXPECT_EQ(found[2].thumbnail, QUrl("http://127.0.0.1:8080/vi/UXVvdGVkQmE/default.jpg"));

    QByteArray many = "{\"entries\": [";
    for (int i = 0; i < 150; ++i)
        many += QByteArray(i ? "," : "") + "{\"url\": \"https://h/watch?v=" + QByteArray::number(i) + "\"}";
    EXPECT_EQ(readSearch(many + "]}").value->size(), mostVideos);
    EXPECT_FALSE(readSearch("<rss/>").value);
}

TEST(YtDlpText, ReasonsQualitiesAndTypes)
{
    EXPECT_EQ(reasonIn("WARNING: [generic] Falling back\nERROR: Unsupported URL: http://h/watch?v=x\n"),
              "Unsupported URL: http://h/watch?v=x");
    EXPECT_EQ(reasonIn("ERROR: [generic] None: Unable to download webpage: HTTP Error 404: Not Found; please report "
                       "this issue on  https://github.com/yt-dlp/yt-dlp/issues?q= , filling out\n"),
              "[generic] None: Unable to download webpage: HTTP Error 404: Not Found");
    EXPECT_EQ(reasonIn("Traceback (most recent call last):\n  ...\nKeyError: 'x\x1b[2J'\n"),
              QString::fromUtf8("KeyError: 'x\uFFFD[2J'"));
    EXPECT_EQ(reasonIn(""), "");

    // The sample video has every rank but this one, and no 3GP.
    EXPECT_EQ(qualityForHeight(480), "large");
    EXPECT_EQ(mimeType("3gp", "mp4v.20.3", "mp4a.40.2", Media::PictureAndSound),
              "video/3gpp; codecs=\"mp4v.20.3, mp4a.40.2\"");
    EXPECT_EQ(mimeType("webm", "", "vorbis", Media::PictureAndSound), "video/webm");
}
