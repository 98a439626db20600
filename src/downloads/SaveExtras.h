#pragma once

#include "platform/CancelToken.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <memory>
#include <optional>

// What a saved file carries beside its media: the cover picture and the
// subtitles, fetched into the cache while the media's transfer runs. Each is
// what a stranger sent: capped, and the cover decoded before it is kept.
class SaveExtras {
public:
    struct Files {
        QString cover;     // a JPEG; empty: none
        QString subtitles; // WebVTT; empty: none
    };

    static constexpr qint64 largestCover = 2 * 1024 * 1024;
    static constexpr qint64 largestSubtitles = 5 * 1024 * 1024;

    // Blocks (a worker's): fetches what is named into beside + ".cover.jpg" and
    // beside + ".vtt". What cannot be had is left out, and logged.
    static Files fetch(const std::optional<QUrl>& cover, const std::optional<QUrl>& subtitles, const QString& beside,
                       const std::shared_ptr<platform::CancelToken>& cancel);
    // A picture's bytes as a JPEG fit for a cover: JPEG as it came when it
    // decodes within the limits, anything else (WebP, PNG) decoded and written
    // as JPEG, scaled down when larger than largestSide; empty for no picture.
    static QByteArray coverJpeg(const QByteArray& picture);
    static constexpr int largestSide = 1600;
    // Removes what fetch wrote.
    static void remove(const Files& files);
};
