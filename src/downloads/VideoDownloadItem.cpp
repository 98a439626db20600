#include "downloads/VideoDownloadItem.h"

#include "downloads/FFmpeg.h"
#include "downloads/Settings.h"
#include "platform/Log.h"
#include "platform/MainThread.h"

#include <QFile>
#include <QFileInfo>

#include <chrono>
#include <thread>

using platform::Log;

VideoDownloadItem::VideoDownloadItem(std::shared_ptr<YouTubeVideo> video, std::shared_ptr<YouTubeUrl> url)
    : DownloadItem(std::move(video), std::move(url)), ffmpeg_(FFmpeg::create())
{
}

std::shared_ptr<VideoDownloadItem> VideoDownloadItem::init(std::shared_ptr<YouTubeVideo> video,
                                                           std::shared_ptr<YouTubeUrl> url)
{
    std::shared_ptr<VideoDownloadItem> item(new VideoDownloadItem(std::move(video), std::move(url)));
    const std::weak_ptr<VideoDownloadItem> self = item;
    item->ffmpeg_->newSecondEvent.set([self](FFmpeg& f, quint64 second) {
        if (const auto job = self.lock())
            job->ffmpegNewSecondEvent(f, second);
    });
    item->ffmpeg_->convertedEvent.set([self](FFmpeg& f) {
        if (const auto job = self.lock())
            job->ffmpegConvertedEvent(f);
    });
    return item;
}

VideoDownloadItem::~VideoDownloadItem()
{
    ffmpeg_->cancel();
    copyCanceled_ = true;
}

void VideoDownloadItem::downloadFinishEvent(HTTPDownload& download)
{
    DownloadItem::downloadFinishEvent(download);
    if (state() != State::TransferDone)
        return;

    if (convert_.value_or(Settings::convertVideos()) && !url()->isMP4()) {
        QString why;
        output_ = ReservedFile::reserve(destinationfile(), QStringLiteral("mp4"), &why);
        if (!output_) {
            fail(why);
            return;
        }
        setFileToPlay(output_->path());
        ffmpeg_->setSourceFile(tempfile());
        ffmpeg_->setDestinationFile(output_->partialPath());
        ffmpeg_->convertH264VideoAsync();
        setState(State::Converting, "DownloadItem.Converting");
        setProgress(0, video()->seconds());
        throwUpdateEvent();
        return;
    }

    setState(State::Copying, "DownloadItem.Copying");
    throwUpdateEvent();
    // The thread holds the job until it is done.
    std::thread([job = std::static_pointer_cast<VideoDownloadItem>(shared_from_this())] { job->copyToDest(); })
        .detach();
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

void VideoDownloadItem::copyToDest()
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
    const bool copied = output.has_value();

    const std::weak_ptr<DownloadItem> self = weak_from_this();
    platform::MainThread::post([self, copied, why] {
        const auto job = self.lock();
        // A cancelled job stays cancelled; a finished copy is left where it is.
        if (!job || job->state() != State::Copying)
            return;
        auto& video = static_cast<VideoDownloadItem&>(*job);
        if (copied)
            video.finish();
        else
            video.fail(why);
    });
}

void VideoDownloadItem::ffmpegNewSecondEvent(FFmpeg&, quint64 second)
{
    const std::weak_ptr<DownloadItem> self = weak_from_this();
    platform::MainThread::post([self, second] {
        const auto job = self.lock();
        if (!job || job->state() != State::Converting)
            return;
        static_cast<VideoDownloadItem&>(*job).setProgressValue(static_cast<qint64>(second));
        job->throwUpdateEvent();
    });
}

void VideoDownloadItem::ffmpegConvertedEvent(FFmpeg& ffmpeg)
{
    const bool converted = ffmpeg.succeeded();
    const QString why = ffmpeg.failureReason();
    const std::weak_ptr<DownloadItem> self = weak_from_this();
    platform::MainThread::post([self, converted, why] {
        const auto item = self.lock();
        if (!item)
            return;
        auto& job = static_cast<VideoDownloadItem&>(*item);
        if (job.state() != State::Converting) {
            if (job.output_)
                job.output_->abandon();
            return;
        }
        QString moveError;
        if (!converted || !job.output_->commit(&moveError)) {
            job.output_->abandon();
            job.fail(converted ? moveError : why);
            return;
        }
        job.setProgress(1, 1);
        job.finish();
    });
}

void VideoDownloadItem::cancel()
{
    // A cancel stops a running conversion and a copy too: a cancelled job never finishes.
    ffmpeg_->cancel();
    copyCanceled_ = true;
    if (output_ && state() == State::Converting)
        output_->abandon();
    DownloadItem::cancel();
}
