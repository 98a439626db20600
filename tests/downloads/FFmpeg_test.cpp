// The converter.
#include "downloads/FFmpeg.h"

#include "log_capture.h"
#include "media.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

#include <functional>
#include <mutex>
#include <string_view>
#include <thread>

using namespace std::chrono_literals;
using namespace std::string_view_literals;
using Kind = FFmpeg::Kind;
using Container = FFmpeg::Container;

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
        // A sound copied as it came reports as a conversion to MP3 does; with a
        // cover, either reports frames.
        {"size=     120kB time=00:01:03.03 bitrate= 325.2kbits/s", Kind::Sound, 63},
        {"frame=    1 fps=0.0 q=-1.0 size=       0kB time=00:00:02.00 bitrate=N/A", Kind::Audio, 2},
        {"frame=    1 fps=0.0 q=-1.0 Lsize=       9kB time=00:00:04.04 bitrate=N/A", Kind::Sound, 4},
        {"size=     120kB time=00:00:03.03 bitrate= 325.2kbits/s", Kind::Copy, std::nullopt},
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

TEST(FileTags, CleansNetworkTextAndNamesSubtitleLanguages)
{
    const struct {
        std::u16string_view text;
        qsizetype cap;
        std::u16string_view clean;
    } cases[] = {
        {u"  Plain  title ", 1024, u"Plain title"},
        // Control characters become blanks, which collapse with their neighbours.
        {u"one\ntwo\r\n\tthree\v", 1024, u"one two three"},
        {u"\0a\0"sv, 1024, u"a"},
        {u"a\x7f" u"b\x85" u"c\x9b" u"d\x1b[2Je", 1024, u"a b c d [2Je"},
        {u"a\u2028b\u2029c\u00a0\u3000d", 1024, u"a b c d"},
        // Direction controls go with nothing in their place.
        {u"abc\u202egnp.exe", 1024, u"abcgnp.exe"},
        {u"\u2067x\u2069 \u200fy\ufeff", 1024, u"x y"},
        // Lone halves of surrogate pairs go; whole pairs stay.
        {u"a\xd800" u"b\xdc00" u"c\U0001F600", 1024, u"abc\U0001F600"},
        // The cap counts UTF-16 units, keeps pairs whole and ends on no blank.
        {u"abcd", 3, u"abc"},
        {u"ab\U0001F600", 3, u"ab"},
        {u"ab cd", 3, u"ab"},
        {u"ab   cd", 4, u"ab c"},
    };
    for (const auto& c : cases) {
        const QString text = QString::fromUtf16(c.text.data(), c.text.size());
        EXPECT_EQ(FileTags::clean(text, c.cap), QString::fromUtf16(c.clean.data(), c.clean.size()))
            << text.toStdString();
    }
    EXPECT_EQ(FileTags::clean(QString(5000, u'x')).size(), 1024);

    const struct {
        const char* language;
        const char* bibliographic;
        const char* terminological;
    } languages[] = {
        {"en", "eng", "eng"}, {"de-DE", "ger", "deu"}, {"pt_BR", "por", "por"},
        {"ZH-Hans", "chi", "zho"}, {"english", "", ""}, {"xx", "", ""}, {"", "", ""},
    };
    for (const auto& l : languages) {
        FileTags tags;
        tags.subtitleLanguage = l.language;
        EXPECT_EQ(tags.subtitleLanguageCode(true), l.bibliographic) << l.language;
        EXPECT_EQ(tags.subtitleLanguageCode(false), l.terminological) << l.language;
    }
}

TEST(SoundContainer, FollowsTheNamedSoundCodecThenTheType)
{
    const struct {
        const char* type;
        Container container;
        const char* suffix;
    } cases[] = {
        {R"(audio/mp4; codecs="mp4a.40.2")", Container::M4A, "m4a"},
        {R"(audio/webm; codecs="opus")", Container::Opus, "opus"},
        {R"(video/webm; codecs="vp8.0, vorbis")", Container::Ogg, "ogg"},
        {R"(video/mp4; codecs="avc1.64001F, mp4a.40.2")", Container::M4A, "m4a"},
        {"video/x-flv", Container::MP3, "mp3"},
        {R"(Audio/WebM; Codecs="Vorbis")", Container::Ogg, "ogg"},
        {R"(video/x-flv; codecs="avc1.42c01e, mp4a.40.2")", Container::M4A, "m4a"},
        {R"(video/mp4; codecs="avc1.4d401e, mp4a.6B")", Container::MP3, "mp3"},
        // No sound codec named: the type's usual one.
        {R"(video/webm; codecs="vp9")", Container::Opus, "opus"},
        {"audio/webm", Container::Opus, "opus"},
        {"audio/ogg", Container::Ogg, "ogg"},
    };
    for (const auto& c : cases) {
        const Container container = FFmpeg::soundContainer(QString::fromUtf8(c.type));
        EXPECT_EQ(container, c.container) << c.type;
        EXPECT_EQ(FFmpeg::suffix(container), c.suffix) << c.type;
    }
}

