#include "app/CliApplication.h"

#include "catalogue/YouTubeVideo.h"
#include "catalogue/engine/YtDlp.h"
#include "catalogue/tools/ToolUpdater.h"
#include "core/youtube_error.h"
#include "downloads/DownloadHistory.h"
#include "downloads/DownloadItem.h"
#include "downloads/HistoryQueue.h"
#include "downloads/PartialJob.h"
#include "downloads/Settings.h"
#include "platform/Log.h"
#include "platform/Text.h"
#include "platform/UserFolders.h"
#include "platform/Version.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFileInfo>
#include <QLocale>
#include <QTimer>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace {

const char* const commandsText = R"(Commands:
  search WORDS...        list the videos the search finds: number, length, title, address
  streams ADDRESS        list the streams of the video at a watch-page address, the best marked
  audio ADDRESS          save the video's sound track in the Downloads folder: MP3, or as it came
  video ADDRESS          save the video in the Downloads folder (as MP4 when converted), titled, with its cover
  history                list every download, newest first: date, kind, title, file, size, state
  resume                 go on with every download an earlier run left unfinished
  tools                  show the yt-dlp and the JavaScript runtime that run: version, whose, age, path
  tools update           get the current yt-dlp and Deno releases, verified, into Melodrift's own folder)";

std::atomic<bool> interrupted{false};

// Titles, addresses and the texts of servers and ffmpeg pass through here: no
// control character of theirs reaches the terminal.
void print(const QString& text)
{
    std::fputs(platform::withoutControls(text, QChar(0xFFFD), true).toLocal8Bit().constData(), stdout);
    std::fflush(stdout);
}

void complain(const QString& text)
{
    std::fputs((platform::withoutControls(text, QChar(0xFFFD), true) + QLatin1Char('\n')).toLocal8Bit().constData(),
               stderr);
}

// A failure that an old yt-dlp gives says how to get a current one.
void complainOfFailure(const QString& text)
{
    complain(text);
    if (engine::YtDlp::isOutdatedFailure(text))
        complain(QStringLiteral("'melodrift-cli tools update' gets the current yt-dlp."));
}

QString originText(tools::Tool::Origin origin)
{
    switch (origin) {
    case tools::Tool::Origin::own:
        return QStringLiteral("Melodrift's own");
    case tools::Tool::Origin::chosen:
        return QStringLiteral("chosen");
    default:
        return QStringLiteral("PATH");
    }
}

QString sizeText(qint64 bytes)
{
    return QLocale::c().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

// Prints a job's progress: a bar redrawn in place on a terminal, plain lines
// (one per state and per tenth) anywhere else.
class ProgressPrinter {
public:
    ProgressPrinter() : terminal_(::isatty(STDOUT_FILENO) == 1) {}

    void show(const DownloadItem& job)
    {
        const QString status = job.statusString();
        const auto value = job.progressValue();
        const auto maximum = job.progressMaxValue();
        const int percent = value && maximum && *maximum > 0
                                ? static_cast<int>(std::clamp<qint64>(*value * 100 / *maximum, 0, 100))
                                : -1;
        if (terminal_) {
            if (status != lastStatus_ && !lastStatus_.isEmpty())
                print(QStringLiteral("\n"));
            const int filled = percent < 0 ? 0 : percent / 5;
            std::fputs("\r", stdout);
            print(QStringLiteral("%1 [%2%3] %4")
                      .arg(status, -12)
                      .arg(QString(filled, QLatin1Char('#')), QString(20 - filled, QLatin1Char('.')))
                      .arg(percent < 0 ? QStringLiteral("    ") : QStringLiteral("%1%").arg(percent, 3)));
        } else if (status != lastStatus_ || (percent >= 0 && percent / 10 != lastPercent_ / 10)) {
            print(percent < 0 ? status + QLatin1Char('\n') : QStringLiteral("%1 %2%\n").arg(status).arg(percent));
        }
        lastStatus_ = status;
        lastPercent_ = percent;
    }

    void end()
    {
        if (terminal_ && !lastStatus_.isEmpty())
            print(QStringLiteral("\n"));
    }

private:
    const bool terminal_;
    QString lastStatus_;
    int lastPercent_ = -1;
};

bool isFinal(DownloadItem::State state)
{
    using State = DownloadItem::State;
    return state == State::Done || state == State::Failed || state == State::Canceled;
}

} // namespace

