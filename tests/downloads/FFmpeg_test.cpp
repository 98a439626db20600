#include "downloads/FFmpeg.h"

#include "log_capture.h"
#include "media.h"
#include "platform/Log.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using Kind = FFmpeg::Kind;

namespace {

// Everything a converter reports, from whichever thread.
struct Recorder {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<quint64> seconds;
    int converted = 0;
    std::thread::id convertedOn;

    static std::shared_ptr<Recorder> listen(FFmpeg& converter)
    {
        auto recorder = std::make_shared<Recorder>();
        // The converting thread may outlive a failed test: it holds the recorder too.
        converter.newSecondEvent.set([recorder](FFmpeg&, quint64 second) {
            std::lock_guard lock(recorder->mutex);
            recorder->seconds.push_back(second);
            recorder->changed.notify_all();
        });
        converter.convertedEvent.set([recorder](FFmpeg&) {
            std::lock_guard lock(recorder->mutex);
            ++recorder->converted;
            recorder->convertedOn = std::this_thread::get_id();
            recorder->changed.notify_all();
        });
        return recorder;
    }

    template <typename Pred>
    bool waitFor(Pred pred, std::chrono::milliseconds timeout = 60s)
    {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, timeout, pred);
    }
    bool waitConverted(std::chrono::milliseconds timeout = 60s)
    {
        return waitFor([this] { return converted > 0; }, timeout);
    }
    std::vector<quint64> secondsSoFar()
    {
        std::lock_guard lock(mutex);
        return seconds;
    }
    int convertedCount()
    {
        std::lock_guard lock(mutex);
        return converted;
    }
};

bool strictlyIncreasing(const std::vector<quint64>& values)
{
    return std::adjacent_find(values.begin(), values.end(), std::greater_equal<>()) == values.end();
}

void writeExecutable(const QString& path, const QByteArray& body, bool executable = true)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(body);
    file.close();
    QFile::Permissions permissions = QFile::ReadOwner | QFile::WriteOwner;
    if (executable)
        permissions |= QFile::ExeOwner;
    file.setPermissions(permissions);
}

} // namespace

// --- The progress reading, without processes --------------------------------

TEST(ProgressChunk, ReadsTheTimeOfItsOwnKindOfReportOnly)
{
    const struct {
        const char* chunk;
        Kind kind;
        std::optional<qint32> second;
    } cases[] = {
        {"frame=  100 fps= 25 q=28.0 size=     512kB time=01:02:03.50 bitrate= 125.3kbits/s speed=1.0x    \r",
         Kind::Video, 3723},
        {"frame=   12 q=0.0 size=0kB time=00:01:05.32 bitrate=N/A", Kind::Video, 65},
        {"size=     120kB time=00:00:03.03 bitrate= 325.2kbits/s speed= 109x    \n", Kind::Audio, 3},
        // The other kind's report, or a report behind other text, is not read.
        {"size=     120kB time=00:00:03.03 bitrate= 325.2kbits/s", Kind::Video, std::nullopt},
        {"frame=   12 size=0kB time=00:00:03.03 bitrate=N/A", Kind::Audio, std::nullopt},
        {"Press [q] to stop\nframe= 1 time=00:00:09.00 bitrate=N/A", Kind::Video, std::nullopt},
        // Both markers, the blank included, or nothing.
        {"frame=  100 size=512kB time=00:00:05.00", Kind::Video, std::nullopt},
        {"frame=  100 time=00:00:05.00bitrate=1k", Kind::Video, std::nullopt},
        // Odd times never fail: missing parts read 0 (here 5 h 7 min), leading digits only.
        {"frame=  1 time=05:07.99 bitrate=N/A", Kind::Video, 18420},
        {"frame=  1 time=N/A bitrate=N/A", Kind::Video, 0},
        {"frame=  1 time=00:1x:2y.5 bitrate=N/A", Kind::Video, 62},
        // Arithmetic in 32 signed bits: it wraps instead of overflowing.
        {"frame=  1 time=99999999999999999999:00:00.00 bitrate=N/A", Kind::Video,
         static_cast<qint32>(static_cast<quint32>(2147483647LL * 3600))},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(FFmpeg::progressSecond(QString::fromUtf8(c.chunk), c.kind), c.second) << c.chunk;
    }
}

