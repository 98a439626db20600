#pragma once

#include "downloads/DownloadItem.h"
#include "downloads/ReservedFile.h"

#include <functional>
#include <memory>
#include <optional>

class FFmpeg;

// What the audio and video jobs share: a converter of their own that turns the
// downloaded file into the final one, with progress in seconds.
class ConvertingDownloadItem : public DownloadItem {
public:
    ~ConvertingDownloadItem() override;

    // The converter's events; they come on its thread and move to the main thread.
    void ffmpegNewSecondEvent(FFmpeg& ffmpeg, quint64 second);
    void ffmpegConvertedEvent(FFmpeg& ffmpeg);

protected:
    ConvertingDownloadItem(std::shared_ptr<YouTubeVideo> video, std::shared_ptr<YouTubeUrl> url,
                           bool releaseConverterWhenDone);

    // Hands the converter's events to the job; the job holds the converter, so
    // the events hold the job weakly.
    static void listen(const std::shared_ptr<ConvertingDownloadItem>& job);

    // Once the cover and subtitles are there: reserves the output name with this
    // suffix (and one for the subtitles beside an MP4), points the converter from
    // the temporary file to it with the file's tags, runs start, and shows
    // Converting. A name that cannot be had fails the job instead.
    void beginConversion(const QString& suffix, const std::function<void(FFmpeg&)>& start);
    // Stops a running conversion and drops what it wrote.
    void stopConversion();
    // ffmpeg failed: true when the job goes on another way instead of failing.
    virtual bool conversionFailed(const QString&) { return false; }

    std::shared_ptr<FFmpeg> ffmpeg_;

private:
    const bool releaseConverterWhenDone_;
    void convert(const QString& suffix, const std::function<void(FFmpeg&)>& start);

    std::optional<ReservedFile> output_;
    std::optional<ReservedFile> subtitleCopy_;
};
