// End-to-end runs: melodrift-service started on loopback with the demo catalogue,
// melodrift-cli run against it in a home of its own.
#include "media.h"
#include "release_mirror.h"
#include "service_process.h"
#include "test_home.h"

#include "downloads/ByteRanges.h"
#include "downloads/Settings.h"

#include <QDir>
#include <QDirIterator>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTest>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <set>
#include <thread>

namespace {

const QString catalogueDir = QStringLiteral(MELODRIFT_CATALOGUE);

struct video {
    QString id;
    qint64 seconds = 0;
    QString kind; // normal, notice1..notice4, rtmpe
    QString title;
};

std::vector<video> catalogue()
{
    std::vector<video> videos;
    for (const QByteArray& line : media::contents(catalogueDir + "/catalogue.tsv").split('\n')) {
        const QList<QByteArray> f = line.split('\t');
        if (f.size() == 4)
            videos.push_back(
                {QString::fromUtf8(f[0]), f[1].toLongLong(), QString::fromUtf8(f[2]), QString::fromUtf8(f[3])});
    }
    return videos;
}

// The media file of one stream of a video, by itag; empty when there is none.
QString mediaFile(const QString& id, int itag)
{
    const QStringList found =
        QDir(catalogueDir + "/media").entryList({QStringLiteral("%1-%2.*").arg(id).arg(itag)}, QDir::Files);
    return found.isEmpty() ? QString() : catalogueDir + "/media/" + found.first();
}

struct result {
    int status = -1;
    QString output; // standard output and error together
};

// A running melodrift-service on the demo catalogue; stopped when it goes.
struct stand_in : service_process {
    explicit stand_in(const QStringList& options = {})
        : service_process(QStringLiteral(MELODRIFT_SERVICE_BINARY), catalogueDir, options)
    {
    }
};

// What the stand-in says it sent of each media answer.
struct media_answer {
    QString id;
    int status = 0;
    qint64 first = -1, last = -1; // the range, inclusive; -1 for an error's
    qint64 sent = 0;
    int connection = 0;
};

std::vector<media_answer> mediaAnswers(const QByteArray& printed)
{
    std::vector<media_answer> answers;
    for (const QByteArray& line : printed.split('\n')) {
        const QList<QByteArray> f = line.split(' ');
        if (f.size() != 7 || f[0] != "media")
            continue;
        media_answer a{QString::fromUtf8(f[1]), f[3].toInt()};
        if (const qsizetype dash = f[4].indexOf('-'); dash > 0) {
            a.first = f[4].left(dash).toLongLong();
            a.last = f[4].mid(dash + 1).toLongLong();
        }
        a.sent = f[5].toLongLong();
        a.connection = f[6].toInt();
        answers.push_back(a);
    }
    return answers;
}

// The last line a run printed: where the file went, on success.
QString lastLine(const QString& output)
{
    return output.trimmed().section(QLatin1Char('\n'), -1);
}

// melodrift-cli with its own home, cache and settings (the test's, which it
// inherits), against one service.
class cli {
public:
    cli() { QDir().mkpath(downloads()); }
    QString home() const { return home_.path(); }
    QString downloads() const { return home_.downloads(); }
    QString cache() const { return home_.cache(); }

    // Starts a run and leaves it going; finish() collects it. environment: more
    // variables ("NAME=VALUE") for this run.
    std::unique_ptr<ChildProcess> start(const QString& base, const QStringList& args,
                                        const QStringList& environment = {}) const
    {
        // One stream for both outputs, in the order they were written.
        const QStringList command =
            QStringList{QStringLiteral("-c"), QStringLiteral("unset MELODRIFT_SERVICE MELODRIFT_ENGINE; exec \"$@\" 2>&1"),
                        QStringLiteral("sh"), QStringLiteral("/usr/bin/env")} +
            environment + QStringList{QStringLiteral(MELODRIFT_CLI_BINARY), QStringLiteral("--service"), base};
        auto p = std::make_unique<ChildProcess>();
        if (!p->start(QStringLiteral("/bin/sh"), command + args, ChildProcess::Capture::StandardOutput))
            return nullptr;
        return p;
    }

    static result finish(ChildProcess* p)
    {
        result r;
        if (!p)
            return r;
        r.output = QString::fromUtf8(p->readAll());
        const ChildProcess::Exit exit = p->wait();
        r.status = exit.exited ? exit.code : 128 + exit.signal;
        return r;
    }

    result run(const QString& base, const QStringList& args, const QStringList& environment = {}) const
    {
        return finish(start(base, args, environment).get());
    }

    // A run that must succeed: the file it saved.
    QString saved(const QString& base, const QStringList& args) const
    {
        const result r = run(base, args);
        EXPECT_EQ(r.status, 0) << args.join(' ').toStdString() << ": " << r.output.toStdString();
        return lastLine(r.output);
    }