TEST(ConverterCommand, AudioListAddsMp3Suffix)
{
    EXPECT_EQ(FFmpeg::audioArguments("/in/a", "/out/T.mp3", 128).last(), "/out/T.mp3");
    EXPECT_EQ(FFmpeg::audioArguments("/in/a", "/out/T", 128).last(), "/out/T.mp3");
    EXPECT_EQ(FFmpeg::audioArguments("/in/a", "/out/T.mp3.part", 320).last(), "/out/T.mp3.part.mp3");
}

// --- Runs against stand-in programs -----------------------------------------

// A stand-in ffmpeg: a script that writes chosen output and exits as told; also
// the place to try the lookup of the program.
class ScriptedConverter : public ::testing::Test {
protected:
    ~ScriptedConverter() override { FFmpeg::setExecutableOverride(std::nullopt); }

    void useScript(const QByteArray& body)
    {
        const QString path = dir.path() + "/ffmpeg";
        // The encoder probe gets an empty list.
        writeExecutable(path, "#!/bin/bash\n[ \"$1\" = -hide_banner ] && exit 0\nfor last; do :; done\n" + body);
        FFmpeg::setExecutableOverride(path);
    }
    QString destination() const { return dir.path() + "/out.mp4"; }

    QTemporaryDir dir;
    log_capture log;
    std::shared_ptr<FFmpeg> converter = FFmpeg::create("/in/a.webm", dir.path() + "/out.mp4");
};

TEST_F(ScriptedConverter, PrefersTheProgramsFolderThenPath)
{
    QDir(dir.path()).mkpath("app");
    QDir(dir.path()).mkpath("bin");
    QDir(dir.path()).mkpath("plain");
    const QString app = dir.path() + "/app", bin = dir.path() + "/bin", plain = dir.path() + "/plain";
    writeExecutable(app + "/ffmpeg", "#!/bin/sh\n");
    writeExecutable(bin + "/ffmpeg", "#!/bin/sh\n");
    writeExecutable(plain + "/ffmpeg", "#!/bin/sh\n", false);

    EXPECT_EQ(FFmpeg::locateExecutable(app, {bin}), app + "/ffmpeg");
    EXPECT_EQ(FFmpeg::locateExecutable(plain, {plain, bin}), bin + "/ffmpeg");
    EXPECT_EQ(FFmpeg::locateExecutable(QString(), {bin}), bin + "/ffmpeg");
    EXPECT_EQ(FFmpeg::locateExecutable(plain, {}), QString());
    EXPECT_EQ(FFmpeg::locateExecutable(QString(), {plain}), QString());
}

TEST_F(ScriptedConverter, VideoListFollowsTheEncodersOnOffer)
{
    // A program that lists libfaac among its encoders gets the list as first written.
    const QString faac = dir.path() + "/ffmpeg";
    writeExecutable(faac, "#!/bin/sh\necho ' V....D libx264  H.264'\necho ' A..... libfaac  AAC'\n");
    FFmpeg::setExecutableOverride(faac);
    const QStringList original{"-i",      "/in/a.flv", "-r",  "30",    "-vcodec", "libx264",
                               "-acodec", "libfaac",   "-ar", "44000", "-ab",     "320k",
                               "-ac",     "2",         "-y",  "-crf",  "21",      "/out/T.mp4"};
    EXPECT_EQ(FFmpeg::videoArguments("/in/a.flv", "/out/T.mp4"), original);

    // Without libfaac (here: without any program) the built-in encoder at a rate it accepts.
    QStringList today = original;
    today[7] = "aac";
    today[9] = "44100";
    FFmpeg::setExecutableOverride(QString());
    EXPECT_EQ(FFmpeg::videoArguments("/in/a.flv", "/out/T.mp4"), today);
}

