#include "catalogue/YouTubeUrl.h"

#include <gtest/gtest.h>

namespace {

std::shared_ptr<YouTubeUrl> stream(const std::string& quality, const std::string& type,
                                   const std::string& url = "http://h/videoplayback?itag=18&")
{
    return YouTubeUrl::init({url, quality, type});
}

} // namespace

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
        {"video/x-flv", "Flash Video", "flv", false},
        {"video/3gpp; codecs=\"mp4v.20.3\"", "3gp", "3gp", false},
        {"audio/mp4", "audio/mp4", "mp4", false},
        {"", "", "mp4", false},
        {"VIDEO/MP4", "VIDEO/MP4", "mp4", false},
    };
    for (const auto& c : cases) {
        const auto u = stream("medium", c.type);
        EXPECT_EQ(u->localizedType(), QString::fromUtf8(c.label)) << c.type;
        EXPECT_EQ(YouTubeUrl::getVideoSuffix(QString::fromUtf8(c.type)), QString::fromUtf8(c.suffix)) << c.type;
        EXPECT_EQ(u->isMP4(), c.mp4) << c.type;
    }
}

TEST(YouTubeUrl, QualityLabelsComeFromTheTextsExceptHd720)
{
    const std::pair<const char*, const char*> cases[] = {{"small", "Small"}, {"medium", "Medium"},
                                                         {"large", "Large"}, {"hd720", "hd720"},
                                                         {"SMALL", "SMALL"}, {"hd1080", "hd1080"}};
    for (const auto& [quality, label] : cases)
        EXPECT_EQ(stream(quality, "video/mp4")->localizedQuality(), label) << quality;
}

TEST(YouTubeUrl, QuotesInTheAddressAreRepaired)
{
    const auto u = stream("medium", "video/mp4",
                          "http://h/videoplayback?itag=18&type=video/mp4;+codecs=\"avc1.42001E,+mp4a.40.2\"&");
    ASSERT_TRUE(u->url().isValid());
    EXPECT_EQ(u->url().toString(QUrl::FullyEncoded),
              "http://h/videoplayback?itag=18&type=video/mp4;+codecs=%22avc1.42001E,+mp4a.40.2%22&");

    // Unrepairable text leaves no address, and the stream is kept all the same.
    const auto broken = stream("small", "video/x-flv", "http://h/a b");
    EXPECT_TRUE(broken->url().isEmpty());
    EXPECT_EQ(broken->localizedType(), "Flash Video");
}
