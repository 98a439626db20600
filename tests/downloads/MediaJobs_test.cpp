#include "downloads/AudioDownloadItem.h"
#include "downloads/FFmpeg.h"
#include "downloads/Settings.h"
#include "downloads/VideoDownloadItem.h"

#include "job_fixture.h"
#include "media.h"

#include <QCryptographicHash>

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

TEST_F(MediaJobs, TakenNamesAreSkippedAndKept)
{
    QDir().mkpath(downloads());
    for (const char* taken : {"/T.mp3", "/T (1).mp3"}) {
        QFile file(downloads() + taken);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("the user's own file");
    }
    const auto job = AudioDownloadItem::initWithBitrate(video("T"), clip("mp4", "video/mp4"), 128);
    runUntilEnd(job);
    ASSERT_EQ(job->state(), State::Done) << job->failureReason().toStdString();
    EXPECT_EQ(job->fileToPlay(), downloads() + "/T (2).mp3");
    EXPECT_EQ(read_file(downloads() + "/T.mp3"), "the user's own file");
    EXPECT_EQ(read_file(downloads() + "/T (1).mp3"), "the user's own file");
}

TEST_F(MediaJobs, TwoJobsWithOneTitleAtOnce)
{
    const auto a = AudioDownloadItem::initWithBitrate(video("Same"), clip("webm", "video/webm"), 192);
    const auto b = AudioDownloadItem::initWithBitrate(video("Same"), clip("flv", "video/x-flv"), 192);
    a->startDownload();
    b->startDownload();
    waitFor([&] { return isFinal(a->state()) && isFinal(b->state()); });
    ASSERT_EQ(a->state(), State::Done) << a->failureReason().toStdString();
    ASSERT_EQ(b->state(), State::Done) << b->failureReason().toStdString();
    EXPECT_EQ(QStringList({a->fileToPlay(), b->fileToPlay()}).size(), 2);
    EXPECT_NE(a->fileToPlay(), b->fileToPlay());
    EXPECT_EQ(files(downloads()), QStringList({"Same (1).mp3", "Same.mp3"}));
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

TEST_F(MediaJobs, CancelWhileConvertingStopsTheConverter)
{
    Settings::setConvertVideos(true);
    const auto audio = AudioDownloadItem::initWithBitrate(video("Stopped audio"), clip("webm", "video/webm"), 320);
    const auto video_job = VideoDownloadItem::init(video("Stopped video"), clip("webm", "video/webm"));
    for (const std::shared_ptr<DownloadItem>& job : std::vector<std::shared_ptr<DownloadItem>>{audio, video_job}) {
        job->newDataEvent.set([](DownloadItem& j) {
            if (j.state() == State::Converting)
                j.cancel();
        });
        job->startDownload();
    }
    waitFor([&] { return isFinal(audio->state()) && isFinal(video_job->state()); });
    // Whatever the converters do after this, the jobs stay cancelled.
    waitFor([] { return false; }, 1500);
    EXPECT_EQ(audio->state(), State::Canceled);
    EXPECT_EQ(video_job->state(), State::Canceled);
    EXPECT_FALSE(audio->hasPlayButton());
    EXPECT_TRUE(files(downloads()).isEmpty()) << files(downloads()).join(", ").toStdString();
}

TEST_F(MediaJobs, SettingDefaultsToConvertAndIsKept)
{
    EXPECT_TRUE(Settings::convertVideos());
    Settings::setConvertVideos(false);
    EXPECT_FALSE(Settings::convertVideos());
    EXPECT_TRUE(QFile::exists(QDir(qEnvironmentVariable("XDG_CONFIG_HOME")).filePath("Melodrift/Melodrift.conf")));
    Settings::setConvertVideos(true);
}

TEST_F(MediaJobs, CancelWhileCopyingLeavesNothing)
{
    Settings::setConvertVideos(false);
    const auto job = VideoDownloadItem::init(video("Copy stopped"), clip("mp4", "video/mp4"));
    job->newDataEvent.set([](DownloadItem& j) {
        if (j.state() == State::Copying)
            j.cancel();
    });
    job->startDownload();
    waitFor([&] { return isFinal(job->state()); });
    waitFor([] { return false; }, 500);
    EXPECT_EQ(job->state(), State::Canceled);
    EXPECT_TRUE(files(downloads()).isEmpty()) << files(downloads()).join(", ").toStdString();
    Settings::setConvertVideos(true);
}

TEST_F(MediaJobs, NoConverterIsAFailureWithAReason)
{
    FFmpeg::setExecutableOverride(QString());
    const auto job = AudioDownloadItem::initWithBitrate(video("No converter"), clip("webm", "video/webm"), 320);
    runUntilEnd(job);
    FFmpeg::setExecutableOverride(std::nullopt);
    EXPECT_EQ(job->state(), State::Failed);
    EXPECT_TRUE(job->failureReason().contains("ffmpeg")) << job->failureReason().toStdString();
    EXPECT_TRUE(files(downloads()).isEmpty()) << files(downloads()).join(", ").toStdString();
}