namespace {

// The -metadata values of an argument list, in order.
QStringList metadataOf(const QStringList& arguments)
{
    QStringList values;
    for (qsizetype i = arguments.indexOf("-metadata"); i >= 0 && i + 1 < arguments.size();
         i = arguments.indexOf("-metadata", i + 2))
        values += arguments[i + 1];
    return values;
}

} // namespace

TEST(Arguments, WithoutTagsAsAlwaysWithTagsOnlyWhatFits)
{
    FFmpeg::setExecutableOverride(QString()); // no encoder probe: ffmpeg's own AAC
    const QStringList in{"-protocol_whitelist", "file", "-format_whitelist", "mov,flv,matroska,webm", "-i"};
    EXPECT_EQ(FFmpeg::audioArguments("/in/a.webm", "/out/s", 192, FileTags()),
              in + QStringList({"/in/a.webm", "-vn", "-ac", "2", "-ar", "44100", "-ab", "192k", "-acodec",
                                "libmp3lame", "-y", "/out/s.mp3"}));
    EXPECT_EQ(FFmpeg::videoArguments("/in/a.flv", "/out/v.mp4", FileTags()),
              in + QStringList({"/in/a.flv", "-r", "30", "-vcodec", "libx264", "-acodec", "aac", "-ar", "44100",
                                "-ab", "320k", "-ac", "2", "-y", "-crf", "21", "/out/v.mp4"}));
    EXPECT_EQ(FFmpeg::joinArguments("/in/p.mp4", "/in/s.m4a", "/out/j.mp4", FileTags()),
              in + QStringList{"/in/p.mp4"} + in +
                  QStringList({"/in/s.m4a", "-map", "0:v:0", "-map", "1:a:0", "-c", "copy", "-y", "/out/j.mp4"}));
    FFmpeg::setExecutableOverride(std::nullopt);

    // A date that is none is left out, as is track 0; the source's own tags always.
    FileTags tags;
    tags.title = "T";
    tags.date = "2 Jan 2024";
    QStringList arguments = FFmpeg::soundArguments("/in/a.webm", "/out/.a.part", Container::Opus, tags);
    EXPECT_EQ(metadataOf(arguments), QStringList{"title=T"});
    EXPECT_EQ(arguments.mid(arguments.indexOf("-map_metadata"), 2), QStringList({"-map_metadata", "-1"}));
    tags.date = "2024-01-02";
    tags.track = 7;
    arguments = FFmpeg::copyArguments("/in/a.mp4", "/out/.a.part", tags);
    EXPECT_EQ(metadataOf(arguments), QStringList({"title=T", "date=2024-01-02", "track=7"}));
}

TEST_F(ScriptedConverter, LeavesOutACoverOrSubtitlesGoneBeforeTheRun)
{
    useScript(("printf '%s\\n' \"$@\" > '" + path("args") + "'; printf x > '" + path("out.mp4") + "'\n").toUtf8());
    FileTags tags;
    tags.title = "T";
    tags.coverFile = path("cover.jpg");
    tags.subtitleFile = path("subtitles.vtt");
    tags.subtitleCopy = path("out.srt");
    converter->setTags(tags);
    const auto arguments = [&] {
        return QString::fromUtf8(media::contents(path("args"))).split('\n', Qt::SkipEmptyParts);
    };

    converter->convertH264Video();
    EXPECT_TRUE(converter->succeeded()) << converter->failureReason().toStdString();
    EXPECT_EQ(arguments().count("-i"), 1);
    EXPECT_EQ(arguments().last(), path("out.mp4"));
    EXPECT_EQ(metadataOf(arguments()), QStringList{"title=T"});

    for (const QString& file : {tags.coverFile, tags.subtitleFile})
        writeScript(file, "present", false);
    converter->convertH264Video();
    EXPECT_TRUE(converter->succeeded()) << converter->failureReason().toStdString();
    EXPECT_TRUE(arguments().contains(tags.coverFile));
    EXPECT_TRUE(arguments().contains(tags.subtitleFile));
    EXPECT_EQ(arguments().last(), path("out.srt"));
}

