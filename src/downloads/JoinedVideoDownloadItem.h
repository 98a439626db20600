#pragma once

#include "downloads/ConvertingDownloadItem.h"

#include <algorithm>
#include <memory>
#include <optional>

// A video made of two streams: the picture alone and the sound alone, fetched
// side by side and copied into one file by ffmpeg (no encoding). Progress
// counts the bytes of both; a cancel stops both; either's failure fails the job
// with its reason.
class JoinedVideoDownloadItem : public ConvertingDownloadItem {
public:
    // The sound takes one of the job's connections; the picture the others.
    int pictureConnections() const override { return std::max(1, connections() - 1); }
    static std::shared_ptr<JoinedVideoDownloadItem> init(std::shared_ptr<YouTubeVideo> video,
                                                         std::shared_ptr<YouTubeUrl> picture,
                                                         std::shared_ptr<YouTubeUrl> sound);
    ~JoinedVideoDownloadItem() override;

    void startDownload() override;
    void downloadUpdateEvent(HTTPDownload& download) override;
    void downloadFinishEvent(HTTPDownload& download) override;
    void stopTransfers() override;
    std::shared_ptr<YouTubeUrl> streamOf(const HTTPDownload& download) const override;
    void cancel() override;
    PartialJob partialJob() const override;
    void adoptPartial(const QString& partial, const PartialJob& job) override;

    std::shared_ptr<YouTubeUrl> sound() const { return sound_; }
    // The file's suffix for the two streams' containers.
    static QString suffixFor(const QString& pictureType, const QString& soundType);

private:
    JoinedVideoDownloadItem(std::shared_ptr<YouTubeVideo> video, std::shared_ptr<YouTubeUrl> picture,
                            std::shared_ptr<YouTubeUrl> sound);

    struct Part {
        std::optional<quint64> offset;
        std::optional<qint64> length;
        bool done = false;
    };
    void showProgress();
    void bothDone();
    void dropSound();
    void dropTransfers() override;
    bool takeStreams(const YouTubeVideo& again) override;

    const std::shared_ptr<YouTubeUrl> sound_;
    QString soundFile_;
    std::shared_ptr<HTTPDownload> soundDownload_;
    // The picture's finished transfer, until the sound's is finished too.
    std::shared_ptr<HTTPDownload> pictureDone_;
    Part picturePart_;
    Part soundPart_;
    int soundLock_ = -1;
};