CliApplication::CliApplication(QStringList arguments) : arguments_(std::move(arguments)) {}

int CliApplication::usage(const QString& complaint)
{
    complain(complaint);
    complain(QStringLiteral("Try 'melodrift-cli --help'."));
    return 2;
}

int CliApplication::run()
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromUtf8(commandsText));
    const QCommandLineOption convertOption(
        QStringLiteral("convert"),
        QStringLiteral("for video: convert streams that are not MP4 to H.264 MP4 (default: the stored setting, "
                       "which is to convert)"));
    const QCommandLineOption noConvertOption(QStringLiteral("no-convert"),
                                             QStringLiteral("for video: copy every stream as it is"));
    const QCommandLineOption serviceOption(QStringLiteral("service"),
                                           QStringLiteral("the video service at BASE (also MELODRIFT_SERVICE=BASE)"),
                                           QStringLiteral("BASE"));
    const QCommandLineOption engineOption(
        QStringLiteral("engine"),
        QStringLiteral("find videos with Melodrift's own reader (classic), with yt-dlp, or automatically: yt-dlp "
                       "for the real service when there is one, else classic (also MELODRIFT_ENGINE; default: the "
                       "stored setting, which is auto)"),
        QStringLiteral("auto|classic|yt-dlp"));
    const QCommandLineOption signInOption(
        QStringLiteral("cookies-from-browser"),
        QStringLiteral("yt-dlp signs in as the browser does: %1 (default: the stored setting, which is none)")
            .arg(engine::Choice::browsers().join(QStringLiteral(", "))),
        QStringLiteral("BROWSER"));
    const QCommandLineOption timeoutOption(QStringLiteral("timeout"),
                                           QStringLiteral("give a download up after SECONDS without data (default 60)"),
                                           QStringLiteral("SECONDS"));
    const QCommandLineOption connectionsOption(
        QStringLiteral("connections"),
        QStringLiteral("fetch a stream over up to N connections at once, 1 to 8 (default: the stored setting, "
                       "which is 4)"),
        QStringLiteral("N"));
    const QCommandLineOption retriesOption(
        QStringLiteral("retries"),
        QStringLiteral("ask for a broken piece of a stream again up to N times before giving up (default 10)"),
        QStringLiteral("N"));
    const QCommandLineOption qualityOption(
        QStringLiteral("quality"),
        QStringLiteral("for video: the highest picture, in lines: 2160, 1440, 1080, 720, 480, or best (default: the "
                       "stored setting, which is best)"),
        QStringLiteral("LINES"));
    const QCommandLineOption soundOption(
        QStringLiteral("sound"),
        QStringLiteral("for audio: MP3 at 320 kbit/s, or the best sound as it came, not re-encoded (M4A, Opus, "
                       "Ogg) (default: the stored setting, which is mp3)"),
        QStringLiteral("mp3|original"));
    const QCommandLineOption subtitlesOption(
        QStringLiteral("subtitles"),
        QStringLiteral("for video: the subtitles in LANG (en, de, pt-BR …), in the MP4 and beside it as "
                       "NAME.LANG.srt; none for none (default: the stored setting, which is none)"),
        QStringLiteral("LANG"));
    const QCommandLineOption automaticSubtitlesOption(
        QStringLiteral("auto-subtitles"),
        QStringLiteral("for video: the service's automatic subtitles when the uploader made none"));
    const QCommandLineOption noTagsOption(
        QStringLiteral("no-tags"), QStringLiteral("save bare files: no title, channel, date or cover in them"));
    const QCommandLineOption outputOption(
        QStringLiteral("output"), QStringLiteral("save into DIR for this run (default: the stored Downloads folder)"),
        QStringLiteral("DIR"));
    const QCommandLineOption verboseOption(QStringLiteral("verbose"),
                                           QStringLiteral("show the program's log on standard error"));
    const QCommandLineOption helpOption(QStringLiteral("help"), QStringLiteral("show this text"));
    const QCommandLineOption versionOption(QStringLiteral("version"), QStringLiteral("show the version"));
    parser.addOptions(
        {convertOption, noConvertOption, qualityOption, soundOption, subtitlesOption, automaticSubtitlesOption,
         noTagsOption, serviceOption, engineOption, signInOption, timeoutOption, connectionsOption, retriesOption,
         outputOption, verboseOption, helpOption, versionOption});
    parser.addPositionalArgument(QStringLiteral("command"),
                                 QStringLiteral("one of the commands above, with its words or address"));

    const bool parsed = parser.parse(arguments_);
    if (parser.isSet(helpOption)) {
        print(parser.helpText());
        return 0;
    }
    if (parser.isSet(versionOption)) {
        print(QStringLiteral("melodrift-cli %1\n").arg(QLatin1String(platform::version)));
        return 0;
    }
    if (!parsed)
        return usage(parser.errorText());
    if (parser.isSet(timeoutOption)) {
        bool number = false;
        timeoutSeconds_ = parser.value(timeoutOption).toInt(&number);
        if (!number || *timeoutSeconds_ <= 0)
            return usage(QStringLiteral("--timeout needs a number of seconds."));
    }
    if (parser.isSet(connectionsOption)) {
        bool number = false;
        connections_ = parser.value(connectionsOption).toInt(&number);
        if (!number || *connections_ < 1 || *connections_ > HTTPDownload::mostConnections)
            return usage(QStringLiteral("--connections needs a number from 1 to 8."));
    }
    if (parser.isSet(retriesOption)) {
        bool number = false;
        retries_ = parser.value(retriesOption).toInt(&number);
        if (!number || *retries_ < 0 || *retries_ > 100)
            return usage(QStringLiteral("--retries needs a number from 0 to 100."));
    }
    options_ = SaveOptions::current();
    // The later of --convert and --no-convert counts.
    for (const QString& name : parser.optionNames()) {
        if (name == convertOption.names().constFirst())
            options_.convert = true;
        else if (name == noConvertOption.names().constFirst())
            options_.convert = false;
    }
    if (parser.isSet(qualityOption)) {
        const QString lines = parser.value(qualityOption).toLower().remove(QLatin1Char('p'));
        const int height = lines == QLatin1String("best") ? 0 : lines.toInt();
        if (std::ranges::find(Settings::videoQualities, height) == std::end(Settings::videoQualities) ||
            (height == 0 && lines != QLatin1String("best")))
            return usage(QStringLiteral("--quality takes best, 2160, 1440, 1080, 720 or 480."));
        options_.quality = height;
    }
    if (parser.isSet(soundOption)) {
        const auto sound = Settings::soundNamed(parser.value(soundOption).toLower());
        if (!sound)
            return usage(QStringLiteral("--sound takes mp3 or original."));
        options_.sound = *sound;
    }
    if (parser.isSet(subtitlesOption)) {
        const QString language = parser.value(subtitlesOption);
        if (language == QLatin1String("none"))
            options_.subtitles.clear();
        else if (Settings::isLanguageCode(language))
            options_.subtitles = language;
        else
            return usage(QStringLiteral("--subtitles takes a language code such as en, de or pt-BR, or none."));
    }
    if (parser.isSet(automaticSubtitlesOption))
        options_.automaticSubtitles = true;
    if (parser.isSet(noTagsOption))
        options_.tags = false;
    if (parser.isSet(outputOption)) {
        output_ = QFileInfo(parser.value(outputOption)).absoluteFilePath();
        if (parser.value(outputOption).isEmpty())
            return usage(QStringLiteral("--output needs a folder."));
    }
    verbose_ = parser.isSet(verboseOption);
    endpoints_ = platform::ServiceEndpoints::fromEnvironment(parser.value(serviceOption));
    QString engineError;
    auto choice = engine::Choice::resolve(parser.value(engineOption), Settings::engineChoice(), &engineError);
    if (!choice)
        return usage(engineError);
    if (parser.isSet(signInOption)) {
        choice->signIn = parser.value(signInOption).toLower();
        if (!engine::Choice::browsers().contains(choice->signIn))
            return usage(QStringLiteral("--cookies-from-browser takes one of %1.")
                             .arg(engine::Choice::browsers().join(QStringLiteral(", "))));
    }
    engine_ = engine::Engine::create(*choice, endpoints_);
    QStringList words = parser.positionalArguments();
    if (!verbose_)
        platform::Log::setSink([](const QString&) {});
    if (words.isEmpty())
        return usage(QStringLiteral("No command given."));

    const QString command = words.takeFirst();
    if (command == QLatin1String("tools")) {
        if (words.isEmpty())
            return listTools(choice->ytDlp);
        if (words == QStringList{QStringLiteral("update")})
            return updateTools(choice->ytDlp);
        return usage(QStringLiteral("tools takes nothing, or update."));
    }
    if (command == QLatin1String("history"))
        return words.isEmpty() ? history() : usage(QStringLiteral("history takes no words."));
    if (command == QLatin1String("resume"))
        return words.isEmpty() ? resumeAll() : usage(QStringLiteral("resume takes no words."));
    if (command == QLatin1String("search"))
        return words.isEmpty() ? usage(QStringLiteral("search needs words.")) : search(words);
    if (command != QLatin1String("streams") && command != QLatin1String("audio") && command != QLatin1String("video"))
        return usage(QStringLiteral("Unknown command %1.").arg(command));
    if (words.size() != 1)
        return usage(QStringLiteral("%1 needs one watch-page address.").arg(command));
    if (command == QLatin1String("streams"))
        return streams(words[0]);
    return download(words[0], command == QLatin1String("audio"));
}