// The real ffmpeg, on tiny clips made for the purpose; ffprobe reads what it wrote.
class RealConverter : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        dir = new QTemporaryDir;
        const auto ffmpeg = [](QStringList arguments) {
            const ChildProcess::Exit exit = media::run("ffmpeg", QStringList{"-v", "error", "-y"} + arguments);
            return exit.exited && exit.code == 0;
        };
        // The sources carry tags of their own, which must not come along.
        made = media::make(at("clip.mp4"), 1) && media::make(at("clip.webm"), 1) && media::make(at("clip.flv"), 1) &&
               ffmpeg({"-f", "lavfi", "-i", "sine=duration=1", "-c:a", "libopus", "-metadata", "genre=Injected",
                       at("opus.webm")}) &&
               ffmpeg({"-i", at("clip.mp4"), "-an", "-c", "copy", at("picture.mp4")}) &&
               ffmpeg({"-i", at("clip.mp4"), "-vn", "-c", "copy", "-metadata", "genre=Injected", at("sound.m4a")}) &&
               ffmpeg({"-i", at("clip.webm"), "-an", "-c", "copy", at("picture.webm")}) &&
               ffmpeg({"-f", "lavfi", "-i", "color=red:size=32x32", "-frames:v", "1", at("cover.jpg")});
        QFile subtitles(at("subtitles.vtt"));
        made = made && subtitles.open(QIODevice::WriteOnly) &&
               subtitles.write("WEBVTT\n\n00:00:00.000 --> 00:00:00.800\nHello there\n") > 0;
    }
    static void TearDownTestSuite() { delete std::exchange(dir, nullptr); }
    static QString at(const QString& name) { return dir->path() + "/" + name; }

    void SetUp() override { ASSERT_TRUE(made) << "the test clips could not be made"; }

    // Tags as hostile as a service may send; the cover and subtitles are real.
    static FileTags sample()
    {
        FileTags tags;
        tags.title = QString::fromUtf16(u"Wir\u202e sind\nhier\x01 \u00fc");
        tags.artist = "Chan\x1b[2Jnel " + QString(3000, u'x');
        tags.date = "2024-01-02";
        tags.address = "https://video.example/watch?v=abc_DEF-123";
        tags.album = "List\ttitle";
        tags.track = 3;
        tags.coverFile = at("cover.jpg");
        tags.subtitleFile = at("subtitles.vtt");
        tags.subtitleLanguage = "de";
        return tags;
    }

    // The streams ffprobe finds, sorted: "codec", "codec:language" when one is
    // named, "codec+cover" for an attached picture; and the tags, the file's
    // with its sound stream's (Ogg keeps them there), by lower-case key.
    struct Probed {
        QStringList streams;
        QJsonObject tags;
    };
    static Probed probe(const QString& path)
    {
        QByteArray out;
        media::run("ffprobe", {"-v", "error", "-show_entries",
                               "format_tags:stream=codec_name,codec_type:stream_disposition=attached_pic:stream_tags",
                               "-of", "json", path},
                   &out);
        const QJsonObject root = QJsonDocument::fromJson(out).object();
        Probed probed;
        const auto addTags = [&](const QJsonObject& tags) {
            for (auto tag = tags.begin(); tag != tags.end(); ++tag)
                probed.tags.insert(tag.key().toLower(), tag.value());
        };
        addTags(root["format"]["tags"].toObject());
        for (const QJsonValue& stream : root["streams"].toArray()) {
            QString name = stream["codec_name"].toString();
            const QString language = stream["tags"]["language"].toString();
            if (!language.isEmpty() && language != "und")
                name += ":" + language;
            if (stream["disposition"]["attached_pic"].toInt() == 1)
                name += "+cover";
            probed.streams += name;
            if (stream["codec_type"].toString() == "audio")
                addTags(stream["tags"].toObject());
        }
        probed.streams.sort();
        return probed;
    }

    static void expectSampleTags(const QJsonObject& tags)
    {
        EXPECT_EQ(tags["title"].toString(), QString::fromUtf16(u"Wir sind hier \u00fc"));
        const QString artist = tags["artist"].toString();
        EXPECT_EQ(artist.size(), 1024);
        EXPECT_TRUE(artist.startsWith("Chan [2Jnel xxx")) << artist.left(20).toStdString();
        EXPECT_EQ(tags["date"].toString(), "2024-01-02");
        EXPECT_EQ(tags["comment"].toString(), "https://video.example/watch?v=abc_DEF-123");
        EXPECT_EQ(tags["album"].toString(), "List title");
        EXPECT_EQ(tags["track"].toString(), "3");
        EXPECT_FALSE(tags.contains("genre"));
    }

    // The address as a link frame, where the ID3 tag begins the file.
    static void expectSourceAddress(const QString& path)
    {
        const QByteArray head = media::contents(path).left(8192);
        EXPECT_TRUE(head.startsWith(QByteArray("ID3\x03\x00", 5)));
        const QByteArray address = "https://video.example/watch?v=abc_DEF-123";
        EXPECT_TRUE(head.contains("WOAS" + QByteArray(3, '\0') + char(address.size()) + QByteArray(2, '\0') + address));
    }

    // Runs the converter to its end.
    static void finish(FFmpeg& converter, const std::function<void(FFmpeg&)>& start)
    {
        auto events = Recorder::listen(converter);
        start(converter);
        ASSERT_TRUE(events->waitFor(true, 180s));
        EXPECT_TRUE(converter.succeeded()) << converter.failureReason().toStdString();
    }

    static inline QTemporaryDir* dir = nullptr;
    static inline bool made = false;
    log_capture log;
};

