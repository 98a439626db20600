// Download jobs in a temporary home against a loopback server; the media jobs run
// the real ffmpeg on clips made for the test.
#include "downloads/AudioDownloadItem.h"
#include "downloads/Settings.h"
#include "downloads/VideoDownloadItem.h"

#include "log_capture.h"
#include "media.h"
#include "route_server.h"
#include "test_home.h"

#include <QDir>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <mutex>

using State = DownloadItem::State;
using Jobs = std::vector<std::shared_ptr<DownloadItem>>;

class JobTest : public ::testing::Test {
protected:
    QString downloads() const { return home_.downloads(); }

    // Serves path -> body; anything else is a 404.
    std::shared_ptr<YouTubeUrl> serve(const std::string& path, const QByteArray& body, const std::string& type)
    {
        std::lock_guard lock(mutex_);
        routes_[path] = body.toStdString();
        return YouTubeUrl::init({server_.base() + path, "medium", type});
    }
    std::size_t requests(const std::string& path) const { return server_.count(path); }

    static std::shared_ptr<YouTubeVideo> video(const QString& title)
    {
        auto v = YouTubeVideo::initFromURL(QUrl("http://127.0.0.1/watch?v=x"), QUrl());
        v->setTitle(title);
        v->setSeconds(3);
        return v;
    }

    // Starts the jobs and turns the event loop until all have ended (or 60 s pass).
    static void run(const Jobs& jobs)
    {
        for (const auto& job : jobs)
            job->startDownload();
        waitFor([&] {
            return std::all_of(jobs.begin(), jobs.end(), [](const auto& j) {
                return j->state() == State::Done || j->state() == State::Failed || j->state() == State::Canceled;
            });
        });
    }

    static void waitFor(const std::function<bool()>& condition, int milliseconds = 60000)
    {
        for (int waited = 0; waited < milliseconds && !condition(); waited += 10) {
            QEventLoop loop;
            QTimer::singleShot(10, &loop, &QEventLoop::quit);
            loop.exec();
        }
    }

private:
    test_home home_;
    log_capture log_;
    std::mutex mutex_;
    std::map<std::string, std::string> routes_;
    route_server server_{[this](const route_server::request& r) -> route_server::response {
        std::lock_guard lock(mutex_);
        const auto it = routes_.find(r.target);
        return it == routes_.end() ? route_server::response{404, "no such stream"}
                                   : route_server::response{200, it->second};
    }};
};

TEST(Destination, StaysInsideTheFolderAndWithinLimits)
{
    const QString d = "/home/u/Downloads";
    QString deep; // the whole path is cut at 1000 characters
    for (int i = 0; i < 12; ++i)
        deep += QString(99, QChar('a' + i)) + "/";
    const QString accented(200, QChar(0xE9)); // 400 bytes of UTF-8
    const QString emoji = QString::fromUtf8("\xF0\x9F\x8E\xB5").repeated(100);
    const struct {
        QString title, expected;
    } cases[] = {
        {"../../etc/passwd", "_/_/etc/passwd"},
        {"a/./b//c/..", "a/_/b/_/c/_"},
        {"/", "_/_"},
        {"", "_"},
        {QString("before") + QChar(0) + "after", "before"},
        {deep, deep.left(1000 - d.size() - 1)},
        // A long name is cut between characters, with room for " (n)" and a suffix.
        {accented, QString(115, QChar(0xE9))},
        {emoji, emoji.left(2 * 57)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.title.left(30).toStdString());
        EXPECT_EQ(DownloadItem::destinationFor(d, c.title), d + "/" + c.expected);
    }
}

TEST_F(JobTest, StartsOnceAndCancelIsFinal)
{
    const auto job = DownloadItem::create(video("A title"), serve("/stream.mp4", QByteArray(200000, 's'), "video/mp4"));
    job->startDownload();
    job->startDownload();
    waitFor([&] { return job->state() == State::TransferDone; });
    EXPECT_EQ(requests("/stream.mp4"), 1u);
    EXPECT_EQ(QFile(job->tempfile()).size(), 200000);

    // Cancelled before its start or while it runs, it never starts again.
    const auto waiting = DownloadItem::create(video("Never started"), serve("/x.mp4", "x", "video/mp4"));
    const auto running =
        DownloadItem::create(video("Stopped"), serve("/big.mp4", QByteArray(1 << 20, 'b'), "video/mp4"));
    running->startDownload();
    for (const auto& stopped : {waiting, running}) {
        stopped->cancel();
        stopped->startDownload();
        EXPECT_EQ(stopped->state(), State::Canceled);
        EXPECT_FALSE(stopped->hasCancelButton());
        EXPECT_FALSE(stopped->progressValue());
    }
    waitFor([] { return false; }, 200);
    EXPECT_EQ(running->state(), State::Canceled);
    EXPECT_EQ(requests("/x.mp4"), 0u);
    EXPECT_LE(requests("/big.mp4"), 1u);
}

