#include "downloads/ConvertingDownloadItem.h"

#include "downloads/FFmpeg.h"

#include <QCoreApplication>

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
    // The converter reports from its own thread; a job changes on the
    // interface thread, where jobs live.
    const std::weak_ptr<ConvertingDownloadItem> self = job;
    job->ffmpeg_->newSecondEvent.set(QCoreApplication::instance(), [self](FFmpeg& f, quint64 second) {
        if (const auto j = self.lock())
            j->ffmpegNewSecondEvent(f, second);
    });
    job->ffmpeg_->convertedEvent.set(QCoreApplication::instance(), [self](FFmpeg& f) {
        if (const auto j = self.lock())
            j->ffmpegConvertedEvent(f);
    });
}

void ConvertingDownloadItem::beginConversion(const QString& suffix, const std::function<void(FFmpeg&)>& start)
{
    whenExtrasReady([this, suffix, start] {
        // Cancelled or failed while the cover was on its way.
        if (state() == State::TransferDone)
            convert(suffix, start);
    });
}

void ConvertingDownloadItem::convert(const QString& suffix, const std::function<void(FFmpeg&)>& start)
{
    QString why;
    output_ = ReservedFile::reserve(destinationfile(), suffix, &why);
    if (!output_) {
        fail(why);
        return;
    }
    FileTags tags = fileTags();
    if (suffix != QLatin1String("mp4")) {
        tags.subtitleFile.clear(); // only MP4 takes them in, as mov_text
    } else if (!tags.subtitleFile.isEmpty()) {
        // "NAME.en.srt" beside "NAME.mp4", never over a file that is there.
        const QString base = output_->path().chopped(suffix.size() + 1) + u'.' + tags.subtitleLanguage;
        subtitleCopy_ = ReservedFile::reserve(base, QStringLiteral("srt"), &why);
        if (subtitleCopy_)
            tags.subtitleCopy = subtitleCopy_->partialPath();
    }
    setFileToPlay(output_->path());
    ffmpeg_->setSourceFile(tempfile());
    ffmpeg_->setDestinationFile(output_->partialPath());
    ffmpeg_->setTags(tags);
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
    if (subtitleCopy_ && state() == State::Converting)
        subtitleCopy_->abandon();
}

void ConvertingDownloadItem::ffmpegNewSecondEvent(FFmpeg&, quint64 second)
{
    if (state() != State::Converting)
        return;
    setProgressValue(static_cast<qint64>(second));
    throwUpdateEvent();
}

void ConvertingDownloadItem::ffmpegConvertedEvent(FFmpeg& ffmpeg)
{
    const bool converted = ffmpeg.succeeded();
    const QString why = ffmpeg.failureReason();
    if (releaseConverterWhenDone_)
        ffmpeg_.reset(); // the event keeps it until this returns
    // A cancelled job stays cancelled, whatever the converter did.
    if (state() != State::Converting) {
        if (output_)
            output_->abandon();
        if (subtitleCopy_)
            subtitleCopy_->abandon();
        return;
    }
    QString moveError;
    if (!converted || !output_->commit(&moveError)) {
        output_->abandon();
        if (subtitleCopy_)
            subtitleCopy_->abandon();
        if (!converted && conversionFailed(why))
            return;
        fail(converted ? moveError : why);
        return;
    }
    // The subtitles beside are a convenience: the video is saved whatever becomes of them.
    if (subtitleCopy_ && !subtitleCopy_->commit(&moveError))
        subtitleCopy_->abandon();
    setProgress(1, 1);
    finish();
}