int CliApplication::search(const QStringList& words)
{
    const auto searcher = engine_->newSearch();
    std::optional<platform::Error> failure;
    searcher->errorEvent.set([&failure](YouTubeSearch&, const platform::Error& e) { failure = e; });
    searcher->setSearchString(words.join(QLatin1Char(' ')));
    searcher->searchStart();
    searcher->waitForFinish();
    if (failure) {
        complainOfFailure(QStringLiteral("Search failed: %1").arg(failure->description));
        return 1;
    }
    const auto videos = searcher->videos();
    if (videos.isEmpty())
        print(QStringLiteral("No videos found.\n"));
    for (qsizetype i = 0; i < videos.size(); ++i)
        print(QStringLiteral("%1. %2  %3\n    %4\n")
                  .arg(i + 1, 2)
                  .arg(platform::clockText(videos[i]->seconds()), 7)
                  .arg(videos[i]->title(), videos[i]->link().toString()));
    return 0;
}

std::shared_ptr<YouTubeVideo> CliApplication::videoAt(const QString& address)
{
    const QUrl url(address, QUrl::StrictMode);
    if (!url.isValid() || url.isRelative() || !url.scheme().startsWith(QLatin1String("http"))) {
        usage(QStringLiteral("%1 is no watch-page address.").arg(address));
        return nullptr;
    }
    const auto video = engine_->videoAt(url);
    try {
        video->parseUrls();
    } catch (const youtube_error& e) {
        complainOfFailure(QStringLiteral("YouTube: %1").arg(QString::fromUtf8(e.what())));
        return nullptr;
    }
    if (video->Urls().isEmpty() && video->separateUrls().isEmpty()) {
        complain(QStringLiteral("No video with streams at %1.").arg(address));
        return nullptr;
    }
    return video;
}

