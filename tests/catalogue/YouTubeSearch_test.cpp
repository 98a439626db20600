#include "catalogue/YouTubeSearch.h"

#include "catalogue_server.h"
#include "log_capture.h"

#include <QCoreApplication>
#include <QThread>
#include <QTest>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
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

    explicit recorder(YouTubeSearch& search)
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
    recorder events{*search};
};

} // namespace

TEST_F(FeedSearch, ItemsReportInFeedOrderWhateverOrderTheirPicturesCome)
{
    // One picture not found, one that is no picture, one a JPEG; the last picture comes first.
    service.set_feed("cartoons", {{"5a", "First", "", "10"}, {"missing", "Second", "", "20"}, {"3jpeg", "Third", "", "30"},
                                  {"garbage", "Fourth", "", "40"}, {"2e", "Fifth", "", "50"}});
    using ms = catalogue_server::ms;
    service.hold_thumbnails(ms(0), {{"5a", ms(400)}, {"missing", ms(300)}, {"3jpeg", ms(200)}, {"garbage", ms(100)}});
    run("cartoons");

    const std::vector<std::pair<double, double>> expected{{0.5, 26.0}, {0.75, 26.0}, {1.0, 5.0}, {2.0, 5.0},
                                                          {3.0, 5.0},  {4.0, 5.0},   {5.0, 5.0}, {6.0, 5.0}};
    EXPECT_EQ(events.progress, expected);
    EXPECT_EQ(events.found, std::vector<qulonglong>{5});
    EXPECT_TRUE(events.errors.empty());
    EXPECT_TRUE(events.off_main_thread);
    std::vector<QString> titles;
    std::vector<int> widths; // 0: no picture
    for (const auto& video : search->videos()) {
        titles.push_back(video->title());
        widths.push_back(video->thumbnail() ? video->thumbnail()->width() : 0);
    }
    EXPECT_EQ(titles, (std::vector<QString>{"First", "Second", "Third", "Fourth", "Fifth"}));
    EXPECT_EQ(widths, (std::vector<int>{5, 0, 3, 0, 2}));
    EXPECT_EQ(search->videos()[2]->seconds(), 30);
    EXPECT_EQ(quiet.lines().count(" NSImage is null"), 2);
    EXPECT_TRUE(search->isDone());
}

TEST_F(FeedSearch, AtMostEightThumbnailsAtOnce)
{
    std::vector<feed_item> items;
    for (int i = 0; i < 20; ++i)
        items.push_back({"p" + std::to_string(i), "T", "", "1"});
    service.set_feed("many", items);
    // Held long enough that all that are asked for at once overlap.
    service.hold_thumbnails(catalogue_server::ms(300));
    run("many");
    EXPECT_EQ(service.peak_thumbnails(), 8u);
    EXPECT_EQ(events.found, std::vector<qulonglong>{20});
    ASSERT_EQ(search->videos().size(), 20);
    EXPECT_TRUE(search->videos().back()->thumbnail());
}

// (No connection at all: the search view's failure test.)
TEST_F(FeedSearch, NotFoundIsAnErrorAndNoFeedNoItems)
{
    service.set_feed_response("gone", {404, "<html>not here</html>"});
    run("gone");
    ASSERT_EQ(events.errors.size(), 1u);
    EXPECT_EQ(events.errors[0].domain, "YouTubeSearch::response");
    EXPECT_EQ(events.errors[0].code, 404);
    EXPECT_TRUE(events.found.empty());
    EXPECT_EQ(events.progress.back(), std::make_pair(0.75, 26.0));
    EXPECT_TRUE(search->isDone());

    service.set_feed_response("html", {200, "<html><body>maintenance</body></html>"});
    run("html");
    service.set_feed_response("text", {200, "not xml at all"});
    run("text");
    EXPECT_EQ(events.found, (std::vector<qulonglong>{0, 0}));
    EXPECT_EQ(events.errors.size(), 1u);
}

// A second search while the first one's pictures are on their way: nothing more
// of the first is reported, and none of its requests stays open. (A second search
// while the first one's feed is on its way: the search view's test.)
TEST_F(FeedSearch, NewerSearchCallsOffTheOldersThumbnails)
{
    std::vector<feed_item> held;
    for (int i = 0; i < 12; ++i)
        held.push_back({"stall" + std::to_string(i), "Held", "", "1"});
    service.set_feed("held", held);
    service.set_feed("next", {{"n1", "Next one", "", "1"}, {"n2", "Next two", "", "2"}});
    search->setSearchString("held");
    search->searchStart();
    ASSERT_TRUE(QTest::qWaitFor([&] { return service.count("/thumb/stall") >= 8; }, 10000));
    std::size_t before = 0;
    {
        std::lock_guard lock(events.mutex);
        before = events.progress.size();
    }

    run("next");
    // Closed by the client already; the server takes a moment to see it.
    EXPECT_TRUE(QTest::qWaitFor([&] { return service.open_connections() == 0; }, 10000));
    // Those still waiting their turn were never asked for.
    EXPECT_EQ(service.count("/thumb/stall"), 8u);
    const std::vector<std::pair<double, double>> next{{0.5, 26.0}, {0.75, 26.0}, {1.0, 2.0}, {2.0, 2.0}, {3.0, 2.0}};
    EXPECT_EQ(std::vector(events.progress.begin() + static_cast<std::ptrdiff_t>(before), events.progress.end()), next);
    EXPECT_EQ(events.found, std::vector<qulonglong>{2});
    ASSERT_EQ(search->videos().size(), 2);
    EXPECT_EQ(search->videos()[0]->title(), "Next one");
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
