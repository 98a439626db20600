#include "downloads/ConvertingDownloadItem.h"

#include "downloads/FFmpeg.h"
#include "platform/MainThread.h"

ConvertingDownloadItem::ConvertingDownloadItem(std::shared_ptr<YouTubeVideo> video, std::shared_ptr<YouTubeUrl> url,
                                               bool releaseConverterWhenDone)
    : DownloadItem(std::move(video), std::move(url)), ffmpeg_(FFmpeg::create()),
      releaseConverterWhenDone_(releaseConverterWhenDone)
{
}

ConvertingDownloadItem::~ConvertingDownloadItem()
{
    if (ffmpeg_)
        ffmpeg_->cancel();
}

void ConvertingDownloadItem::listen(const std::shared_ptr<ConvertingDownloadItem>& job)
{
    const std::weak_ptr<ConvertingDownloadItem> self = job;
    job->ffmpeg_->newSecondEvent.set([self](FFmpeg& f, quint64 second) {
        if (const auto j = self.lock())
            j->ffmpegNewSecondEvent(f, second);
    });
    job->ffmpeg_->convertedEvent.set([self](FFmpeg& f) {
        if (const auto j = self.lock())
            j->ffmpegConvertedEvent(f);
    });
}

void ConvertingDownloadItem::beginConversion(const QString& suffix, const std::function<void(FFmpeg&)>& start)
{
    QString why;
    output_ = ReservedFile::reserve(destinationfile(), suffix, &why);
    if (!output_) {
        fail(why);
        return;
    }
    setFileToPlay(output_->path());
    ffmpeg_->setSourceFile(tempfile());
    ffmpeg_->setDestinationFile(output_->partialPath());
    start(*ffmpeg_);
    setState(State::Converting, "DownloadItem.Converting");
    setProgress(0, video()->seconds());
    throwUpdateEvent();
}

void ConvertingDownloadItem::stopConversion()
{
    if (ffmpeg_)
        ffmpeg_->cancel();
    if (output_ && state() == State::Converting)
        output_->abandon();
}

void ConvertingDownloadItem::ffmpegNewSecondEvent(FFmpeg&, quint64 second)
{
    const std::weak_ptr<DownloadItem> self = weak_from_this();
    platform::MainThread::post([self, second] {
        const auto job = self.lock();
        if (!job || job->state() != State::Converting)
            return;
        static_cast<ConvertingDownloadItem&>(*job).setProgressValue(static_cast<qint64>(second));
        job->throwUpdateEvent();
    });
}

void ConvertingDownloadItem::ffmpegConvertedEvent(FFmpeg& ffmpeg)
{
    const bool converted = ffmpeg.succeeded();
    const QString why = ffmpeg.failureReason();
    const std::weak_ptr<DownloadItem> self = weak_from_this();
    platform::MainThread::post([self, converted, why] {
        const auto item = self.lock();
        if (!item)
            return;
        auto& job = static_cast<ConvertingDownloadItem&>(*item);
        if (job.releaseConverterWhenDone_)
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
