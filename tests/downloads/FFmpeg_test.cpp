// The converter.
#include "downloads/FFmpeg.h"

#include "log_capture.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

#include <mutex>
#include <thread>

using namespace std::chrono_literals;
using Kind = FFmpeg::Kind;

namespace {

// Everything a converter reports, from whichever thread. The converting thread
// may outlive a failed test: it holds the recorder too.
struct Recorder {
    std::mutex mutex;
    std::vector<quint64> seconds;
    int converted = 0;
    std::thread::id convertedOn;

    static std::shared_ptr<Recorder> listen(FFmpeg& converter)
    {
        auto r = std::make_shared<Recorder>();
        converter.newSecondEvent.set([r](FFmpeg&, quint64 second) {
            std::lock_guard lock(r->mutex);
            r->seconds.push_back(second);
        });
        converter.convertedEvent.set([r](FFmpeg&) {
            std::lock_guard lock(r->mutex);
            ++r->converted;
            r->convertedOn = std::this_thread::get_id();
        });
        return r;
    }
    // Waits until the converter has sent a second (or ended, when ended is set).
    bool waitFor(bool ended, std::chrono::milliseconds timeout = 30s)
    {
        return QTest::qWaitFor(
            [&] {
                std::lock_guard lock(mutex);
                return ended ? converted > 0 : !seconds.empty();
            },
            static_cast<int>(timeout.count()));
    }
};

void writeScript(const QString& path, const QByteArray& body, bool executable = true)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(body);
    file.close();
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | (executable ? QFile::ExeOwner : QFile::Permissions()));
}

} // namespace