    // Makes the yt-dlp engine answer for a watch page with what Debian's yt-dlp
    // reads there, reshaped: a recorded answer given to the real yt-dlp with
    // --load-info-json (the stand-in's pages hold no more than one HTML5 video).
    void answerWith(const QString& watch, const QString& name, const std::function<void(QJsonObject&)>& reshape) const
    {
        QByteArray answer;
        const ChildProcess::Exit recorded = media::run("yt-dlp", {"--ignore-config", "-J", watch}, &answer);
        EXPECT_TRUE(recorded.exited && recorded.code == 0);
        QJsonObject info = QJsonDocument::fromJson(answer).object();
        reshape(info);
        const QString json = home() + "/" + name + ".json";
        const QString program = home() + "/" + name;
        QFile file(json), script(program);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(QJsonDocument(info).toJson()) > 0);
        EXPECT_TRUE(script.open(QIODevice::WriteOnly) &&
                    script.write("#!/bin/sh\nexec /usr/bin/yt-dlp --load-info-json '" + json.toUtf8() + "' \"$@\"\n") > 0);
        script.setPermissions(script.permissions() | QFile::ExeOwner);
        Settings::setEngineChoice({engine::Kind::ytDlp, program, {}});
    }

private:
    test_home home_;
};

const video* find(const std::vector<video>& videos, const auto& wanted)
{
    const auto it = std::ranges::find_if(videos, wanted);
    return it == videos.end() ? nullptr : &*it;
}

} // namespace

class EndToEnd : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_FALSE(videos.empty()) << "no catalogue in " << catalogueDir.toStdString(); }

    // A normal video whose best stream is that itag.
    const video* bestIs(int itag) const
    {
        return find(videos, [itag](const video& v) {
            if (v.kind != "normal")
                return false;
            for (const int better : {22, 35, 18, 43, 36, 17, 5}) {
                if (!mediaFile(v.id, better).isEmpty())
                    return better == itag;
            }
            return false;
        });
    }

    const std::vector<video> videos = catalogue();
    cli user;
};

TEST_F(EndToEnd, SearchThenSoundTrackAsMp3)
{
    stand_in s;
    const video* v = find(videos, [](const video& v) { return v.kind == "normal" && v.title.contains("&"); });
    ASSERT_TRUE(v);
    const result found = user.run(s.base(), {"search", v->title.section(' ', 0, 1)});
    ASSERT_EQ(found.status, 0) << found.output.toStdString();
    EXPECT_TRUE(found.output.contains(v->title)) << found.output.toStdString();
    const QRegularExpression address(QStringLiteral("(http://\\S*watch\\?v=%1\\S*)").arg(v->id));
    const QString link = address.match(found.output).captured(1);
    ASSERT_FALSE(link.isEmpty()) << found.output.toStdString();

    const QString mp3 = user.saved(s.base(), {"audio", link});
    EXPECT_EQ(mp3, user.downloads() + "/" + v->title + ".mp3");
    EXPECT_EQ(media::probe(mp3, "stream=codec_name"), "mp3");
    EXPECT_EQ(media::probe(mp3, "stream=bit_rate"), "320000");
    EXPECT_NEAR(media::probe(mp3, "format=duration").toDouble(), double(v->seconds), 1.0);
    // (The same title again: the hostile service's place-holder title, saved twice.)
}

TEST_F(EndToEnd, Mp4StreamIsCopiedAndWebmConverted)
{
    stand_in s;
    const video* mp4 = bestIs(22);
    const video* webm = bestIs(43);
    ASSERT_TRUE(mp4 && webm);

    // Copied bare, byte for byte; titled, its streams are still those that came.
    EXPECT_EQ(media::contents(user.saved(s.base(), {"video", "--convert", "--no-tags", s.watch(mp4->id)})),
              media::contents(mediaFile(mp4->id, 22)));
    const QString titled = user.saved(s.base(), {"video", s.watch(mp4->id)});
    for (const char* stream : {"v:0", "a:0"})
        EXPECT_EQ(media::packetHash(titled, stream), media::packetHash(mediaFile(mp4->id, 22), stream)) << stream;
    EXPECT_EQ(media::probe(titled, "format_tags=title"), mp4->title);
    EXPECT_EQ(media::probe(titled, "format_tags=comment"), s.watch(mp4->id));
    const QString converted = user.saved(s.base(), {"video", "--convert", s.watch(webm->id)});
    EXPECT_TRUE(converted.endsWith(".mp4"));
    EXPECT_EQ(media::probe(converted, "stream=codec_name", "v:0"), "h264");
    EXPECT_EQ(media::contents(user.saved(s.base(), {"video", "--no-convert", "--no-tags", s.watch(webm->id)})),
              media::contents(mediaFile(webm->id, 43)));
}

TEST_F(EndToEnd, ParserServiceDownOrWrongStillDownloads)
{
    const video* v = bestIs(22);
    ASSERT_TRUE(v);
    for (const char* mode : {"down", "garbage"}) {
        stand_in s({"--parser", mode});
        const result listed = user.run(s.base(), {"streams", s.watch(v->id)});
        ASSERT_EQ(listed.status, 0) << mode << ": " << listed.output.toStdString();
        EXPECT_TRUE(listed.output.contains(QRegularExpression("^\\* hd720", QRegularExpression::MultilineOption)))
            << listed.output.toStdString();
        EXPECT_EQ(media::contents(user.saved(s.base(), {"video", "--no-convert", "--no-tags", s.watch(v->id)})),
                  media::contents(mediaFile(v->id, 22))) << mode;
    }
}