int CliApplication::streams(const QString& address)
{
    const auto video = videoAt(address);
    if (!video)
        return 1;
    // Marked: what `video` saves (a picture and a sound alone when they are joined).
    const bool joined = video->isBetterJoined();
    const auto best = joined ? nullptr : video->UrlWithBestQuality();
    const auto picture = joined ? video->UrlWithBestPicture() : nullptr;
    const auto sound = joined ? video->UrlWithBestSound() : nullptr;
    print(video->title() + QLatin1Char('\n'));
    for (const auto& stream : video->Urls() + video->separateUrls()) {
        const YouTubeUrl::Media media = stream->media();
        print(QStringLiteral("%1 %2  %3  %4%5\n")
                  .arg(stream == best || stream == picture || stream == sound ? QStringLiteral("*") : QStringLiteral(" "))
                  .arg(stream->quality(), -6)
                  .arg(stream->localizedType(), -11)
                  .arg(stream->type())
                  .arg(media == YouTubeUrl::Media::PictureOnly ? QStringLiteral("  (picture only)")
                       : media == YouTubeUrl::Media::SoundOnly ? QStringLiteral("  (sound only)")
                                                               : QString()));
    }
    // The heights `video --quality` chooses among; the one it saves now said so.
    const QList<YouTubeVideo::Quality> qualities = video->qualities();
    const auto chosen = options_.quality > 0 ? video->qualityUpTo(options_.quality) : std::nullopt;
    if (!qualities.isEmpty())
        print(QStringLiteral("Qualities:\n"));
    for (const YouTubeVideo::Quality& quality : qualities) {
        const bool saved = chosen ? chosen->picture == quality.picture
                                  : quality.picture == best || quality.picture == picture;
        print(QStringLiteral("  %1  %2  %3%4\n")
                  .arg(quality.label(), -9)
                  .arg(quality.sound ? QStringLiteral("picture and sound joined") : QStringLiteral("with sound"), -24)
                  .arg(quality.bytes > 0 ? sizeText(quality.bytes) : QStringLiteral("size not known"), -14)
                  .arg(saved ? QStringLiteral("  (saved by video)") : QString()));
    }
    return 0;
}