TEST_F(ScriptedConverter, ReportsEachNewSecondOnce)
{
    // Pauses between writes keep the reports apart, one per read.
    useScript("report() { printf 'frame=  %d fps=0.0 q=0.0 size=0kB time=%s bitrate=N/A speed=0x    \\r' 1 \"$1\" >&2;"
              " sleep 0.2; }\n"
              "report 00:00:00.00\n"
              "report 00:00:01.50\n"
              "report 00:00:01.90\n"
              "printf 'caf\\xc3\\xa9\\n' >&2; sleep 0.2\n"
              "report 00:00:03.20\n"
              "printf x > \"$last\"\n");
    auto events = Recorder::listen(*converter);
    converter->convertH264Video();

    EXPECT_TRUE(converter->succeeded()) << converter->failureReason().toStdString();
    EXPECT_EQ(events->secondsSoFar(), (std::vector<quint64>{1, 3}));
    EXPECT_EQ(converter->workingOnSecond(), 3u);
    EXPECT_EQ(events->convertedCount(), 0); // only the background variants send it

    // The position carries over into the next run.
    useScript("printf 'frame= 1 time=00:00:03.00 bitrate=N/A\\r' >&2; printf x > \"$last\"\n");
    converter->convertH264Video();
    EXPECT_EQ(events->secondsSoFar(), (std::vector<quint64>{1, 3}));
}

TEST_F(ScriptedConverter, FailsOnExitStatusOrMissingOutput)
{
    useScript("echo 'first line' >&2; echo 'in.webm: Invalid data found' >&2; exit 1\n");
    converter->convertH264Video();
    EXPECT_FALSE(converter->succeeded());
    EXPECT_EQ(converter->failureReason(), "ffmpeg exited with status 1: in.webm: Invalid data found");

    useScript("exit 0\n");
    converter->convertH264Video();
    EXPECT_FALSE(converter->succeeded());
    EXPECT_TRUE(converter->failureReason().contains("no output")) << converter->failureReason().toStdString();

    useScript(": > \"$last\"\n");
    converter->convertH264Video();
    EXPECT_FALSE(converter->succeeded());

    useScript("kill -KILL $$\n");
    converter->convertH264Video();
    EXPECT_FALSE(converter->succeeded());
    EXPECT_TRUE(converter->failureReason().contains("signal 9")) << converter->failureReason().toStdString();

    // The audio run checks the file it really wrote, with its suffix.
    useScript("printf x > \"$last\"\n");
    converter->setDestinationFile(dir.path() + "/song");
    converter->convertMP3(128);
    EXPECT_TRUE(converter->succeeded()) << converter->failureReason().toStdString();
    EXPECT_TRUE(QFile::exists(dir.path() + "/song.mp3"));
}

TEST_F(ScriptedConverter, MissingProgramFailsAndStillEnds)
{
    for (const QString& program : {QString(), dir.path() + "/none", dir.path() + "/plain"}) {
        SCOPED_TRACE(program.toStdString());
        writeExecutable(dir.path() + "/plain", "#!/bin/sh\n", false);
        FFmpeg::setExecutableOverride(program);

        converter->convertMP3(320);
        EXPECT_FALSE(converter->succeeded());
        EXPECT_FALSE(converter->failureReason().isEmpty());

        auto converter2 = FFmpeg::create("/in/a.webm", destination());
        auto events = Recorder::listen(*converter2);
        converter2->convertH264VideoAsync();
        ASSERT_TRUE(events->waitConverted(10s));
        EXPECT_FALSE(converter2->succeeded());
        EXPECT_EQ(events->convertedCount(), 1);
    }
    EXPECT_EQ(FFmpeg::getVideoCodec(dir.path() + "/plain"), std::nullopt);
}

TEST_F(ScriptedConverter, CancelBeforeTheProcessStartsKeepsItFromStarting)
{
    useScript("printf x > \"$last\"\n");
    auto events = Recorder::listen(*converter);
    converter->convertH264VideoAsync();
    converter->cancel();
    ASSERT_TRUE(events->waitConverted(10s));
    EXPECT_FALSE(converter->succeeded());
    EXPECT_EQ(converter->failureReason(), "cancelled");
}

// --- Runs of the real ffmpeg on media made for the test ---------------------

