#pragma once

#include "downloads/ConvertingDownloadItem.h"

#include <memory>

// A job that ends in a file of the video's sound: MP3 at the given bitrate, or
// the sound as it came in its own container (no re-encoding), as its options say.
class AudioDownloadItem : public ConvertingDownloadItem {
public:
    bool isAudio() const override { return true; }
    static std::shared_ptr<AudioDownloadItem> initWithBitrate(std::shared_ptr<YouTubeVideo> video,
                                                              std::shared_ptr<YouTubeUrl> url, int bitrate);
    // With the video's best sound: a stream of sound alone when there is one
    // (M4A first), else its best stream; none when it has no stream to take.
    static std::shared_ptr<AudioDownloadItem> initBest(const std::shared_ptr<YouTubeVideo>& video, int bitrate);

    int bitrate() const { return bitrate_; }
    // "mp3", or the suffix of the stream's sound as it came ("m4a", "opus", "ogg").
    QString suffix() const;
    QString savedKind() const override { return suffix().toUpper(); }

    void downloadFinishEvent(HTTPDownload& download) override;
    void cancel() override;

private:
    AudioDownloadItem(std::shared_ptr<YouTubeVideo> video, std::shared_ptr<YouTubeUrl> url, int bitrate);

    const int bitrate_;
};