int CliApplication::history()
{
    DownloadHistory store;
    const QLocale locale;
    constexpr int pageSize = 500;
    qint64 last = 0;
    for (;;) {
        const QList<DownloadRecord> entries = store.olderThan(last, pageSize);
        for (const DownloadRecord& entry : entries) {
            const QString state = entry.state == DownloadRecord::State::Done       ? QStringLiteral("done")
                                  : entry.state == DownloadRecord::State::Failed   ? QStringLiteral("failed: ") + entry.reason
                                  : entry.state == DownloadRecord::State::Canceled ? QStringLiteral("canceled")
                                                                                 : QStringLiteral("not finished");
            QStringList fields{entry.added.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm")), entry.kind,
                               entry.title, entry.file,
                               entry.size >= 0 ? locale.formattedDataSize(entry.size, 1, QLocale::DataSizeSIFormat)
                                               : QStringLiteral("-"),
                               state};
            // One line per entry, whatever a title or a reason holds.
            for (QString& field : fields)
                field = platform::withoutControls(field);
            print(fields.join(QStringLiteral("  ")) + QLatin1Char('\n'));
        }
        if (entries.size() < pageSize)
            return 0;
        last = entries.back().id;
    }
}

namespace {

// The downloads of earlier runs that were cut off and can go on: not finished,
// their bytes kept, and no program holding them. The cache's left-overs go first.
QList<std::pair<DownloadRecord, PartialJob>> interruptedDownloads()
{
    DownloadHistory store;
    DownloadItem::Cleanup(&store);
    QList<std::pair<DownloadRecord, PartialJob>> found;
    for (const DownloadRecord& entry : store.unfinished())
        if (!PartialJob::isHeld(entry.partial))
            if (const auto job = PartialJob::read(entry.partial))
                found.append({entry, *job});
    return found;
}

} // namespace

