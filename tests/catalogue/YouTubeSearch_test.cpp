#include "catalogue/YouTubeSearch.h"

#include "catalogue_server.h"
#include "loopback.h"
#include "log_capture.h"

#include <QCoreApplication>
#include <QThread>
#include <gtest/gtest.h>

#include <mutex>
#include <utility>
#include <vector>

namespace {

// Everything a search reports, in order.
struct recorder {
    std::mutex mutex;
    std::vector<std::pair<double, double>> progress; // (offset, count) at each update
    std::vector<qulonglong> found;
    std::vector<platform::Error> errors;
    bool off_main_thread = true;

    void listen(YouTubeSearch& search)
    {
        search.updateEvent.set([this](YouTubeSearch& s) {
            std::lock_guard lock(mutex);
            progress.emplace_back(s.downloadOffset(), s.downloadCount());
        });
        search.newVideosEvent.set([this](YouTubeSearch&, qulonglong n) {
            std::lock_guard lock(mutex);
            found.push_back(n);
            off_main_thread = off_main_thread && QThread::currentThread() != QCoreApplication::instance()->thread();
        });
        search.errorEvent.set([this](YouTubeSearch&, const platform::Error& e) {
            std::lock_guard lock(mutex);
            errors.push_back(e);
        });
    }
};

class FeedSearch : public ::testing::Test {
protected:
    FeedSearch() { events.listen(*search); }

    void run(const QString& words)
    {
        search->setSearchString(words);
        search->searchStart();
        search->waitForFinish();
    }

    log_capture quiet;
    catalogue_server service;
    std::shared_ptr<YouTubeSearch> search =
        YouTubeSearch::create(platform::ServiceEndpoints::at(QUrl(QString::fromStdString(service.base()))));
    recorder events;
};

} // namespace

TEST_F(FeedSearch, ThreeItemsReportProgressThenResults)
{
    service.set_feed("cartoons", {{"a", "First", "", "10"}, {"b", "Second", "", "20"}, {"c", "Third", "", "30"}});
    run("cartoons");

    const std::vector<std::pair<double, double>> expected{{0.5, 26.0}, {0.75, 26.0}, {1.0, 3.0},
                                                          {2.0, 3.0},  {3.0, 3.0},   {4.0, 3.0}};
    EXPECT_EQ(events.progress, expected);
    EXPECT_EQ(events.found, std::vector<qulonglong>{3});
    EXPECT_TRUE(events.errors.empty());
    EXPECT_TRUE(events.off_main_thread);
    ASSERT_EQ(search->videos().size(), 3);
    EXPECT_EQ(search->videos()[0]->title(), "First");
    EXPECT_EQ(search->videos()[2]->seconds(), 30);
    EXPECT_FALSE(search->videos()[1]->thumbnail().isNull());
    EXPECT_TRUE(search->isDone());
}

TEST_F(FeedSearch, NotFoundIsOneErrorAndNoResults)
{
    service.set_feed_response("gone", {404, "<html>not here</html>", {}, {}});
    run("gone");
    ASSERT_EQ(events.errors.size(), 1u);
    EXPECT_EQ(events.errors[0].domain, "YouTubeSearch::response");
    EXPECT_EQ(events.errors[0].code, 404);
    EXPECT_TRUE(events.found.empty());
    EXPECT_EQ(events.progress.back(), std::make_pair(0.75, 26.0));
    EXPECT_TRUE(search->isDone());
}

TEST_F(FeedSearch, NoConnectionIsAnError)
{
    auto unreachable = YouTubeSearch::create(platform::ServiceEndpoints::at(
        QUrl(QStringLiteral("http://127.0.0.1:%1").arg(loopback::closed_port()))));
    events.listen(*unreachable);
    unreachable->setSearchString("x");
    unreachable->searchStart();
    unreachable->waitForFinish();
    ASSERT_EQ(events.errors.size(), 1u);
    EXPECT_NE(events.errors[0].domain, "YouTubeSearch::response");
    EXPECT_FALSE(events.errors[0].description.isEmpty());
    EXPECT_TRUE(events.found.empty());
}

TEST_F(FeedSearch, BodyThatIsNoFeedHasNoItems)
{
    service.set_feed_response("html", {200, "<html><body>maintenance</body></html>", {}, {}});
    run("html");
    EXPECT_EQ(events.found, std::vector<qulonglong>{0});
    service.set_feed_response("text", {200, "not xml at all", {}, {}});
    run("text");
    EXPECT_EQ(events.found, (std::vector<qulonglong>{0, 0}));
    EXPECT_TRUE(events.errors.empty());
}

TEST_F(FeedSearch, OnlyTheLatestOfTwoQuickSearchesReports)
{
    service.set_feed("slow", {{"s", "Slow", "", "1"}}, std::chrono::milliseconds(300));
    service.set_feed("fast", {{"f1", "Fast one", "", "1"}, {"f2", "Fast two", "", "2"}});
    search->setSearchString("slow");
    search->searchStart();
    search->setSearchString("fast");
    search->searchStart();
    search->waitForFinish();

    EXPECT_EQ(events.found, std::vector<qulonglong>{2});
    ASSERT_EQ(search->videos().size(), 2);
    EXPECT_EQ(search->videos()[0]->title(), "Fast one");
    EXPECT_EQ(service.count("/feeds/api/videos"), 2u);
}

TEST_F(FeedSearch, WordsOnTheWire)
{
    run(QString::fromUtf8("Beyonc\u00e9 live"));
    run("rock 'n' roll \"live\" 100%");
    const auto requests = service.requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].target, "/feeds/api/videos?alt=rss&q=Beyonc%C3%A9%20live");
    EXPECT_EQ(requests[1].target, "/feeds/api/videos?alt=rss&q=rock%20'n'%20roll%20%22live%22%20100%25");
}