class MediaJobs : public JobTest {
protected:
    static void SetUpTestSuite()
    {
        clips = new QTemporaryDir;
        for (const char* suffix : {"webm", "mp4", "flv"})
            ASSERT_TRUE(media::make(clips->path() + "/clip." + suffix, 3)) << suffix;
    }
    static void TearDownTestSuite() { delete clips; }

    std::shared_ptr<YouTubeUrl> clip(const std::string& suffix)
    {
        const QByteArray bytes = media::contents(clips->path() + "/clip." + QString::fromStdString(suffix));
        return serve("/clip." + suffix, bytes, "video/" + (suffix == "flv" ? "x-flv" : suffix));
    }

    static inline QTemporaryDir* clips = nullptr;
};

// Jobs at once: one title twice beside the user's own file, and a title that
// would name something outside Downloads. (Names cut to length: the destination
// test; what a sound track holds: the command-line runs.)
TEST_F(MediaJobs, NamesAreNeverTakenTwiceAndStayInDownloads)
{
    QDir().mkpath(downloads());
    QFile own(downloads() + "/Same.mp3");
    ASSERT_TRUE(own.open(QIODevice::WriteOnly));
    own.write("the user's own file");
    own.close();
    Settings::setConvertVideos(false);
    const Jobs jobs{AudioDownloadItem::initWithBitrate(video("Same"), clip("webm"), 192),
                    AudioDownloadItem::initWithBitrate(video("Same"), clip("flv"), 192),
                    VideoDownloadItem::init(video("../escape"), clip("flv"))};
    run(jobs);
    QStringList saved;
    for (const auto& job : jobs) {
        ASSERT_EQ(job->state(), State::Done) << job->failureReason().toStdString();
        ASSERT_TRUE(QFile::exists(job->fileToPlay()));
        saved << job->fileToPlay().mid(downloads().size() + 1);
    }
    saved.sort();
    EXPECT_EQ(saved, QStringList({"Same (1).mp3", "Same (2).mp3", "_/escape.flv"}));
    EXPECT_EQ(media::contents(downloads() + "/Same.mp3"), "the user's own file");
}

TEST_F(MediaJobs, FailedOrCancelledJobsLeaveNothing)
{
    Settings::setConvertVideos(true);
    const auto garbage = AudioDownloadItem::initWithBitrate(
        video("Garbage"), serve("/garbage.webm", QByteArray(50000, 'g'), "video/webm"), 320);
    // Converting either kind, and copying (an MP4 stream is copied even when converting).
    const Jobs cancelled{AudioDownloadItem::initWithBitrate(video("Stopped audio"), clip("webm"), 320),
                         VideoDownloadItem::init(video("Stopped video"), clip("webm")),
                         VideoDownloadItem::init(video("Copy stopped"), clip("mp4"))};
    for (const auto& job : cancelled) {
        job->newDataEvent.set([](DownloadItem& j) {
            if (j.state() == State::Converting || j.state() == State::Copying)
                j.cancel();
        });
    }
    run({garbage, cancelled[0], cancelled[1], cancelled[2]});
    // Whatever the converters do after this, the jobs stay cancelled.
    waitFor([] { return false; }, 1500);
    EXPECT_EQ(garbage->state(), State::Failed);
    EXPECT_FALSE(garbage->failureReason().isEmpty());
    EXPECT_FALSE(garbage->hasPlayButton());
    EXPECT_FALSE(QFile::exists(garbage->tempfile()));
    for (const auto& job : cancelled) {
        EXPECT_EQ(job->state(), State::Canceled) << job->destinationfile().toStdString();
        EXPECT_FALSE(job->hasPlayButton());
    }
    const QStringList left = QDir(downloads()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    EXPECT_TRUE(left.isEmpty()) << left.join(", ").toStdString();
}
