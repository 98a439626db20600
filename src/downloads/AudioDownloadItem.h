#pragma once

#include "downloads/DownloadItem.h"
#include "downloads/ReservedFile.h"

#include <memory>
#include <optional>

class FFmpeg;

// A job that ends in an MP3 file of the video's sound, at the given bitrate.
class AudioDownloadItem : public DownloadItem {
public:
    static std::shared_ptr<AudioDownloadItem> initWithBitrate(std::shared_ptr<YouTubeVideo> video,
                                                              std::shared_ptr<YouTubeUrl> url, int bitrate);
    ~AudioDownloadItem() override;

    int bitrate() const { return bitrate_; }

    void downloadFinishEvent(HTTPDownload& download) override;
    void ffmpegNewSecondEvent(FFmpeg& ffmpeg, quint64 second);
    void ffmpegConvertedEvent(FFmpeg& ffmpeg);
    void cancel() override;

private:
    AudioDownloadItem(std::shared_ptr<YouTubeVideo> video, std::shared_ptr<YouTubeUrl> url, int bitrate);

    const int bitrate_;
    std::shared_ptr<FFmpeg> ffmpeg_;
    std::optional<ReservedFile> output_;
};
