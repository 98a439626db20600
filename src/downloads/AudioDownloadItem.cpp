#include "downloads/AudioDownloadItem.h"

#include "downloads/FFmpeg.h"
#include "platform/MainThread.h"

AudioDownloadItem::AudioDownloadItem(std::shared_ptr<YouTubeVideo> video, std::shared_ptr<YouTubeUrl> url, int bitrate)
    : DownloadItem(std::move(video), std::move(url)), bitrate_(bitrate), ffmpeg_(FFmpeg::create())
{
}

std::shared_ptr<AudioDownloadItem> AudioDownloadItem::initWithBitrate(std::shared_ptr<YouTubeVideo> video,
                                                                      std::shared_ptr<YouTubeUrl> url, int bitrate)
{
    std::shared_ptr<AudioDownloadItem> item(new AudioDownloadItem(std::move(video), std::move(url), bitrate));
    // The job holds the converter: the converter's events hold the job weakly.
    const std::weak_ptr<AudioDownloadItem> self = item;
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

AudioDownloadItem::~AudioDownloadItem()
{
    if (ffmpeg_)
        ffmpeg_->cancel();
}

void AudioDownloadItem::downloadFinishEvent(HTTPDownload& download)
{
    DownloadItem::downloadFinishEvent(download);
    if (state() != State::TransferDone)
        return;

    QString why;
    output_ = ReservedFile::reserve(destinationfile(), QStringLiteral("mp3"), &why);
    if (!output_) {
        fail(why);
        return;
    }
    setFileToPlay(output_->path());
    ffmpeg_->setSourceFile(tempfile());
    ffmpeg_->setDestinationFile(output_->partialPath());
    ffmpeg_->convertMP3Async(bitrate_);

    setState(State::Converting, "DownloadItem.Converting");
    setProgress(0, video()->seconds());
    throwUpdateEvent();
}

void AudioDownloadItem::ffmpegNewSecondEvent(FFmpeg&, quint64 second)
{
    const std::weak_ptr<DownloadItem> self = weak_from_this();
    platform::MainThread::post([self, second] {
        const auto job = self.lock();
        if (!job || job->state() != State::Converting)
            return;
        static_cast<AudioDownloadItem&>(*job).setProgressValue(static_cast<qint64>(second));
        job->throwUpdateEvent();
    });
}

void AudioDownloadItem::ffmpegConvertedEvent(FFmpeg& ffmpeg)
{
    const bool converted = ffmpeg.succeeded();
    const QString why = ffmpeg.failureReason();
    const std::weak_ptr<DownloadItem> self = weak_from_this();
    platform::MainThread::post([self, converted, why] {
        const auto item = self.lock();
        if (!item)
            return;
        auto& job = static_cast<AudioDownloadItem&>(*item);
        job.ffmpeg_.reset();
        // A cancelled job stays cancelled, whatever the converter did.
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

void AudioDownloadItem::cancel()
{
    if (ffmpeg_) {
        ffmpeg_->cancel();
        ffmpeg_.reset();
    }
    if (output_)
        output_->abandon();
    DownloadItem::cancel();
}
