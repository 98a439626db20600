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

// (Quality labels: the video record's test of its streams. A type's quotes
// repaired: every download from the service, whose stream addresses carry them.)
TEST(YouTubeUrl, UnrepairableAddressLeavesNoAddressButTheStream)
{
    const auto broken = stream("small", "video/x-flv", "http://h/a b");
    EXPECT_TRUE(broken->url().isEmpty());
    EXPECT_EQ(broken->localizedType(), "Flash Video");
}
