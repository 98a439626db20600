#include "downloads/JoinedVideoDownloadItem.h"

#include "downloads/FFmpeg.h"
#include "platform/Log.h"

#include <QFile>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using platform::Log;

JoinedVideoDownloadItem::JoinedVideoDownloadItem(std::shared_ptr<YouTubeVideo> video,
                                                 std::shared_ptr<YouTubeUrl> picture, std::shared_ptr<YouTubeUrl> sound)
    : ConvertingDownloadItem(std::move(video), std::move(picture), false), sound_(std::move(sound)),
      soundFile_(getCacheFile())
{
}

std::shared_ptr<JoinedVideoDownloadItem> JoinedVideoDownloadItem::init(std::shared_ptr<YouTubeVideo> video,
                                                                       std::shared_ptr<YouTubeUrl> picture,
                                                                       std::shared_ptr<YouTubeUrl> sound)
{
    std::shared_ptr<JoinedVideoDownloadItem> item(
        new JoinedVideoDownloadItem(std::move(video), std::move(picture), std::move(sound)));
    listen(item);
    return item;
}

JoinedVideoDownloadItem::~JoinedVideoDownloadItem()
{
    if (soundDownload_)
        soundDownload_->cancel();
    dropSound();
}

QString JoinedVideoDownloadItem::suffixFor(const QString& pictureType, const QString& soundType)
{
    if (pictureType.startsWith(QLatin1String("video/mp4")))
        return QStringLiteral("mp4");
    if (pictureType.startsWith(QLatin1String("video/webm")) && soundType.startsWith(QLatin1String("audio/webm")))
        return QStringLiteral("webm");
    return QStringLiteral("mkv");
}

void JoinedVideoDownloadItem::startDownload()
{
    if (soundDownload_ || state() != State::Waiting)
        return;
    DownloadItem::startDownload();
    Log::line(QStringLiteral("Downloading the sound: ") + sound_->url().toString());
    soundDownload_ = HTTPDownload::init(soundFile_, sound_->url());
    soundDownload_->setTimeout(transferTimeout());
    soundDownload_->setHeaders(sound_->httpHeaders());
    soundDownload_->setConnections(1);
    soundDownload_->setChunkSize(sound_->chunkSize());
    soundDownload_->setRetries(retries());
    soundDownload_->setResume(resuming());
    listenTo(*soundDownload_);
    // Held shared, so that another instance's start-up wipe passes it by.
    soundLock_ = ::open(QFile::encodeName(soundFile_).constData(), O_RDONLY | O_CLOEXEC);
    if (soundLock_ >= 0)
        ::flock(soundLock_, LOCK_SH);
    soundDownload_->start();
}

void JoinedVideoDownloadItem::downloadUpdateEvent(HTTPDownload& download)
{
    showRetrying(download);
    Part& part = &download == soundDownload_.get() ? soundPart_ : picturePart_;
    part.offset = download.offset();
    part.length = download.length();
    showProgress();
}

PartialJob JoinedVideoDownloadItem::partialJob() const
{
    PartialJob job = DownloadItem::partialJob();
    job.soundFormat = sound_->formatId();
    job.soundPartial = soundFile_;
    return job;
}

void JoinedVideoDownloadItem::adoptPartial(const QString& partial, const PartialJob& job)
{
    DownloadItem::adoptPartial(partial, job);
    if (!job.soundPartial.isEmpty()) {
        HTTPDownload::discard(soundFile_);
        soundFile_ = job.soundPartial;
    }
}

void JoinedVideoDownloadItem::dropTransfers()
{
    DownloadItem::dropTransfers();
    soundDownload_.reset();
    pictureDone_.reset();
    picturePart_ = {};
    soundPart_ = {};
}

bool JoinedVideoDownloadItem::takeStreams(const YouTubeVideo& again)
{
    const auto sound = again.streamOfFormat(sound_->formatId());
    if (!sound || !DownloadItem::takeStreams(again))
        return false;
    sound_->setUrl(sound->url());
    return true;
}

void JoinedVideoDownloadItem::stopTransfers()
{
    stopTransfer();
    if (soundDownload_)
        soundDownload_->cancel();
}

std::shared_ptr<YouTubeUrl> JoinedVideoDownloadItem::streamOf(const HTTPDownload& download) const
{
    return &download == soundDownload_.get() ? sound_ : DownloadItem::streamOf(download);
}

void JoinedVideoDownloadItem::showProgress()
{
    const auto value = picturePart_.offset || soundPart_.offset
                           ? std::optional<qint64>(static_cast<qint64>(picturePart_.offset.value_or(0) +
                                                                       soundPart_.offset.value_or(0)))
                           : std::nullopt;
    // The whole is known once both lengths are.
    const auto maximum = picturePart_.length && soundPart_.length
                             ? std::optional<qint64>(*picturePart_.length + *soundPart_.length)
                             : std::nullopt;
    setProgress(value, maximum);
    throwUpdateEvent();
}

void JoinedVideoDownloadItem::downloadFinishEvent(HTTPDownload& download)
{
    if (state() != State::Downloading)
        return;
    const bool sound = &download == soundDownload_.get();
    if (const auto error = download.error()) {
        // Either one failing fails the job; the other stops.
        if (sound) {
            stopTransfer();
            fail(error->description);
        } else {
            soundDownload_->cancel();
            DownloadItem::downloadFinishEvent(download);
        }
        dropSound();
        return;
    }
    (sound ? soundPart_ : picturePart_).done = true;
    if (!sound)
        pictureDone_ = download.shared_from_this();
    if (picturePart_.done && soundPart_.done)
        bothDone();
}

void JoinedVideoDownloadItem::bothDone()
{
    const auto self = shared_from_this();
    DownloadItem::downloadFinishEvent(*std::exchange(pictureDone_, nullptr));
    if (state() != State::TransferDone)
        return;
    beginConversion(suffixFor(url()->type(), sound_->type()),
                    [sound = soundFile_](FFmpeg& ffmpeg) { ffmpeg.joinAsync(sound); });
}

void JoinedVideoDownloadItem::cancel()
{
    if (soundDownload_)
        soundDownload_->cancel();
    stopConversion();
    const bool stopped = state() != State::Done && state() != State::Failed;
    DownloadItem::cancel();
    dropSound();
    // Two partial files are not left for the next start to find.
    if (stopped)
        HTTPDownload::discard(tempfile());
}

void JoinedVideoDownloadItem::dropSound()
{
    // While a join reads it, it stays: the job's end or the next start removes it.
    if (state() == State::Converting)
        return;
    if (soundLock_ >= 0) {
        ::close(soundLock_);
        soundLock_ = -1;
    }
    HTTPDownload::discard(soundFile_);
}
