#include "downloads/DownloadItem.h"

#include "core/youtube_error.h"
#include "downloads/AudioDownloadItem.h"
#include "downloads/DownloadHistory.h"
#include "downloads/JoinedVideoDownloadItem.h"
#include "downloads/Settings.h"
#include "downloads/VideoDownloadItem.h"
#include "platform/Localization.h"
#include "platform/Log.h"
#include "platform/Text.h"
#include "platform/UserFolders.h"
#include "platform/WebAddress.h"
#include "platform/WorkerPool.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using platform::Log;

namespace {

constexpr qsizetype longestDestination = 1000;
constexpr int nameBytes = 255;
// Room the last name keeps for " (n)" and "." with a suffix.
constexpr int nameReserve = 24;

// The longest head of name that fits in maxBytes of UTF-8, cut between characters.
QString cutToBytes(const QString& name, int maxBytes)
{
    int bytes = 0;
    qsizetype end = 0;
    while (end < name.size()) {
        const bool pair = name[end].isHighSurrogate() && end + 1 < name.size() && name[end + 1].isLowSurrogate();
        const QString character = name.mid(end, pair ? 2 : 1);
        bytes += static_cast<int>(character.toUtf8().size());
        if (bytes > maxBytes)
            break;
        end += character.size();
    }
    return name.left(end);
}

} // namespace

QString DownloadItem::destinationFor(const QString& downloadFolder, const QString& title)
{
    QString path = QStringLiteral("%1/%2").arg(downloadFolder, title).left(longestDestination);
    if (!path.isEmpty() && path.back().isHighSurrogate())
        path.chop(1);

    QString relative = path.mid(downloadFolder.size() + 1);
    if (const qsizetype nul = relative.indexOf(QChar(0)); nul >= 0)
        relative.truncate(nul);
    relative = platform::withoutControls(relative, QLatin1Char('_'));
    // A title may name subfolders with "/", but never one outside the folder.
    QStringList names = relative.split(QLatin1Char('/'));
    for (qsizetype i = 0; i < names.size(); ++i) {
        QString& name = names[i];
        if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String(".."))
            name = QStringLiteral("_");
        name = cutToBytes(name, i + 1 == names.size() ? nameBytes - nameReserve : nameBytes);
    }
    return downloadFolder + QLatin1Char('/') + names.join(QLatin1Char('/'));
}

DownloadItem::DownloadItem(std::shared_ptr<YouTubeVideo> video, std::shared_ptr<YouTubeUrl> url)
    : video_(std::move(video)), url_(std::move(url))
{
    statusString_.set(platform::Localization::string("DownloadItem.Waiting"));
    tempfile_.set(getCacheFile());
    setDownloadFolder(Settings::downloadFolder());
}

void DownloadItem::setDownloadFolder(const QString& folder)
{
    downloadFolder_.set(folder);
    destinationfile_.set(destinationFor(folder, video_->title()));
    Log::line(QStringLiteral("destinationfile: ") + destinationfile());
}

std::shared_ptr<DownloadItem> DownloadItem::create(std::shared_ptr<YouTubeVideo> video,
                                                   std::shared_ptr<YouTubeUrl> url)
{
    return std::shared_ptr<DownloadItem>(new DownloadItem(std::move(video), std::move(url)));
}

std::shared_ptr<DownloadItem> DownloadItem::initBest(const std::shared_ptr<YouTubeVideo>& video, bool audio,
                                                     const SaveOptions& options)
{
    std::shared_ptr<DownloadItem> job;
    if (audio) {
        job = AudioDownloadItem::initBest(video, audioBitrate);
    } else if (options.quality > 0) {
        // The best no higher than asked; above it only when there is nothing lower.
        if (const auto quality = video->qualityUpTo(options.quality))
            return initWithQuality(video, *quality, options);
    } else {
        job = VideoDownloadItem::initBest(video, options.convert);
    }
    if (job)
        job->setOptions(options);
    return job;
}