TEST_F(EndToEnd, NoticesAndRtmpeAreClearFailuresAndTheCommandLineBasics)
{
    stand_in s;
    int seen = 0;
    for (const video& v : videos) {
        if (v.kind == "normal")
            continue;
        ++seen;
        const result r = user.run(s.base(), {"audio", s.watch(v.id)});
        EXPECT_NE(r.status, 0) << v.kind.toStdString();
        EXPECT_TRUE(r.output.startsWith("YouTube: ")) << r.output.toStdString();
        if (v.kind == "rtmpe") {
            EXPECT_TRUE(r.output.contains("rtmpe: that video is only available over rtmpe.")) << r.output.toStdString();
        }
    }
    EXPECT_EQ(seen, 5);
    EXPECT_TRUE(QDir(user.downloads()).isEmpty());

    // The basics of the command line. (--version: the installed tree's test.)
    EXPECT_EQ(user.run(s.base(), {"--help"}).status, 0);
    EXPECT_EQ(user.run(s.base(), {}).status, 2);
    EXPECT_EQ(user.run(s.base(), {"audio"}).status, 2);
    const result nothing = user.run(s.base(), {"search", "zzzznothingmatches"});
    EXPECT_EQ(nothing.status, 0);
    EXPECT_TRUE(nothing.output.contains("No videos found.")) << nothing.output.toStdString();
    EXPECT_EQ(user.run(s.base(), {"streams", s.watch("nosuchvideo")}).status, 1);

    const ChildProcess::Exit stopped = s.stop();
    EXPECT_TRUE(stopped.exited && stopped.code == 0) << "signal " << stopped.signal;
}

TEST_F(EndToEnd, BrokenStreamsFailWithAReasonAndLeaveNothing)
{
    const video* v = bestIs(22);
    ASSERT_TRUE(v);
    const QStringList faults[] = {
        {"--fail-stream", v->id + "=404"}, {"--cut-stream", v->id}, {"--stall-stream", v->id}};
    for (const QStringList& fault : faults) {
        stand_in s(fault);
        const result r = user.run(s.base(), {"--timeout", "2", "--retries", "0", "audio", s.watch(v->id)});
        EXPECT_EQ(r.status, 1) << fault.join(' ').toStdString() << ": " << r.output.toStdString();
        EXPECT_TRUE(r.output.contains("Failed: ")) << r.output.toStdString();
        EXPECT_TRUE(QDir(user.downloads()).isEmpty()) << fault.join(' ').toStdString();
        EXPECT_TRUE(QDir(user.cache()).entryList(QDir::Files | QDir::NoDotAndDotDot).isEmpty())
            << fault.join(' ').toStdString();
    }
}

// Two programs on one cache folder: the second one's start-up clean-up must leave
// the first one's download alone.
TEST_F(EndToEnd, SecondProgramLeavesTheFirstOnesDownloadAlone)
{
    const video* first = bestIs(22);
    const video* second = find(videos, [first](const video& v) { return v.kind == "normal" && &v != first; });
    ASSERT_TRUE(first && second);
    // Every stream answers late, so the first download is under way, its file
    // open in the cache, when the second program starts.
    stand_in s({"--latency", "media=1500"});
    const auto running = user.start(s.base(), {"video", "--no-convert", "--no-tags", s.watch(first->id)});
    ASSERT_TRUE(running);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !QDir(user.cache()).entryList(QDir::Files).isEmpty(); }, 20000));
    const result other = user.run(s.base(), {"audio", s.watch(second->id)});
    EXPECT_EQ(other.status, 0) << other.output.toStdString();

    const result r = cli::finish(running.get());
    ASSERT_EQ(r.status, 0) << r.output.toStdString();
    EXPECT_EQ(media::contents(lastLine(r.output)), media::contents(mediaFile(first->id, 22)));
    // (The second one's converted stream stays in the cache until the next start.)
}