TEST_F(RealConverter, MP3HasID3v23TagsTheCoverAndTheSourceAddress)
{
    auto converter = FFmpeg::create(at("clip.webm"), at("song"));
    converter->setTags(sample());
    converter->convertMP3(128);
    ASSERT_TRUE(converter->succeeded()) << converter->failureReason().toStdString();

    const Probed probed = probe(at("song.mp3"));
    EXPECT_EQ(probed.streams, QStringList({"mjpeg+cover", "mp3"}));
    expectSampleTags(probed.tags);
    expectSourceAddress(at("song.mp3"));
}

TEST_F(RealConverter, SoundAsItCameIsTheSameSoundTitled)
{
    const auto soundHash = [](const QString& path) {
        QByteArray out;
        media::run("ffmpeg", {"-v", "error", "-i", path, "-map", "0:a:0", "-c", "copy", "-f", "streamhash", "-"}, &out);
        return out;
    };
    const struct {
        const char* source;
        const char* type;
        QStringList streams;
    } cases[] = {
        {"clip.mp4", R"(video/mp4; codecs="avc1.64001F, mp4a.40.2")", {"aac", "mjpeg+cover"}},
        {"opus.webm", R"(audio/webm; codecs="opus")", {"opus"}},
        {"clip.webm", R"(video/webm; codecs="vp8.0, vorbis")", {"vorbis"}},
        {"clip.flv", "video/x-flv", {"mjpeg+cover", "mp3"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.source);
        const Container container = FFmpeg::soundContainer(QString::fromUtf8(c.type));
        // A partial file's name, which tells ffmpeg nothing.
        const QString output = at(QString(".sound-%1.part").arg(c.source));
        auto converter = FFmpeg::create(at(c.source), output);
        converter->setTags(sample());
        finish(*converter, [&](FFmpeg& f) { f.copySoundAsync(container); });

        EXPECT_EQ(soundHash(output), soundHash(at(c.source)));
        EXPECT_FALSE(soundHash(output).isEmpty());
        const Probed probed = probe(output);
        EXPECT_EQ(probed.streams, c.streams);
        expectSampleTags(probed.tags);
        if (container == Container::MP3)
            expectSourceAddress(output);
    }
}

TEST_F(RealConverter, VideosHaveTagsCoverSubtitlesAndSubRipBeside)
{
    const QStringList mp4{"aac", "h264", "mjpeg+cover", "mov_text:deu"};
    const struct {
        const char* what;
        const char* source;
        const char* output;
        std::function<void(FFmpeg&)> start;
        QStringList streams;
    } cases[] = {
        {"converted", "clip.webm", "converted.mp4", [](FFmpeg& f) { f.convertH264VideoAsync(); }, mp4},
        {"joined", "picture.mp4", "joined.mp4", [](FFmpeg& f) { f.joinAsync(at("sound.m4a")); }, mp4},
        {"copied", "clip.mp4", ".copied.part", [](FFmpeg& f) { f.remuxAsync(); }, mp4},
        // WebM takes no cover; its subtitles stay WebVTT, and its languages are named otherwise.
        {"joined into WebM", "picture.webm", "joined.webm", [](FFmpeg& f) { f.joinAsync(at("opus.webm")); },
         {"opus", "vp8", "webvtt:ger"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        FileTags tags = sample();
        tags.subtitleCopy = at(c.output + QString(".srt"));
        auto converter = FFmpeg::create(at(c.source), at(c.output));
        converter->setTags(tags);
        finish(*converter, c.start);

        const Probed probed = probe(at(c.output));
        EXPECT_EQ(probed.streams, c.streams);
        expectSampleTags(probed.tags);
        const QByteArray subRip = media::contents(tags.subtitleCopy);
        EXPECT_TRUE(subRip.contains("00:00:00,000 --> 00:00:00,800\nHello there")) << subRip.toStdString();
    }
}