std::shared_ptr<DownloadItem> DownloadItem::initWithStream(const std::shared_ptr<YouTubeVideo>& video,
                                                           const std::shared_ptr<YouTubeUrl>& stream, bool audio,
                                                           const SaveOptions& options)
{
    std::shared_ptr<DownloadItem> job;
    if (audio) {
        job = AudioDownloadItem::initWithBitrate(video, stream, audioBitrate);
    } else {
        const auto video_job = VideoDownloadItem::init(video, stream);
        if (options.convert)
            video_job->setConvert(*options.convert);
        job = video_job;
    }
    job->setOptions(options);
    return job;
}

std::shared_ptr<DownloadItem> DownloadItem::initWithQuality(const std::shared_ptr<YouTubeVideo>& video,
                                                            const YouTubeVideo::Quality& quality,
                                                            const SaveOptions& options)
{
    if (!quality.sound)
        return initWithStream(video, quality.picture, false, options);
    const auto job = JoinedVideoDownloadItem::init(video, quality.picture, quality.sound);
    job->setOptions(options);
    return job;
}

std::shared_ptr<DownloadItem> DownloadItem::initResumed(const std::shared_ptr<YouTubeVideo>& video,
                                                        const PartialJob& job, const QString& partial)
{
    const auto stream = video->streamOfFormat(job.format);
    if (!stream)
        return nullptr;
    std::shared_ptr<DownloadItem> item;
    if (job.audio) {
        item = AudioDownloadItem::initWithBitrate(video, stream, audioBitrate);
    } else if (!job.soundFormat.isEmpty()) {
        const auto sound = video->streamOfFormat(job.soundFormat);
        if (!sound)
            return nullptr;
        item = JoinedVideoDownloadItem::init(video, stream, sound);
    } else {
        const auto made = VideoDownloadItem::init(video, stream);
        if (job.convert)
            made->setConvert(*job.convert);
        item = made;
    }
    // A page read again may not say what the search did of the video.
    YouTubeVideo::About about = video->about();
    if (about.channel.isEmpty())
        about.channel = job.channel;
    if (about.uploadDate.isEmpty())
        about.uploadDate = job.uploadDate;
    if (const QUrl cover(job.cover, QUrl::StrictMode); !about.cover && platform::isWebAddress(cover))
        about.cover = cover;
    video->setAbout(about);
    SaveOptions options = SaveOptions::current();
    options.convert = job.convert;
    if (job.sound)
        options.sound = *job.sound;
    if (job.tags)
        options.tags = *job.tags;
    if (job.subtitles)
        options.subtitles = *job.subtitles;
    item->setOptions(options);
    item->adoptPartial(partial, job);
    if (!job.folder.isEmpty())
        item->setDownloadFolder(job.folder);
    return item;
}

PartialJob DownloadItem::partialJob() const
{
    PartialJob job;
    job.link = video_->link().toString();
    job.title = video_->title();
    job.audio = isAudio();
    job.format = url_->formatId();
    job.folder = downloadFolder();
    job.convert = options_.convert;
    job.sound = options_.sound;
    job.tags = options_.tags;
    job.subtitles = options_.subtitles;
    const YouTubeVideo::About about = video_->about();
    job.channel = about.channel;
    job.uploadDate = about.uploadDate;
    if (about.cover)
        job.cover = about.cover->toString(QUrl::FullyEncoded);
    return job;
}

void DownloadItem::adoptPartial(const QString& partial, const PartialJob&)
{
    tempfile_.set(partial);
    resume_ = true;
}

bool DownloadItem::takeStreams(const YouTubeVideo& again)
{
    const auto stream = again.streamOfFormat(url_->formatId());
    if (!stream)
        return false;
    url_->setUrl(stream->url());
    return true;
}

void DownloadItem::pause()
{
    if (state_ != State::Downloading)
        return;
    Log::line(QStringLiteral("Paused: ") + video_->title());
    stopTransfers();
    setState(State::Paused, "DownloadItem.Paused");
    throwUpdateEvent();
}

