#include "downloads/VideoDownloadItem.h"

#include "downloads/FFmpeg.h"
#include "downloads/JoinedVideoDownloadItem.h"
#include "downloads/Settings.h"
#include "platform/Log.h"
#include "platform/WorkerPool.h"

#include <QCoreApplication>

#include <QFile>
#include <QFileInfo>

#include <chrono>
#include <thread>

using platform::Log;

VideoDownloadItem::VideoDownloadItem(std::shared_ptr<YouTubeVideo> video, std::shared_ptr<YouTubeUrl> url)
    : ConvertingDownloadItem(std::move(video), std::move(url), false)
{
}

std::shared_ptr<VideoDownloadItem> VideoDownloadItem::init(std::shared_ptr<YouTubeVideo> video,
                                                           std::shared_ptr<YouTubeUrl> url)
{
    std::shared_ptr<VideoDownloadItem> item(new VideoDownloadItem(std::move(video), std::move(url)));
    listen(item);
    return item;
}

std::shared_ptr<DownloadItem> VideoDownloadItem::initBest(const std::shared_ptr<YouTubeVideo>& video,
                                                          std::optional<bool> convert)
{
    // Picture and sound apart when that is the better video: copied, never converted.
    if (video->isBetterJoined())
        return JoinedVideoDownloadItem::init(video, video->UrlWithBestPicture(), video->UrlWithBestSound());
    const auto best = video->UrlWithBestQuality();
    if (!best)
        return nullptr;
    const auto job = init(video, best);
    if (convert)
        job->setConvert(*convert);
    return job;
}

VideoDownloadItem::~VideoDownloadItem()
{
    copyCanceled_ = true;
}

void VideoDownloadItem::downloadFinishEvent(HTTPDownload& download)
{
    DownloadItem::downloadFinishEvent(download);
    if (state() != State::TransferDone)
        return;

    if (options().convert.value_or(Settings::convertVideos()) && !url()->isMP4()) {
        beginConversion(QStringLiteral("mp4"), [](FFmpeg& ffmpeg) { ffmpeg.convertH264VideoAsync(); });
        return;
    }
    // Tags and subtitles go in as ffmpeg copies the stream: the step that writes the file anyway.
    if (url()->isMP4() && (options().tags || wantedSubtitles())) {
        titling_ = true;
        beginConversion(QStringLiteral("mp4"), [](FFmpeg& ffmpeg) { ffmpeg.remuxAsync(); });
        return;
    }
    copy();
}

bool VideoDownloadItem::conversionFailed(const QString& why)
{
    if (!titling_ || why == QLatin1String("cancelled"))
        return false;
    // A stream ffmpeg cannot read as MP4 is still the video: saved bare, as it came.
    Log::line(QStringLiteral("Saved without tags: ") + why);
    titling_ = false;
    setState(State::TransferDone, "DownloadItem.Done");
    copy();
    return true;
}

void VideoDownloadItem::copy()
{
    setState(State::Copying, "DownloadItem.Copying");
    throwUpdateEvent();
    // On a worker, which holds the job until it is done; its end on the
    // interface thread, where jobs live.
    const auto job = std::static_pointer_cast<VideoDownloadItem>(shared_from_this());
    platform::WorkerPool::run(
        QCoreApplication::instance(), [job] { return job->copyToDest(); },
        [job](const std::optional<QString>& failure) {
            // A cancelled job stays cancelled; a finished copy is left where it is.
            if (job->state() != State::Copying)
                return;
            if (failure)
                job->fail(*failure);
            else
                job->finish();
        });
}

namespace {

bool isReadable(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly);
}

// Copies source to destination in pieces; false with a reason on any failure.
bool copyFile(const QString& source, const QString& destination, const std::atomic<bool>& canceled, QString* why)
{
    QFile in(source);
    QFile out(destination);
    if (!in.open(QIODevice::ReadOnly)) {
        *why = QStringLiteral("Cannot read %1: %2").arg(source, in.errorString());
        return false;
    }
    if (!out.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
        *why = QStringLiteral("Cannot write %1: %2").arg(destination, out.errorString());
        return false;
    }
    char chunk[1 << 16];
    for (qint64 n; (n = in.read(chunk, sizeof chunk)) > 0;) {
        if (canceled)
            return false;
        if (out.write(chunk, n) != n) {
            *why = QStringLiteral("Cannot write %1: %2").arg(destination, out.errorString());
            return false;
        }
    }
    if (in.error() != QFileDevice::NoError) {
        *why = QStringLiteral("Cannot read %1: %2").arg(source, in.errorString());
        return false;
    }
    if (!out.flush()) {
        *why = QStringLiteral("Cannot write %1: %2").arg(destination, out.errorString());
        return false;
    }
    return true;
}

} // namespace

std::optional<QString> VideoDownloadItem::copyToDest()
{
    const QString source = tempfile();
    Log::line(QStringLiteral("Copy source: ") + source);
    for (int waited = 0; !isReadable(source) && waited < copyWaitSeconds && !copyCanceled_; ++waited)
        std::this_thread::sleep_for(std::chrono::seconds(1));

    QString why;
    std::optional<ReservedFile> output;
    if (!isReadable(source)) {
        Log::line(QStringLiteral("copy failed: cant read file"));
        why = QStringLiteral("The downloaded file cannot be read.");
    } else if ((output = ReservedFile::reserve(destinationfile(), YouTubeUrl::getVideoSuffix(url()->type()), &why))) {
        if (copyFile(source, output->partialPath(), copyCanceled_, &why) && output->commit(&why)) {
            setFileToPlay(output->path());
            QFile::remove(source);
        } else {
            output->abandon();
            output.reset();
        }
    }
    return output ? std::nullopt : std::optional<QString>(why);
}

void VideoDownloadItem::cancel()
{
    // A cancel stops a running conversion and a copy too: a cancelled job never finishes.
    stopConversion();
    copyCanceled_ = true;
    DownloadItem::cancel();
}