int CliApplication::download(const QString& address, bool audio)
{
    // Refused before anything is fetched.
    const QString folder = output_.isEmpty() ? Settings::downloadFolder() : output_;
    if (const QString why = platform::UserFolders::whyNotWritable(folder); !why.isEmpty()) {
        complain(QStringLiteral("Cannot save into %1: %2.").arg(folder, why));
        return 1;
    }
    // The same command for the same video as a run that was cut off goes on where it stopped.
    const QUrl url(address, QUrl::StrictMode);
    for (const auto& [entry, job] : interruptedDownloads())
        if (QUrl(entry.link) == url && entry.audio == audio)
            return resume(entry, job, folder);

    const auto video = videoAt(address);
    if (!video)
        return 1;
    const std::shared_ptr<DownloadItem> job = DownloadItem::initBest(video, audio, options_);
    if (!job) {
        complain(QStringLiteral("None of the streams at %1 is of a known quality.").arg(address));
        return 1;
    }
    job->setDownloadFolder(folder);
    return record(job);
}

int CliApplication::resumeAll()
{
    const auto interrupted = interruptedDownloads();
    if (interrupted.isEmpty()) {
        print(QStringLiteral("No download was cut off.\n"));
        return 0;
    }
    int status = 0;
    for (const auto& [entry, job] : interrupted) {
        print(entry.title + QLatin1Char('\n'));
        status = std::max(status, resume(entry, job, output_.isEmpty() ? job.folder : output_));
    }
    return status;
}

int CliApplication::resume(const DownloadRecord& entry, const PartialJob& partialJob, const QString& folder)
{
    const auto [done, total] = partialJob.progress(entry.partial);
    if (total > 0)
        print(QStringLiteral("Going on where an earlier run stopped (%1 %).\n").arg(done * 100 / total));
    // The streams are read again: their addresses expire.
    const auto video = videoAt(entry.link);
    if (!video)
        return 1;
    auto job = DownloadItem::initResumed(video, partialJob, entry.partial);
    if (!job) // its streams are no longer offered: begun anew
        job = DownloadItem::initBest(video, entry.audio, options_);
    if (!job) {
        complain(QStringLiteral("None of the streams at %1 is of a known quality.").arg(entry.link));
        return 1;
    }
    job->setDownloadFolder(folder.isEmpty() ? Settings::downloadFolder() : folder);
    job->setResumedEntry(entry.id);
    return record(job);
}

int CliApplication::record(const std::shared_ptr<DownloadItem>& job)
{
    // Written when the job is added and when it ends, as the window writes it,
    // so that a kill loses nothing that ended; the store waits for its writes.
    HistoryQueue history;
    const HistoryQueue::Ticket ticket = history.added(*job);
    const int status = follow(job);
    history.ended(ticket, *job);
    return status;
}

int CliApplication::follow(const std::shared_ptr<DownloadItem>& job)
{
    if (timeoutSeconds_)
        job->setTransferTimeout(std::chrono::seconds(*timeoutSeconds_));
    if (connections_)
        job->setConnections(*connections_);
    if (retries_)
        job->setRetries(*retries_);
    ProgressPrinter progress;
    job->newDataEvent.set([&progress](DownloadItem& j) {
        progress.show(j);
        if (isFinal(j.state()))
            QCoreApplication::quit();
    });
    std::signal(SIGINT, [](int) { interrupted = true; });
    std::signal(SIGTERM, [](int) { interrupted = true; });
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&job] {
        if (interrupted && !isFinal(job->state()))
            job->cancel();
    });
    watch.start(100);

    job->startDownload();
    if (!isFinal(job->state()))
        QCoreApplication::exec();
    progress.end();

    switch (job->state()) {
    case DownloadItem::State::Done:
        if (QFileInfo::exists(job->fileToPlay())) {
            print(job->fileToPlay() + QLatin1Char('\n'));
            return 0;
        }
        complain(QStringLiteral("The finished file is missing: %1").arg(job->fileToPlay()));
        return 1;
    case DownloadItem::State::Failed:
        complain(QStringLiteral("Failed: %1").arg(job->failureReason()));
        return 1;
    default:
        complain(QStringLiteral("Cancelled."));
        return 130;
    }
}

