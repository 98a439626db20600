#include "platform/ServiceEndpoints.h"

#include <gtest/gtest.h>

using platform::ServiceEndpoints;

TEST(ServiceEndpoints, OneBaseMovesAllThreeOptionBeatsEnvironmentBeatsDefault)
{
    const auto e = ServiceEndpoints::at(QUrl("http://127.0.0.1:8123/anything?x=1"));
    EXPECT_EQ(e.feed.toString(), "http://127.0.0.1:8123");
    EXPECT_EQ(e.domain, "127.0.0.1");
    EXPECT_EQ(e.parserService.toString(), "http://127.0.0.1:8123/cgi-bin/zor.parser");

    qunsetenv(ServiceEndpoints::environmentVariable);
    EXPECT_EQ(ServiceEndpoints::fromEnvironment({"melodrift"}).domain, "youtube.com");
    qputenv(ServiceEndpoints::environmentVariable, "http://127.0.0.2:9000");
    EXPECT_EQ(ServiceEndpoints::fromEnvironment({"melodrift"}).domain, "127.0.0.2");
    EXPECT_EQ(ServiceEndpoints::fromEnvironment({"melodrift", "--service", "http://127.0.0.3:1"}).domain, "127.0.0.3");
    EXPECT_EQ(ServiceEndpoints::fromEnvironment({"melodrift", "--service=http://127.0.0.4:2", "search"}).domain,
              "127.0.0.4");
    qunsetenv(ServiceEndpoints::environmentVariable);
}

TEST(ServiceEndpoints, WatchPagesAreOnTheDomainOrAHostEndingWithIt)
{
    const ServiceEndpoints elsewhere{QUrl("https://feeds.video.test"), "video.test", QUrl()};
    EXPECT_TRUE(elsewhere.isWatchPage(QUrl("https://video.test/watch?v=a")));
    EXPECT_TRUE(elsewhere.isWatchPage(QUrl("https://m.video.test/watch?v=a")));
    EXPECT_FALSE(elsewhere.isWatchPage(QUrl("https://video.test.example/watch?v=a")));
    EXPECT_FALSE(elsewhere.isWatchPage(QUrl("tom and jerry")));
}