void DownloadItem::resume()
{
    if (state_ != State::Paused)
        return;
    setState(State::Waiting, "DownloadItem.Waiting");
    throwUpdateEvent();
    // The streams' addresses may have expired meanwhile: read again.
    const auto again = video_->fresh();
    const std::weak_ptr<DownloadItem> self = weak_from_this();
    platform::WorkerPool::run(
        QCoreApplication::instance(),
        [again] {
            try {
                again->parseUrls();
                return QString();
            } catch (const youtube_error& e) {
                return QString::fromUtf8(e.what());
            }
        },
        [self, again](const QString& error) {
            const auto item = self.lock();
            if (!item || item->state() != State::Waiting)
                return;
            if (!error.isEmpty() || !item->takeStreams(*again)) {
                item->fail(error.isEmpty() ? QStringLiteral("The stream is no longer offered.") : error);
                return;
            }
            item->dropTransfers();
            item->resume_ = true;
            item->startDownload();
        });
}

DownloadItem::~DownloadItem()
{
    if (httpDownload_)
        httpDownload_->cancel();
    dropExtras();
    releaseTempfile();
}

std::optional<YouTubeVideo::Subtitles> DownloadItem::wantedSubtitles() const
{
    if (isAudio() || options_.subtitles.isEmpty())
        return std::nullopt;
    return video_->subtitlesIn(options_.subtitles, options_.automaticSubtitles);
}

void DownloadItem::startExtras()
{
    if (extrasStarted_)
        return;
    extrasStarted_ = true;
    const YouTubeVideo::About about = video_->about();
    const std::optional<QUrl> cover = options_.tags ? about.cover : std::nullopt;
    const auto subtitles = wantedSubtitles();
    if (!cover && !subtitles) {
        extras_ = SaveExtras::Files{};
        return;
    }
    extrasCancel_ = std::make_shared<platform::CancelToken>();
    const std::optional<QUrl> subtitlesUrl = subtitles ? std::optional<QUrl>(subtitles->url) : std::nullopt;
    const std::weak_ptr<DownloadItem> self = weak_from_this();
    platform::WorkerPool::run(
        QCoreApplication::instance(),
        [cover, subtitlesUrl, beside = tempfile(), cancel = extrasCancel_] {
            return SaveExtras::fetch(cover, subtitlesUrl, beside, cancel);
        },
        [self](const SaveExtras::Files& files) {
            const auto job = self.lock();
            if (!job || job->isCanceled() || job->state_ == State::Failed) {
                SaveExtras::remove(files);
                return;
            }
            job->extras_ = files;
            if (auto next = std::exchange(job->afterExtras_, nullptr))
                next();
        });
}

void DownloadItem::whenExtrasReady(std::function<void()> next)
{
    startExtras();
    if (extras_)
        next();
    else
        afterExtras_ = std::move(next);
}

FileTags DownloadItem::fileTags() const
{
    FileTags tags;
    if (options_.tags) {
        const YouTubeVideo::About about = video_->about();
        tags.title = FileTags::clean(video_->title());
        tags.artist = FileTags::clean(about.channel);
        tags.date = about.uploadDate;
        if (platform::isWebAddress(video_->link()))
            tags.address = FileTags::clean(video_->link().toString(QUrl::FullyEncoded));
    }
    if (extras_) {
        tags.coverFile = extras_->cover;
        tags.subtitleFile = extras_->subtitles;
        if (const auto subtitles = wantedSubtitles(); subtitles && !extras_->subtitles.isEmpty())
            tags.subtitleLanguage = subtitles->language;
    }
    return tags;
}

void DownloadItem::dropExtras()
{
    if (extrasCancel_)
        extrasCancel_->cancel();
    afterExtras_ = nullptr;
    if (extras_)
        SaveExtras::remove(*extras_);
    extras_.reset();
}

QString DownloadItem::getCacheFolder()
{
    const QString folder = platform::UserFolders::cache();
    if (!QFileInfo(folder).isDir())
        Log::line(QStringLiteral("Error: Create folder failed ") + folder);
    return folder;
}