int CliApplication::listTools(const QString& chosen)
{
    const tools::Toolbox toolbox;
    const tools::Tool ytDlp = toolbox.ytDlp(chosen);
    const tools::Tool runtime = toolbox.jsRuntime();
    const auto line = [](const QString& what, const tools::Tool& tool, const QString& version) {
        if (!tool.found())
            return QStringLiteral("%1  none (melodrift-cli tools update gets it)\n").arg(what, -18);
        const auto age = tool.ageDays();
        return QStringLiteral("%1  %2  %3  %4  %5\n")
            .arg(what, -18)
            .arg(version.isEmpty() ? QStringLiteral("(no version)") : version, -12)
            .arg(originText(tool.origin), -15)
            .arg(age ? QStringLiteral("%1 days").arg(*age) : QStringLiteral("?"), -9)
            .arg(tool.path);
    };
    print(line(QStringLiteral("yt-dlp"), ytDlp, ytDlp.version));
    print(line(QStringLiteral("JavaScript runtime"), runtime,
               runtime.version.isEmpty() ? QString() : runtime.displayName() + QLatin1Char(' ') + runtime.version));
    if (const auto age = ytDlp.ageDays(); ytDlp.found() && age && *age > tools::Toolbox::oldAfterDays)
        complain(QStringLiteral("Warning: this yt-dlp is %1 days old, and the service changes often; "
                                "'melodrift-cli tools update' gets the current one.")
                     .arg(*age));
    return 0;
}

int CliApplication::updateTools(const QString& chosen)
{
    tools::ToolUpdater updater(tools::ToolFolder(), tools::Sources::standard());
    const bool terminal = ::isatty(STDOUT_FILENO) == 1;
    if (terminal)
        updater.setProgress([](const QString& tool, qint64 done, std::optional<qint64> total) {
            std::fputs("\r", stdout);
            print(QStringLiteral("Fetching %1  %2%3   ")
                      .arg(tool, sizeText(done), total ? QStringLiteral(" of ") + sizeText(*total) : QString()));
        });
    bool allCurrent = true;
    for (const auto update : {&tools::ToolUpdater::updateYtDlp, &tools::ToolUpdater::updateDeno}) {
        const tools::Outcome outcome = (updater.*update)();
        if (terminal)
            std::fputs("\r\x1b[K", stdout); // the progress line goes
        switch (outcome.state) {
        case tools::Outcome::State::installed:
            print(QStringLiteral("%1 %2: installed\n").arg(outcome.tool, outcome.version));
            break;
        case tools::Outcome::State::current:
            print(QStringLiteral("%1 %2: already current\n").arg(outcome.tool, outcome.version));
            break;
        case tools::Outcome::State::failed:
            allCurrent = false;
            complain(QStringLiteral("%1: not updated, nothing was changed: %2").arg(outcome.tool, outcome.reason));
            break;
        }
        if (verbose_)
            platform::Log::line(QStringLiteral("Tools: %1 bytes fetched for %2").arg(outcome.fetched).arg(outcome.tool));
    }
    if (!chosen.isEmpty())
        print(QStringLiteral("The yt-dlp chosen in the settings runs instead: %1\n").arg(chosen));
    return allCurrent ? 0 : 1;
}