// A stream cut short three times is asked for again from its last byte each
// time and arrives whole; an address that expires on the way is read again from
// the watch page and the rest fetched there; a service that throttles wide
// ranges gets none.
TEST_F(EndToEnd, TransfersGoOnWhereTheyBrokeAndAskForNarrowPieces)
{
    const video* v = bestIs(22);
    ASSERT_TRUE(v);
    const QByteArray whole = media::contents(mediaFile(v->id, 22));
    {
        stand_in s({"--cut-stream", v->id + ":300000:3"});
        const QString file = user.saved(s.base(), {"--connections", "1", "video", "--no-convert", "--no-tags", s.watch(v->id)});
        EXPECT_EQ(media::contents(file), whole);
        QFile::remove(file);
        s.stop();
        const auto answers = mediaAnswers(s.printed());
        ASSERT_EQ(answers.size(), 4u) << s.printed().toStdString();
        // Each one asked for the rest from where the last one broke (what the
        // connection still held when it closed is what came). Qt's network layer
        // may send the request of a connection the server closed once more by
        // itself, before the transfer asks anew: that one starts where the last
        // did, and the stand-in counts it among its cuts.
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_TRUE(answers[i].sent == 300000 || answers[i].sent == 0) << answers[i].sent;
            EXPECT_GE(answers[i + 1].first, answers[i].first);
            EXPECT_LE(answers[i + 1].first, answers[i].first + 300000);
        }
        EXPECT_GT(answers.back().first, 0);
        EXPECT_EQ(answers.back().last, whole.size() - 1);
    }
    {
        // Late, and cut once: the second request comes after the address expired.
        stand_in s({"--expire", "1", "--latency", "media=1500", "--cut-stream", v->id + ":200000:1"});
        const QString file = user.saved(s.base(), {"--connections", "1", "video", "--no-convert", "--no-tags", s.watch(v->id)});
        EXPECT_EQ(media::contents(file), whole);
        QFile::remove(file);
        s.stop();
        const auto answers = mediaAnswers(s.printed());
        EXPECT_TRUE(std::ranges::any_of(answers, [](const media_answer& a) { return a.status == 403; }))
            << s.printed().toStdString();
        EXPECT_EQ(answers.back().status, 206);
        EXPECT_GT(answers.back().first, 0);
    }
    {
        // yt-dlp says how wide a piece may be; a wide one would crawl. The
        // pieces take turns on a few open connections, as a browser's would.
        stand_in s({"--throttle", "64", "--keep-alive"});
        const QString program = user.home() + "/narrow yt-dlp";
        QFile script(program);
        ASSERT_TRUE(script.open(QIODevice::WriteOnly));
        script.write("#!/bin/sh\nfor a; do last=$a; done\n"
                     "info=$(mktemp)\n"
                     "/usr/bin/yt-dlp --ignore-config -J \"$last\" | /usr/bin/python3 -c '\n"
                     "import json, sys\n"
                     "info = json.load(sys.stdin)\n"
                     "for f in info[\"formats\"]:\n"
                     "    f[\"downloader_options\"] = {\"http_chunk_size\": 262144}\n"
                     "json.dump(info, open(sys.argv[1], \"w\"))' \"$info\"\n"
                     "exec /usr/bin/yt-dlp --load-info-json \"$info\" \"$@\"\n");
        script.close();
        script.setPermissions(script.permissions() | QFile::ExeOwner);
        Settings::setEngineChoice({engine::Kind::ytDlp, program, {}});
        const QString file = user.saved(s.base(), {"video", "--no-convert", "--no-tags", s.watch(v->id)});
        Settings::setEngineChoice({});
        EXPECT_EQ(media::contents(file), whole);
        s.stop();
        const auto answers = mediaAnswers(s.printed());
        ASSERT_GE(answers.size(), 10u) << s.printed().toStdString();
        std::set<int> connections;
        for (const media_answer& a : answers) {
            EXPECT_EQ(a.status, 206);
            EXPECT_LE(a.last - a.first + 1, 262144);
            connections.insert(a.connection);
        }
        EXPECT_LE(connections.size(), 4u) << s.printed().toStdString();
    }
}

// A run killed half-way leaves its bytes and a record of them; the same command
// again fetches only the rest, and `resume` does the same for every such run.
TEST_F(EndToEnd, AKilledRunGoesOnWithWhatItHad)
{
    const video* v = bestIs(22);
    ASSERT_TRUE(v);
    const QByteArray whole = media::contents(mediaFile(v->id, 22));
    stand_in s({"--per-connection", "256"});
    const QStringList command{"--connections", "1", "video", "--no-convert", "--no-tags", s.watch(v->id)};
    const auto killedOnTheWay = [&] {
        const auto running = user.start(s.base(), command);
        EXPECT_TRUE(running);
        // A third of it in the file, and in its record.
        EXPECT_TRUE(QTest::qWaitFor(
            [&] {
                const QStringList records = QDir(user.cache()).entryList({"*.ranges"}, QDir::Files);
                const auto read = records.isEmpty() ? std::nullopt : ByteRanges::fromRecord(media::contents(user.cache() + "/" + records.first()));
                return read && read->doneBytes() > whole.size() / 3;
            },
            20000));
        running->kill();
        cli::finish(running.get());
    };
    killedOnTheWay();
    const QString file = user.saved(s.base(), command);
    EXPECT_EQ(media::contents(file), whole);
    QFile::remove(file);
    s.stop();
    qint64 sent = 0;
    for (const media_answer& a : mediaAnswers(s.printed()))
        sent += a.sent;
    // What the record said it had is not fetched again (what came after it, up to half a second's worth, is).
    EXPECT_LT(sent, whole.size() + 256 * 1024) << s.printed().toStdString();
    EXPECT_TRUE(user.run(s.base(), {"history"}).output.contains("  done"));

    stand_in again({"--per-connection", "256"});
    const QStringList other{"--connections", "1", "video", "--no-convert", "--no-tags", again.watch(v->id)};
    // (The finished run's record stays in the cache until the next wipe.)
    const QStringList before = QDir(user.cache()).entryList({"*.ranges"}, QDir::Files);
    const auto running = user.start(again.base(), other);
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            const QStringList now = QDir(user.cache()).entryList({"*.ranges"}, QDir::Files);
            return std::ranges::any_of(now, [&](const QString& name) { return !before.contains(name); });
        },
        20000));
    running->kill();
    cli::finish(running.get());
    const result resumed = user.run(again.base(), {"resume"});
    EXPECT_EQ(resumed.status, 0) << resumed.output.toStdString();
    EXPECT_TRUE(resumed.output.contains("Going on where an earlier run stopped")) << resumed.output.toStdString();
    EXPECT_EQ(media::contents(lastLine(resumed.output)), whole);
    EXPECT_EQ(user.run(again.base(), {"resume"}).output, "No download was cut off.\n");
}

