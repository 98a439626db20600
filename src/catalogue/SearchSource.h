#pragma once

#include "catalogue/YouTubeVideo.h"
#include "platform/CancelToken.h"
#include "platform/Error.h"
#include "platform/ImageDecoder.h"

#include <QList>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

// One video a source found: where its picture is, and how its record is made
// once the picture is there.
struct SearchHit {
    std::optional<QUrl> thumbnail;
    // The record with its picture (empty: none could be had).
    std::function<std::shared_ptr<YouTubeVideo>(const platform::Image&)> make;
};

// What a source found for some words, in order; or why it found nothing.
struct SearchAnswer {
    QList<SearchHit> hits;
    std::optional<platform::Error> error;
};

// Where a search finds videos: the service's feed, or yt-dlp.
class SearchSource {
public:
    virtual ~SearchSource() = default;
    // Blocks. Once cancel is cancelled the answer does not count, and the
    // source ends as soon as it can.
    virtual SearchAnswer find(const QString& words, const std::shared_ptr<platform::CancelToken>& cancel) = 0;
};