TEST(ProgressChunk, ReadsTheTimeOfItsOwnKindOfReportOnly)
{
    const struct {
        const char* chunk;
        Kind kind;
        std::optional<qint32> second;
    } cases[] = {
        {"frame=  100 fps= 25 q=28.0 size=     512kB time=01:02:03.50 bitrate= 125.3kbits/s speed=1.0x    \r",
         Kind::Video, 3723},
        {"size=     120kB time=00:00:03.03 bitrate= 325.2kbits/s speed= 109x    \n", Kind::Audio, 3},
        // The other kind's report, or a report behind other text, is not read.
        {"size=     120kB time=00:00:03.03 bitrate= 325.2kbits/s", Kind::Video, std::nullopt},
        {"Press [q] to stop\nframe= 1 time=00:00:09.00 bitrate=N/A", Kind::Video, std::nullopt},
        // Both markers, the blank before the second included, or nothing.
        {"frame=  100 time=00:00:05.00bitrate=1k", Kind::Video, std::nullopt},
        // Odd times never fail: missing parts read 0 (here 5 h 7 min).
        {"frame=  1 time=05:07.99 bitrate=N/A", Kind::Video, 18420},
        {"frame=  1 time=N/A bitrate=N/A", Kind::Video, 0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(FFmpeg::progressSecond(QString::fromUtf8(c.chunk), c.kind), c.second) << c.chunk;
}

// A stand-in ffmpeg: a script that writes chosen output and exits as told; also
// the place to try the lookup of the program.
class ScriptedConverter : public ::testing::Test {
protected:
    ~ScriptedConverter() override { FFmpeg::setExecutableOverride(std::nullopt); }

    void useScript(const QByteArray& body)
    {
        // The encoder probe gets an empty list; $last is the output file.
        writeScript(path("ffmpeg"), "#!/bin/bash\n[ \"$1\" = -hide_banner ] && exit 0\nfor last; do :; done\n" + body);
        FFmpeg::setExecutableOverride(path("ffmpeg"));
    }
    QString path(const QString& name) const { return dir.path() + "/" + name; }

    QTemporaryDir dir;
    log_capture log;
    std::shared_ptr<FFmpeg> converter = FFmpeg::create("/in/a.webm", path("out.mp4"));
};

TEST_F(ScriptedConverter, LooksBesideTheProgramThenOnPathThenListsEncoders)
{
    const QString app = path("app"), bin = path("bin"), plain = path("plain");
    for (const QString& folder : {app, bin, plain}) {
        QDir().mkpath(folder);
        writeScript(folder + "/ffmpeg", "#!/bin/sh\n", folder != plain);
    }
    EXPECT_EQ(FFmpeg::locateExecutable(app, {bin}), app + "/ffmpeg");
    EXPECT_EQ(FFmpeg::locateExecutable(plain, {plain, bin}), bin + "/ffmpeg");
    EXPECT_EQ(FFmpeg::locateExecutable(plain, {plain}), QString());

    // libfaac where the program offers it, else the built-in encoder at a rate it accepts.
    writeScript(app + "/ffmpeg", "#!/bin/sh\necho ' A..... libfaac  AAC'\n");
    for (const auto& [program, codec, rate] :
         {std::tuple{app + "/ffmpeg", "libfaac", "44000"}, {QString(), "aac", "44100"}}) {
        FFmpeg::setExecutableOverride(program);
        const QStringList arguments = FFmpeg::videoArguments("/in/a.flv", "/out/T.mp4");
        EXPECT_EQ(arguments.mid(arguments.indexOf("-acodec"), 4),
                  QStringList({"-acodec", codec, "-ar", rate}));
    }
}

TEST_F(ScriptedConverter, ReportsEachNewSecondOnceThenConvertedOnce)
{
    // Pauses between writes keep the reports apart, one per read.
    useScript("report() { printf 'frame=  1 fps=0.0 q=0.0 size=0kB time=%s bitrate=N/A speed=0x    \\r' \"$1\" >&2;"
              " sleep 0.2; }\n"
              "report 00:00:00.00; report 00:00:01.50; report 00:00:01.90\n"
              "printf 'caf\\xc3\\xa9\\n' >&2; sleep 0.2\n"
              "report 00:00:03.20; printf x > \"$last\"\n");
    auto events = Recorder::listen(*converter);
    converter->convertH264VideoAsync();
    ASSERT_TRUE(events->waitFor(true));
    std::this_thread::sleep_for(50ms);

    std::lock_guard lock(events->mutex);
    EXPECT_TRUE(converter->succeeded()) << converter->failureReason().toStdString();
    EXPECT_EQ(events->seconds, (std::vector<quint64>{1, 3}));
    EXPECT_EQ(converter->workingOnSecond(), 3u);
    EXPECT_EQ(events->converted, 1);
    EXPECT_NE(events->convertedOn, std::this_thread::get_id());
}

TEST_F(ScriptedConverter, FailsOnExitStatusSignalOrMissingOutput)
{
    const struct {
        const char* script;
        const char* reason; // nullptr: success
    } cases[] = {
        {"echo 'first line' >&2; echo 'in.webm: Invalid data found' >&2; exit 1\n",
         "ffmpeg exited with status 1: in.webm: Invalid data found"},
        {"exit 0\n", "ffmpeg left no output in "},
        {": > \"$last\"\n", "ffmpeg left no output in "},
        {"kill -KILL $$\n", "ffmpeg was ended by signal 9"},
        // The audio run checks the file it really wrote, with its suffix.
        {"printf x > \"$last\"\n", nullptr},
    };
    converter->setDestinationFile(path("song"));
    for (const auto& c : cases) {
        SCOPED_TRACE(c.script);
        useScript(c.script);
        converter->convertMP3(128);
        EXPECT_EQ(converter->succeeded(), !c.reason);
        if (c.reason) {
            EXPECT_TRUE(converter->failureReason().startsWith(c.reason)) << converter->failureReason().toStdString();
        }
    }
    EXPECT_TRUE(QFile::exists(path("song.mp3")));
}

TEST_F(ScriptedConverter, MissingProgramOrCancelBeforeTheStartStillEnds)
{
    writeScript(path("plain"), "#!/bin/sh\n", false);
    for (const QString& program : {QString(), path("none"), path("plain")}) {
        SCOPED_TRACE(program.toStdString());
        FFmpeg::setExecutableOverride(program);
        auto missing = FFmpeg::create("/in/a.webm", path("out.mp4"));
        auto events = Recorder::listen(*missing);
        missing->convertH264VideoAsync();
        ASSERT_TRUE(events->waitFor(true, 10s));
        EXPECT_FALSE(missing->succeeded());
        EXPECT_FALSE(missing->failureReason().isEmpty());
    }

    useScript("printf x > \"$last\"\n");
    auto events = Recorder::listen(*converter);
    converter->convertH264VideoAsync();
    converter->cancel();
    ASSERT_TRUE(events->waitFor(true, 10s));
    EXPECT_EQ(converter->failureReason(), "cancelled");
}