// A service in the wrong hands: what it names on this machine is never read, and
// what it calls its videos reaches the terminal and the file names only as text.
TEST_F(EndToEnd, AHostileServiceReadsNothingLocalAndWritesNothingRaw)
{
    const QString secret = user.home() + "/secret.txt";
    const QByteArray secretBytes = "-----BEGIN SECRET----- 7f3a9c0e -----END SECRET-----\n";
    {
        QFile file(secret);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(secretBytes) == secretBytes.size());
    }
    stand_in s({"--hostile", secret, "--feed-size", "25"});
    const auto clean = [](const QString& text) {
        return std::ranges::none_of(text, [](QChar c) { return c.unicode() < 0x20 && c != '\n'; });
    };

    // Titles with terminal escapes, raw and as references, print as text.
    const result listed = user.run(s.base(), {"search", "escape"});
    ASSERT_EQ(listed.status, 0) << listed.output.toStdString();
    EXPECT_TRUE(listed.output.contains("Red")) << listed.output.toStdString();
    EXPECT_TRUE(clean(listed.output)) << listed.output.toStdString();
    const result escaped = user.run(s.base(), {"audio", s.watch("RXNjYXBlVGl")});
    EXPECT_EQ(escaped.status, 0);
    EXPECT_TRUE(clean(escaped.output)) << escaped.output.toStdString();
    EXPECT_EQ(lastLine(escaped.output).toStdString(),
              (user.downloads() + "/Escape _]0;pwned__[2J_[31mRed_[0m Title.mp3").toStdString());

    // A stream address that is a local file is refused, not copied.
    const result local = user.run(s.base(), {"audio", s.watch("TG9jYWxTdHJ")});
    EXPECT_EQ(local.status, 1);
    EXPECT_TRUE(local.output.contains("Failed: Refused a non-web address: file://" + secret)) << local.output.toStdString();

    // A title that looks like place holders, saved twice.
    for (const char* name : {"/%1 and %2.mp3", "/%1 and %2 (1).mp3"})
        EXPECT_EQ(user.saved(s.base(), {"audio", s.watch("UGVyY2VudDE")}).toStdString(),
                  (user.downloads() + name).toStdString());

    // 25 pictures that would each decode to 120 MB: listed, without pictures.
    const result bombs = user.run(s.base(), {"search", "bomb"});
    ASSERT_EQ(bombs.status, 0) << bombs.output.toStdString();
    EXPECT_EQ(bombs.output.count("Bomb Picture"), 25);

    // The secret reached no server and no file.
    s.stop();
    EXPECT_FALSE(s.printed().contains("SECRET ARRIVED")) << s.printed().toStdString();
    for (QDirIterator it(user.downloads(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories); it.hasNext();)
        EXPECT_FALSE(media::contents(it.next()).contains(secretBytes.trimmed())) << it.filePath().toStdString();
}

// The yt-dlp engine, with Debian's real yt-dlp: its general extractor reads the
// service's feed as RSS and its watch pages' HTML5 sources.
TEST_F(EndToEnd, YtDlpFindsListsAndSavesWhatTheClassicEngineDoes)
{
    stand_in s;
    const QStringList ytDlp{"--engine", "yt-dlp"};
    // The same list, in the same order, with the same decoded titles and lengths.
    const result classic = user.run(s.base(), {"search", "a"});
    const result found = user.run(s.base(), ytDlp + QStringList{"search", "a"});
    ASSERT_EQ(found.status, 0) << found.output.toStdString();
    EXPECT_GE(found.output.count("watch?v="), 10);
    EXPECT_TRUE(found.output.contains(QString::fromUtf8("Café Crème – Mandelbrot Zoom")));
    EXPECT_EQ(found.output, classic.output);

    const video* v = bestIs(22);
    ASSERT_TRUE(v);
    const result listed = user.run(s.base(), ytDlp + QStringList{"streams", s.watch(v->id)});
    ASSERT_EQ(listed.status, 0) << listed.output.toStdString();
    EXPECT_TRUE(listed.output.startsWith(v->title + "\n")) << listed.output.toStdString();
    EXPECT_TRUE(listed.output.contains(QRegularExpression("^\\* hd720   MP4 ", QRegularExpression::MultilineOption)))
        << listed.output.toStdString();

    // (Its sound track: this extraction, then the classic runs' converter; the desktop yt-dlp run saves one.)
    EXPECT_EQ(media::contents(user.saved(s.base(), ytDlp + QStringList{"video", "--no-convert", "--no-tags", s.watch(v->id)})),
              media::contents(mediaFile(v->id, 22)));
}

