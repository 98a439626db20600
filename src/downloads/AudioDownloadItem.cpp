#include "downloads/AudioDownloadItem.h"

#include "downloads/FFmpeg.h"

AudioDownloadItem::AudioDownloadItem(std::shared_ptr<YouTubeVideo> video, std::shared_ptr<YouTubeUrl> url, int bitrate)
    : ConvertingDownloadItem(std::move(video), std::move(url), true), bitrate_(bitrate)
{
}

std::shared_ptr<AudioDownloadItem> AudioDownloadItem::initWithBitrate(std::shared_ptr<YouTubeVideo> video,
                                                                      std::shared_ptr<YouTubeUrl> url, int bitrate)
{
    std::shared_ptr<AudioDownloadItem> item(new AudioDownloadItem(std::move(video), std::move(url), bitrate));
    listen(item);
    return item;
}

void AudioDownloadItem::downloadFinishEvent(HTTPDownload& download)
{
    DownloadItem::downloadFinishEvent(download);
    if (state() != State::TransferDone)
        return;
    if (options().sound == Settings::Sound::Original) {
        const FFmpeg::Container container = FFmpeg::soundContainer(url()->type());
        beginConversion(suffix(), [container](FFmpeg& ffmpeg) { ffmpeg.copySoundAsync(container); });
    } else {
        beginConversion(QStringLiteral("mp3"), [this](FFmpeg& ffmpeg) { ffmpeg.convertMP3Async(bitrate_); });
    }
}

QString AudioDownloadItem::suffix() const
{
    return options().sound == Settings::Sound::Original ? FFmpeg::suffix(FFmpeg::soundContainer(url()->type()))
                                                        : QStringLiteral("mp3");
}

void AudioDownloadItem::cancel()
{
    stopConversion();
    ffmpeg_.reset();
    DownloadItem::cancel();
}

std::shared_ptr<AudioDownloadItem> AudioDownloadItem::initBest(const std::shared_ptr<YouTubeVideo>& video, int bitrate)
{
    auto stream = video->UrlWithBestSound();
    if (!stream)
        stream = video->UrlWithBestQuality();
    return stream ? initWithBitrate(video, stream, bitrate) : nullptr;
}
