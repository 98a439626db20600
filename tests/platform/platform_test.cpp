// Where the services are, which language the texts are in, and the queue the
// catalogue's searches run on.
#include "platform/Localization.h"
#include "platform/SerialQueue.h"
#include "platform/ServiceEndpoints.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

using platform::Localization;
using platform::ServiceEndpoints;

TEST(ServiceEndpoints, OptionBeatsEnvironmentBeatsDefault)
{
    // (Feed and parser service at one base: every run against the service.)
    qunsetenv(ServiceEndpoints::environmentVariable);
    EXPECT_EQ(ServiceEndpoints::fromEnvironment(QString()).domain, "youtube.com");
    qputenv(ServiceEndpoints::environmentVariable, "http://127.0.0.2:9000");
    EXPECT_EQ(ServiceEndpoints::fromEnvironment(QString()).domain, "127.0.0.2");
    EXPECT_EQ(ServiceEndpoints::fromEnvironment("http://127.0.0.3:1").domain, "127.0.0.3");
    qunsetenv(ServiceEndpoints::environmentVariable);
}

TEST(ServiceEndpoints, WatchPagesAreOnTheDomainOrAHostEndingWithIt)
{
    const ServiceEndpoints elsewhere{QUrl("https://feeds.video.test"), "video.test", QUrl()};
    EXPECT_TRUE(elsewhere.isWatchPage(QUrl("https://video.test/watch?v=a")));
    EXPECT_TRUE(elsewhere.isWatchPage(QUrl("https://m.video.test/watch?v=a")));
    EXPECT_FALSE(elsewhere.isWatchPage(QUrl("https://video.test.example/watch?v=a")));
    EXPECT_FALSE(elsewhere.isWatchPage(QUrl("https://evilvideo.test/watch?v=a")));
    EXPECT_FALSE(elsewhere.isWatchPage(QUrl("tom and jerry")));
}

TEST(Localization, TablesFollowTheLanguageUnknownKeysGiveNothing)
{
    ASSERT_TRUE(Localization::install(QLocale(QLocale::German)));
    EXPECT_EQ(Localization::string("quality.large"), QString::fromUtf8("Gro\u00df"));
    ASSERT_TRUE(Localization::install(QLocale(QLocale::English)));
    EXPECT_EQ(Localization::string("quality.large"), "Large");
    EXPECT_EQ(Localization::string("no.such.key"), "");
}

// (Order and the thread of its own: the catalogue's search tests, under TSan too.)
TEST(SerialQueue, MayBeDestroyedByItsOwnTask)
{
    auto* queue = new platform::SerialQueue;
    std::promise<void> gate, destroyed;
    std::atomic<bool> laterRan{false};
    // All three are queued before the first runs.
    queue->post([opened = gate.get_future().share()] { opened.wait(); });
    queue->post([queue, &destroyed] {
        delete queue;
        destroyed.set_value();
    });
    queue->post([&laterRan] { laterRan = true; });
    gate.set_value();
    destroyed.get_future().wait();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(laterRan);
}