QString DownloadItem::getCacheFile()
{
    QString candidate;
    do
        candidate = getCacheFolder() + QLatin1Char('/') + HTTPDownload::generateUuidString();
    while (QFileInfo::exists(candidate));
    Log::line(QStringLiteral("tempfile: ") + candidate);
    return candidate;
}

namespace {

// The partial file a record beside it belongs to; the path itself for any other.
QString ownerOf(const QString& path)
{
    for (const QLatin1String suffix : {QLatin1String(".ranges"), QLatin1String(".job")})
        if (path.endsWith(suffix))
            return path.chopped(suffix.size());
    return path;
}

} // namespace

void DownloadItem::Cleanup(DownloadHistory* history)
{
    // What an unfinished download of the history still has stays, for a month.
    QSet<QString> spared;
    if (history) {
        history->forgetPartials(QDateTime::currentDateTimeUtc().addDays(-keptUnfinishedDays));
        for (const DownloadRecord& entry : history->unfinished()) {
            const auto job = PartialJob::read(entry.partial);
            for (const QString& file : job ? job->files(entry.partial) : QStringList{entry.partial})
                spared.insert(QFileInfo(file).absoluteFilePath());
        }
    }
    const QString folder = platform::UserFolders::cache();
    QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    while (entries.hasNext()) {
        const QString path = entries.next();
        const QFileInfo info(path);
        if (info.isDir() && !info.isSymLink()) {
            if (!QDir(path).removeRecursively())
                Log::line(QStringLiteral("cleanup failed: ") + path);
            continue;
        }
        // A running job of another instance holds its file (and with it its records): leave them.
        if (spared.contains(info.absoluteFilePath()) || PartialJob::isHeld(ownerOf(path)))
            continue;
        if (!QFile::remove(path))
            Log::line(QStringLiteral("cleanup failed: ") + path);
    }
}

void DownloadItem::setState(State state, const char* statusKey)
{
    state_ = state;
    statusString_.set(platform::Localization::string(statusKey));
}

void DownloadItem::setProgress(std::optional<qint64> value, std::optional<qint64> maximum)
{
    progressValue_.set(value);
    progressMaxValue_.set(maximum);
}

void DownloadItem::throwUpdateEvent()
{
    newDataEvent(*this);
}

void DownloadItem::startDownload()
{
    if (httpDownload_ || isCanceled())
        return;
    Log::line(QStringLiteral("Downloading: ") + url_->url().toString());

    httpDownload_ = HTTPDownload::init(tempfile(), url_->url());
    httpDownload_->setTimeout(transferTimeout_);
    httpDownload_->setHeaders(url_->httpHeaders());
    httpDownload_->setConnections(pictureConnections());
    httpDownload_->setChunkSize(url_->chunkSize());
    httpDownload_->setRetries(retries_);
    httpDownload_->setResume(resume_);
    // What it needs to go on, should this program end before the job does.
    partialJob().write(tempfile());
    listenTo(*httpDownload_);
    // Held shared while the job lives, so that another instance's wipe passes it by.
    tempfileLock_ = ::open(QFile::encodeName(tempfile()).constData(), O_RDONLY | O_CLOEXEC);
    if (tempfileLock_ >= 0)
        ::flock(tempfileLock_, LOCK_SH);
    httpDownload_->start();
    startExtras();

    setState(State::Downloading, "DownloadItem.Downloading");
    throwUpdateEvent();
}

void DownloadItem::listenTo(HTTPDownload& download)
{
    // The job holds the transfer, so the transfer's events hold the job weakly.
    const std::weak_ptr<DownloadItem> self = shared_from_this();
    download.updateEvent.set([self](HTTPDownload& d) {
        if (const auto item = self.lock())
            item->downloadUpdateEvent(d);
    });
    download.finishEvent.set([self](HTTPDownload& d) {
        if (const auto item = self.lock())
            item->downloadFinishEvent(d);
    });
    download.expiredEvent.set([self](HTTPDownload& d) {
        if (const auto item = self.lock())
            item->downloadExpiredEvent(d);
    });
}

