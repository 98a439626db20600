#pragma once

#include "downloads/ConvertingDownloadItem.h"

#include <atomic>
#include <memory>
#include <optional>

// A job that ends in a video file: converted to H.264 MP4 when the setting asks
// for it and the stream is not MP4 already, else copied as the stream came.
class VideoDownloadItem : public ConvertingDownloadItem {
public:
    static std::shared_ptr<VideoDownloadItem> init(std::shared_ptr<YouTubeVideo> video, std::shared_ptr<YouTubeUrl> url);
    // The job for the video's best: its best stream, converted as convert says
    // (nothing: as the setting says), or its best picture and sound apart,
    // joined, when those are better; none when it has no stream to take.
    static std::shared_ptr<DownloadItem> initBest(const std::shared_ptr<YouTubeVideo>& video,
                                                  std::optional<bool> convert = std::nullopt);
    ~VideoDownloadItem() override;

    // Decides per job, where the stored setting would; for one run of the
    // command-line front end.
    void setConvert(bool convert)
    {
        SaveOptions changed = options();
        changed.convert = convert;
        setOptions(changed);
    }

    void downloadFinishEvent(HTTPDownload& download) override;
    void cancel() override;

    // The copy step, on a worker: the reason when it failed.
    std::optional<QString> copyToDest();

    // How long the copy waits for the temporary file to become readable.
    static constexpr int copyWaitSeconds = 10;

protected:
    bool conversionFailed(const QString& why) override;

private:
    // Copies the stream as it came into the Downloads folder, on a worker.
    void copy();
    bool titling_ = false; // ffmpeg copies the stream to title it
    VideoDownloadItem(std::shared_ptr<YouTubeVideo> video, std::shared_ptr<YouTubeUrl> url);

    std::atomic<bool> copyCanceled_{false};
};