class Conversion : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        ffmpeg_ = QStandardPaths::findExecutable("ffmpeg");
        if (ffmpeg_.isEmpty() || QStandardPaths::findExecutable("ffprobe").isEmpty())
            return;
        media_ = new QTemporaryDir();
        made_ = media::make(path("clip.webm"), 3) &&
                // A minute of sound: long enough for reports along the way.
                media::run("ffmpeg", {"-y", "-loglevel", "error", "-f", "lavfi", "-i",
                                      "sine=frequency=440:sample_rate=8000:duration=60", path("minute.wav")})
                        .code == 0 &&
                // Few pictures, many after the rate change: a long video conversion.
                media::run("ffmpeg", {"-y", "-loglevel", "error", "-f", "lavfi", "-i",
                                      "testsrc=size=160x120:rate=1:duration=600", "-c:v", "mjpeg", path("long.avi")})
                        .code == 0;
        QFile garbage(path("garbage.webm"));
        made_ = made_ && garbage.open(QIODevice::WriteOnly) && garbage.write(QByteArray(4096, '\x5a')) == 4096;
    }
    static void TearDownTestSuite()
    {
        delete media_;
        media_ = nullptr;
    }

    void SetUp() override
    {
        if (!made_)
            GTEST_SKIP() << "needs ffmpeg and ffprobe with libvpx, libx264, libmp3lame";
        FFmpeg::setExecutableOverride(ffmpeg_);
    }
    void TearDown() override { FFmpeg::setExecutableOverride(std::nullopt); }

    static QString path(const QString& name) { return media_->path() + "/" + name; }
    QString output(const QString& name) const { return out.path() + "/" + name; }


    static inline QString ffmpeg_;
    static inline QTemporaryDir* media_ = nullptr;
    static inline bool made_ = false;
    QTemporaryDir out;
    log_capture log;
};

TEST_F(Conversion, ReportsRisingSecondsThenConvertedOnce)
{
    auto converter = FFmpeg::create(path("minute.wav"), output("minute.mp3"));
    auto events = Recorder::listen(*converter);
    converter->convertMP3Async(320);
    ASSERT_TRUE(events->waitConverted());

    EXPECT_TRUE(converter->succeeded()) << converter->failureReason().toStdString();
    EXPECT_NE(events->convertedOn, std::this_thread::get_id());
    const std::vector<quint64> seconds = events->secondsSoFar();
    ASSERT_FALSE(seconds.empty());
    EXPECT_TRUE(strictlyIncreasing(seconds));
    EXPECT_LE(seconds.back(), 60u);
    EXPECT_EQ(converter->workingOnSecond(), seconds.back());
    EXPECT_NEAR(media::probe(output("minute.mp3"), "format=duration").toDouble(), 60.0, 0.2);
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(events->convertedCount(), 1);
}

TEST_F(Conversion, TwoLongRunsSideBySideCancelledFromAnotherThread)
{
    // Both long runs report progress before either ends: they run side by side.
    std::shared_ptr<FFmpeg> converters[2] = {FFmpeg::create(path("long.avi"), output("1.mp4")),
                                             FFmpeg::create(path("long.avi"), output("2.mp4"))};
    std::shared_ptr<Recorder> events[2];
    for (int i = 0; i < 2; ++i) {
        events[i] = Recorder::listen(*converters[i]);
        converters[i]->convertH264VideoAsync();
    }
    for (auto& recorder : events)
        ASSERT_TRUE(recorder->waitFor([&] { return !recorder->seconds.empty(); }, 30s));
    EXPECT_EQ(events[0]->convertedCount() + events[1]->convertedCount(), 0);

    const auto cancelled = std::chrono::steady_clock::now();
    std::thread([&] {
        for (auto& converter : converters)
            converter->cancel();
    }).join();
    for (auto& recorder : events)
        ASSERT_TRUE(recorder->waitConverted(30s));
    // Well below the delay after which a process that ignores the request is killed.
    EXPECT_LT(std::chrono::steady_clock::now() - cancelled, 3s);
    for (auto& converter : converters) {
        EXPECT_FALSE(converter->succeeded());
        EXPECT_EQ(converter->failureReason(), "cancelled");
    }
    EXPECT_NE(events[0]->convertedOn, events[1]->convertedOn);
}

TEST_F(Conversion, ContainerFormatsOfAFile)
{
    EXPECT_EQ(FFmpeg::getVideoCodec(path("clip.webm")), "matroska,webm,");
    EXPECT_EQ(FFmpeg::getVideoCodec(path("garbage.webm")), std::nullopt);
    EXPECT_EQ(FFmpeg::getVideoCodec(path("absent.webm")), std::nullopt);

    // The line names the file, so a name outside ASCII must not hide it.
    const QString named = output("Grüße.webm");
    ASSERT_TRUE(QFile::copy(path("clip.webm"), named));
    EXPECT_EQ(FFmpeg::getVideoCodec(named), "matroska,webm,");
}