void DownloadItem::showRetrying(const HTTPDownload& download)
{
    if (state_ != State::Downloading)
        return;
    if (const auto retry = download.retrying())
        statusString_.set(platform::Localization::string("DownloadItem.Retrying").arg(retry->first).arg(retry->second));
    else
        statusString_.set(platform::Localization::string("DownloadItem.Downloading"));
}

void DownloadItem::downloadExpiredEvent(HTTPDownload& download)
{
    if (state_ != State::Downloading)
        return;
    const QString formatId = streamOf(download)->formatId();
    const QString answer = QStringLiteral("The server answered with status %1.").arg(download.statusCode());
    if (++reextractions_ > mostReextractions || formatId.isEmpty()) {
        stopTransfers();
        fail(answer);
        return;
    }
    Log::line(QStringLiteral("The stream's address expired: the video's streams are read again"));
    const auto again = video_->fresh();
    const std::weak_ptr<DownloadItem> self = weak_from_this();
    platform::WorkerPool::run(
        QCoreApplication::instance(),
        [again] {
            try {
                again->parseUrls();
                return QString();
            } catch (const youtube_error& e) {
                return QString::fromUtf8(e.what());
            }
        },
        [self, again, transfer = download.shared_from_this(), formatId, answer](const QString& error) {
            const auto item = self.lock();
            if (!item || item->state() != State::Downloading)
                return;
            const auto stream = error.isEmpty() ? again->streamOfFormat(formatId) : nullptr;
            if (!stream) {
                item->stopTransfers();
                item->fail(error.isEmpty() ? answer : error);
                return;
            }
            transfer->continueAt(stream->url());
        });
}

void DownloadItem::downloadUpdateEvent(HTTPDownload& download)
{
    showRetrying(download);
    const auto offset = download.offset();
    const auto length = download.length();
    setProgress(offset ? std::optional<qint64>(static_cast<qint64>(*offset)) : std::nullopt, length);
    Log::line(QString::number(static_cast<double>(offset.value_or(0)) / static_cast<double>(length.value_or(0)) * 100.0,
                              'f', 6));
    throwUpdateEvent();
}

void DownloadItem::downloadFinishEvent(HTTPDownload& download)
{
    const auto self = shared_from_this();
    const std::optional<platform::Error> error = download.error();
    httpDownload_.reset();
    Log::line(QStringLiteral("Download Ready"));
    if (error) {
        fail(error->description);
        return;
    }
    setState(State::TransferDone, "DownloadItem.Done");
    throwUpdateEvent();
}

void DownloadItem::cancel()
{
    if (state_ == State::Done || state_ == State::Failed)
        return;
    if (httpDownload_) {
        Log::line(QStringLiteral("stop Downloading: ") + url_->url().toString());
        // Kept, so that startDownload stays a no-op.
        httpDownload_->cancel();
    }
    hasCancelButton_ = false;
    dropExtras();
    setProgress(std::nullopt, std::nullopt);
    setState(State::Canceled, "DownloadItem.Canceled");
    // Not wanted any more: nothing of it is kept (a pause keeps it).
    if (httpDownload_)
        HTTPDownload::discard(tempfile());
    releaseTempfile();
    throwUpdateEvent();
}

void DownloadItem::finish()
{
    dropExtras();
    setState(State::Done, "DownloadItem.Done");
    hasCancelButton_ = false;
    hasPlayButton_ = true;
    releaseTempfile();
    throwUpdateEvent();
}

void DownloadItem::fail(const QString& reason)
{
    Log::line(QStringLiteral("Failed: ") + reason);
    failureReason_.set(reason);
    dropExtras();
    setState(State::Failed, "DownloadItem.Failed");
    hasCancelButton_ = false;
    hasPlayButton_ = false;
    HTTPDownload::discard(tempfile());
    releaseTempfile();
    throwUpdateEvent();
}

void DownloadItem::releaseTempfile()
{
    if (tempfileLock_ >= 0) {
        ::close(tempfileLock_);
        tempfileLock_ = -1;
    }
}

