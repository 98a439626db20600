#include "downloads/AudioDownloadItem.h"
#include "downloads/Settings.h"
#include "downloads/VideoDownloadItem.h"

#include "job_fixture.h"
#include "media.h"

#include <algorithm>

using State = DownloadItem::State;

namespace {

std::string read_file(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string();
}

} // namespace

class MediaJobs : public JobTest {
protected:
    static void SetUpTestSuite()
    {
        clips = new QTemporaryDir;
        for (const char* suffix : {"webm", "mp4", "flv"})
            ASSERT_TRUE(media::make(clips->path() + "/clip." + suffix, 3)) << suffix;
    }
    static void TearDownTestSuite() { delete clips; }

    // Serves the clip of that suffix under /clip.<suffix>.
    std::shared_ptr<YouTubeUrl> clip(const char* suffix, const std::string& type)
    {
        const std::string path = std::string("/clip.") + suffix;
        serve(path, read_file(clips->path() + "/clip." + suffix));
        return stream(path, type);
    }

    static QTemporaryDir* clips;
};

QTemporaryDir* MediaJobs::clips = nullptr;

TEST_F(MediaJobs, TwoJobsWithOneTitleAtOnceSkipTheUsersFile)
{
    QDir().mkpath(downloads());
    QFile own(downloads() + "/Same.mp3");
    ASSERT_TRUE(own.open(QIODevice::WriteOnly));
    own.write("the user's own file");
    own.close();
    const auto a = AudioDownloadItem::initWithBitrate(video("Same"), clip("webm", "video/webm"), 192);
    const auto b = AudioDownloadItem::initWithBitrate(video("Same"), clip("flv", "video/x-flv"), 192);
    a->startDownload();
    b->startDownload();
    waitFor([&] { return isFinal(a->state()) && isFinal(b->state()); });
    ASSERT_EQ(a->state(), State::Done) << a->failureReason().toStdString();
    ASSERT_EQ(b->state(), State::Done) << b->failureReason().toStdString();
    EXPECT_NE(a->fileToPlay(), b->fileToPlay());
    EXPECT_EQ(files(downloads()), QStringList({"Same (1).mp3", "Same (2).mp3", "Same.mp3"}));
    EXPECT_EQ(read_file(downloads() + "/Same.mp3"), "the user's own file");
    for (const auto& job : {a, b})
        EXPECT_EQ(media::probe(job->fileToPlay(), "stream=codec_name"), "mp3");
}

TEST_F(MediaJobs, HostileTitlesStayInDownloads)
{
    Settings::setConvertVideos(false);
    for (const char* title : {"../escape", "/", "a/b", "..", ""}) {
        const auto job = VideoDownloadItem::init(video(title), clip("flv", "video/x-flv"));
        runUntilEnd(job);
        ASSERT_EQ(job->state(), State::Done) << title << ": " << job->failureReason().toStdString();
        EXPECT_TRUE(job->fileToPlay().startsWith(downloads() + "/")) << job->fileToPlay().toStdString();
        EXPECT_FALSE(job->fileToPlay().contains("/../")) << job->fileToPlay().toStdString();
        EXPECT_TRUE(QFile::exists(job->fileToPlay()));
    }
    EXPECT_TRUE(QFile::exists(downloads() + "/_/escape.flv"));
    EXPECT_TRUE(QFile::exists(downloads() + "/a/b.flv"));
    EXPECT_TRUE(QFile::exists(downloads() + "/_/_.flv"));
    const QString long_title(300, 'L');
    const auto job = VideoDownloadItem::init(video(long_title), clip("flv", "video/x-flv"));
    runUntilEnd(job);
    ASSERT_EQ(job->state(), State::Done) << job->failureReason().toStdString();
    EXPECT_LE(QFileInfo(job->fileToPlay()).fileName().toUtf8().size(), 255);
    Settings::setConvertVideos(true);
}

TEST_F(MediaJobs, MediaTheConverterCannotReadFails)
{
    serve("/garbage.webm", std::string(50000, 'g'));
    const auto job = AudioDownloadItem::initWithBitrate(video("Garbage"), stream("/garbage.webm", "video/webm"), 320);
    runUntilEnd(job);
    EXPECT_EQ(job->state(), State::Failed);
    EXPECT_FALSE(job->failureReason().isEmpty());
    EXPECT_FALSE(job->hasPlayButton());
    EXPECT_TRUE(files(downloads()).isEmpty()) << files(downloads()).join(", ").toStdString();
    EXPECT_FALSE(QFile::exists(job->tempfile()));
}

TEST_F(MediaJobs, CancelWhileConvertingOrCopyingLeavesNothing)
{
    Settings::setConvertVideos(true);
    // An MP4 stream is copied even when converting.
    const std::vector<std::shared_ptr<DownloadItem>> jobs{
        AudioDownloadItem::initWithBitrate(video("Stopped audio"), clip("webm", "video/webm"), 320),
        VideoDownloadItem::init(video("Stopped video"), clip("webm", "video/webm")),
        VideoDownloadItem::init(video("Copy stopped"), clip("mp4", "video/mp4"))};
    for (const auto& job : jobs) {
        job->newDataEvent.set([](DownloadItem& j) {
            if (j.state() == State::Converting || j.state() == State::Copying)
                j.cancel();
        });
        job->startDownload();
    }
    waitFor([&] { return std::all_of(jobs.begin(), jobs.end(), [](const auto& j) { return isFinal(j->state()); }); });
    // Whatever the converters do after this, the jobs stay cancelled.
    waitFor([] { return false; }, 1500);
    for (const auto& job : jobs) {
        EXPECT_EQ(job->state(), State::Canceled) << job->destinationfile().toStdString();
        EXPECT_FALSE(job->hasPlayButton());
    }
    EXPECT_TRUE(files(downloads()).isEmpty()) << files(downloads()).join(", ").toStdString();
}