TEST_F(EndToEnd, YtDlpsReasonsAndAMissingYtDlpAreClearFailures)
{
    stand_in s;
    const QStringList ytDlp{"--engine", "yt-dlp"};
    // (A page without a video, and yt-dlp's own reason: the desktop's yt-dlp run.)
    const result rtmpe = user.run(s.base(), ytDlp + QStringList{"audio", s.watch("UnRtcGVPbmw")});
    EXPECT_EQ(rtmpe.status, 1);
    EXPECT_TRUE(rtmpe.output.contains("None of this video's streams can be fetched over http or https"))
        << rtmpe.output.toStdString();
    EXPECT_TRUE(QDir(user.downloads()).isEmpty());

    // Chosen through the environment, with no yt-dlp to be found.
    const result missing = user.run(s.base(), {"search", "bars"}, {"MELODRIFT_ENGINE=yt-dlp", "PATH=/nonexistent"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(missing.output.startsWith("Search failed: There is no yt-dlp: neither Melodrift's own nor one on PATH."))
        << missing.output.toStdString();
    EXPECT_EQ(user.run(s.base(), {"--engine", "other", "search", "bars"}).status, 2);
}

// Melodrift's own yt-dlp and Deno: got from a release folder (a mirror on
// loopback, signed with the test's key), verified, listed, and then run by a
// search with the runtime and the sign-in it is given.
TEST_F(EndToEnd, MelodriftsOwnYtDlpAndDenoAreGotVerifiedAndRun)
{
    stand_in s;
    const result classic = user.run(s.base(), {"search", "a"});
    const release_mirror::releases made;
    release_mirror::mirror mirror(made.make("2026.11.20", "2.5.6"));
    const QString base = mirror.base().toString();
    const QStringList releases{"MELODRIFT_YTDLP_RELEASES=" + base, "MELODRIFT_DENO_RELEASES=" + base,
                               "MELODRIFT_YTDLP_KEY=" + made.key()};
    const result update = user.run(s.base(), {"tools", "update"}, releases);
    ASSERT_EQ(update.status, 0) << update.output.toStdString();
    EXPECT_EQ(update.output, "yt-dlp 2026.11.20: installed\nDeno 2.5.6: installed\n");

    const QString own = user.home() + "/.local/share/Melodrift/Melodrift/tools/";
    const result listed = user.run(s.base(), {"tools"});
    EXPECT_EQ(listed.status, 0);
    EXPECT_TRUE(listed.output.contains(QRegularExpression(
        "^yt-dlp +2026\\.11\\.20 +Melodrift's own +\\d+ days +" + QRegularExpression::escape(own) + "yt-dlp$",
        QRegularExpression::MultilineOption)))
        << listed.output.toStdString();
    EXPECT_TRUE(listed.output.contains(QRegularExpression("^JavaScript runtime +Deno 2\\.5\\.6 +Melodrift's own ",
                                                         QRegularExpression::MultilineOption)))
        << listed.output.toStdString();

    // The search runs it, with its Deno and the browser's sign-in, and finds what the classic engine finds.
    const QString log = user.home() + "/yt-dlp arguments";
    const result found = user.run(s.base(), {"--engine", "yt-dlp", "--cookies-from-browser", "firefox", "search", "a"},
                                  {"MELODRIFT_TEST_YTDLP_LOG=" + log});
    EXPECT_EQ(found.output, classic.output);
    const QString arguments = QString::fromUtf8(media::contents(log));
    EXPECT_TRUE(arguments.contains("--js-runtimes\tdeno:" + own + "deno\t")) << arguments.toStdString();
    EXPECT_TRUE(arguments.contains("--cookies-from-browser\tfirefox\t")) << arguments.toStdString();

    // A newer release signed by another key changes nothing, and says why.
    const release_mirror::releases forger;
    mirror.serve(forger.make("2026.12.01", "2.6.0"));
    const result refused = user.run(s.base(), {"tools", "update"}, releases);
    EXPECT_EQ(refused.status, 1);
    EXPECT_TRUE(refused.output.contains("yt-dlp: not updated, nothing was changed: SHA2-256SUMS is refused: "
                                        "the signature is not valid"))
        << refused.output.toStdString();
    EXPECT_TRUE(refused.output.contains("Deno 2.6.0: installed")) << refused.output.toStdString();
    EXPECT_TRUE(user.run(s.base(), {"tools"}).output.contains("2026.11.20"));
}

// The real service offers picture and sound together only at low quality: a
// recorded answer of that shape, whose addresses point at the stand-in (its hd720
// stream as the picture alone, its medium MP4 as the sound alone), given to the
// real yt-dlp with --load-info-json.
TEST_F(EndToEnd, YtDlpsBetterPictureAndSoundApartAreJoinedWithoutEncoding)
{
    stand_in s;
    const video* v = find(videos, [](const video& v) {
        return v.kind == "normal" && !mediaFile(v.id, 22).isEmpty() && !mediaFile(v.id, 18).isEmpty();
    });
    ASSERT_TRUE(v);
    // The stand-in's answer, reshaped as the real service's; a sound with a bad signature when asked.
    const auto record = [&](const stand_in& at, const QString& name, const QString& badSignature) {
        user.answerWith(at.watch(v->id), name, [&](QJsonObject& info) {
            QJsonArray formats;
            for (const QJsonValue& value : info.value("formats").toArray()) {
                QJsonObject format = value.toObject();
                QString url = format.value("url").toString();
                if (url.contains("itag=22&")) {
                    format["vcodec"] = "avc1.640028";
                    format["acodec"] = "none";
                    format["height"] = 1080;
                } else if (url.contains("itag=18&")) {
                    format["vcodec"] = "none";
                    format["acodec"] = "mp4a.40.2";
                    format["ext"] = "m4a";
                    format["abr"] = 96;
                    if (!badSignature.isEmpty())
                        format["url"] = url.replace(QRegularExpression("signature=[^&]*"), "signature=" + badSignature);
                }
                formats.append(format);
            }
            info["formats"] = formats;
        });
    };
    record(s, "recorded", {});

    const result listed = user.run(s.base(), {"streams", s.watch(v->id)});
    ASSERT_EQ(listed.status, 0) << listed.output.toStdString();
    EXPECT_EQ(listed.output.count(QRegularExpression("^\\* ", QRegularExpression::MultilineOption)), 2)
        << listed.output.toStdString();
    EXPECT_TRUE(listed.output.contains(QRegularExpression("^\\* hd1080 .*\\(picture only\\)$",
                                                         QRegularExpression::MultilineOption)))
        << listed.output.toStdString();

    const QString file = user.saved(s.base(), {"video", "--convert", s.watch(v->id)});
    EXPECT_EQ(file, user.downloads() + "/" + v->title + ".mp4");
    // The picture of the one, the sound of the other, both as they were.
    EXPECT_EQ(media::probe(file, "stream=profile", "v:0"), media::probe(mediaFile(v->id, 22), "stream=profile", "v:0"));
    EXPECT_EQ(media::probe(file, "stream=bit_rate", "a:0"), media::probe(mediaFile(v->id, 18), "stream=bit_rate", "a:0"));
    EXPECT_NE(media::probe(file, "stream=bit_rate", "a:0"), media::probe(mediaFile(v->id, 22), "stream=bit_rate", "a:0"));
    EXPECT_NEAR(media::probe(file, "format=duration").toDouble(), double(v->seconds), 1.0);

    // The sound's transfer failing fails the job with its reason, and leaves nothing.
    record(s, "broken", "0000");
    const result broken = user.run(s.base(), {"video", s.watch(v->id)});
    EXPECT_EQ(broken.status, 1);
    EXPECT_TRUE(broken.output.contains("Failed: ") && broken.output.contains("403")) << broken.output.toStdString();
    EXPECT_EQ(QDir(user.downloads()).entryList(QDir::Files), QStringList{v->title + ".mp4"});
    EXPECT_TRUE(QDir(user.cache()).entryList(QDir::Files | QDir::NoDotAndDotDot).isEmpty());

    // A cancel (the terminal's Ctrl-C or a TERM) stops both transfers, and leaves nothing.
    stand_in stalled({"--stall-stream", v->id});
    record(stalled, "stalled", {});
    const auto running = user.start(stalled.base(), {"video", stalled.watch(v->id)});
    ASSERT_TRUE(running);
    // Both transfers under way: the picture's file and the sound's.
    ASSERT_TRUE(QTest::qWaitFor([&] { return QDir(user.cache()).entryList(QDir::Files).size() >= 2; }, 20000));
    running->terminate();
    const result cancelled = cli::finish(running.get());
    EXPECT_EQ(cancelled.status, 130) << cancelled.output.toStdString();
    EXPECT_TRUE(cancelled.output.contains("Cancelled.")) << cancelled.output.toStdString();
    EXPECT_EQ(QDir(user.downloads()).entryList(QDir::Files), QStringList{v->title + ".mp4"});
    EXPECT_TRUE(QDir(user.cache()).entryList(QDir::Files | QDir::NoDotAndDotDot).isEmpty());
}

// What is saved: the height asked for, the sound as MP3 or as it came, every file
// titled with what the service said of it, with its cover, and the subtitles
// asked for in the video and beside it.
TEST_F(EndToEnd, SavedFilesAreTitledWithCoverAndSubtitlesAtTheQualityAsked)
{
    stand_in s;
    const video* v = find(videos, [](const video& v) {
        return v.kind == "normal" && !mediaFile(v.id, 22).isEmpty() && !mediaFile(v.id, 18).isEmpty();
    });
    ASSERT_TRUE(v);
    QString channel, date;
    // Two heights and a sound alone, as the real service offers them: the 720p
    // stream as a 1080p60 picture alone, the 360p one as 720p with sound, and its sound.
    user.answerWith(s.watch(v->id), "heights", [&](QJsonObject& info) {
        QJsonArray formats;
        for (const QJsonValue& value : info.value("formats").toArray()) {
            QJsonObject format = value.toObject();
            const QString url = format.value("url").toString();
            if (url.contains("itag=22&")) {
                format["vcodec"] = "avc1.640028";
                format["acodec"] = "none";
                format["height"] = 1080;
                format["fps"] = 60;
                formats.append(format);
            } else if (url.contains("itag=18&")) {
                format["vcodec"] = "avc1.42001E";
                format["acodec"] = "mp4a.40.2";
                format["height"] = 720;
                formats.append(format);
                format["format_id"] = "sound";
                format["vcodec"] = "none";
                format["ext"] = "m4a";
                format["abr"] = 96;
                format.remove("height");
                formats.append(format);
            }
        }
        info["formats"] = formats;
        // Debian's yt-dlp reads no channel off a page of an HTML5 video; the real service's answers have one.
        info["channel"] = channel = QString::fromUtf8("Harbour Films \u2013 Archive");
        // What it read on the page: the date, the pictures and the subtitles.
        date = info.value("upload_date").toString();
        EXPECT_TRUE(info.value("subtitles").toObject().contains("en")) << QJsonDocument(info).toJson().toStdString();
        bool webp = false;
        for (const QJsonValue& picture : info.value("thumbnails").toArray())
            webp = webp || picture.toObject().value("url").toString().endsWith(".webp");
        EXPECT_TRUE(webp) << QJsonDocument(info).toJson().toStdString();
    });
    ASSERT_FALSE(channel.isEmpty());
    ASSERT_EQ(date.size(), 8);
    const QString isoDate = date.left(4) + "-" + date.mid(4, 2) + "-" + date.mid(6, 2);

    const result listed = user.run(s.base(), {"streams", s.watch(v->id)});
    EXPECT_TRUE(listed.output.contains(QRegularExpression(R"(^  1080p60 +picture and sound joined .*\(saved by video\)$)",
                                                         QRegularExpression::MultilineOption)))
        << listed.output.toStdString();
    EXPECT_TRUE(listed.output.contains(QRegularExpression(R"(^  720p +with sound )", QRegularExpression::MultilineOption)))
        << listed.output.toStdString();

    // The best, joined, titled, with the cover and the subtitles inside and beside.
    const QString best = user.saved(s.base(), {"video", "--subtitles", "en", s.watch(v->id)});
    EXPECT_EQ(media::packetHash(best, "v:0"), media::packetHash(mediaFile(v->id, 22), "v:0"));
    EXPECT_EQ(media::packetHash(best, "a:0"), media::packetHash(mediaFile(v->id, 18), "a:0"));
    EXPECT_EQ(media::probe(best, "format_tags=title"), v->title);
    EXPECT_EQ(media::probe(best, "format_tags=artist"), channel);
    EXPECT_EQ(media::probe(best, "format_tags=date"), isoDate);
    EXPECT_EQ(media::probe(best, "stream=codec_name", "s:0"), "mov_text");
    EXPECT_EQ(media::probe(best, "stream_disposition=attached_pic", "v:1"), "1");
    EXPECT_EQ(media::probe(best, "stream=codec_name", "v:1"), "mjpeg");
    const QByteArray srt = media::contents(best.chopped(4) + ".en.srt");
    EXPECT_TRUE(srt.startsWith("1\n00:00:0") || srt.startsWith("1\r\n00:00:0")) << srt.left(200).toStdString();

    // No higher than asked: the 720p stream with its sound, as it came.
    const QString lower = user.saved(s.base(), {"video", "--quality", "720", s.watch(v->id)});
    EXPECT_EQ(media::packetHash(lower, "v:0"), media::packetHash(mediaFile(v->id, 18), "v:0"));
    EXPECT_EQ(media::probe(lower, "stream=codec_name", "s:0"), "");

    // MP3 with ID3v2.3 tags, the cover as APIC and the watch page as a URL frame.
    const QString mp3 = user.saved(s.base(), {"audio", s.watch(v->id)});
    EXPECT_EQ(media::probe(mp3, "format_tags=title"), v->title);
    EXPECT_EQ(media::probe(mp3, "format_tags=artist"), channel);
    EXPECT_EQ(media::probe(mp3, "stream=codec_name", "v:0"), "mjpeg");
    const QByteArray head = media::contents(mp3).left(64 * 1024);
    EXPECT_TRUE(head.startsWith(QByteArray("ID3\x03", 4)));
    EXPECT_TRUE(head.contains("WOAS") && head.contains(s.watch(v->id).toUtf8()));

    // The sound as it came: its packets unchanged, in M4A, titled, with the cover.
    const QString m4a = user.saved(s.base(), {"audio", "--sound", "original", s.watch(v->id)});
    EXPECT_TRUE(m4a.endsWith(".m4a")) << m4a.toStdString();
    EXPECT_EQ(media::packetHash(m4a, "a:0"), media::packetHash(mediaFile(v->id, 18), "a:0"));
    EXPECT_EQ(media::probe(m4a, "format_tags=title"), v->title);
    EXPECT_EQ(media::probe(m4a, "stream_disposition=attached_pic", "v:0"), "1");
    EXPECT_TRUE(user.run(s.base(), {"history"}).output.contains(QRegularExpression(R"(^\S+ \S+  M4A  )",
                                                                                   QRegularExpression::MultilineOption)));

    // Bare when asked: nothing but the sound.
    const QString bare = user.saved(s.base(), {"audio", "--no-tags", s.watch(v->id)});
    EXPECT_EQ(media::probe(bare, "format_tags=title"), "");
    EXPECT_EQ(media::probe(bare, "stream=codec_name", "v:0"), "");
    // Nothing of the covers and subtitles stays in the cache.
    EXPECT_TRUE(QDir(user.cache()).entryList({"*.jpg", "*.vtt"}, QDir::Files).isEmpty());
}
