#pragma once

#include "catalogue/SearchSource.h"
#include "catalogue/YouTubeVideo.h"
#include "platform/CancelToken.h"
#include "platform/Error.h"
#include "platform/Event.h"
#include "platform/Property.h"
#include "platform/SerialQueue.h"
#include "platform/ServiceEndpoints.h"

#include <QList>
#include <QString>

#include <atomic>
#include <memory>

// One keyword search: its source (the service's feed, or yt-dlp) finds the
// videos, their thumbnails come through the fetch pool, and results, progress
// and errors arrive as events on the search's own delivery thread.
class YouTubeSearch : public std::enable_shared_from_this<YouTubeSearch> {
public:
    static std::shared_ptr<YouTubeSearch> create(std::shared_ptr<SearchSource> source);
    // A search of the service's feed.
    static std::shared_ptr<YouTubeSearch> create(const platform::ServiceEndpoints& endpoints);

    // Starts a search for searchString and returns at once. A search that is
    // running is superseded: it stops without further events, and its thumbnails
    // still to come or under way are called off.
    void searchStart();
    // Ends the search under way without further events (and none set before
    // comes any more): the object is done with.
    void cancel();
    // Blocks, running the calling thread's event loop, until no search runs.
    void waitForFinish() const;
    bool isDone() const { return done_; }

    QString searchString() const { return searchString_.get(); }
    void setSearchString(const QString& words) { searchString_.set(words); }
    QList<std::shared_ptr<YouTubeVideo>> videos() const { return videos_.get(); }
    // Counts the searches started and called off: each has its own number.
    quint64 number() const { return number_; }
    double downloadOffset() const { return downloadOffset_.get(); }
    double downloadCount() const { return downloadCount_.get(); }

    // (sender, number of videos)
    platform::Event<YouTubeSearch&, qulonglong> newVideosEvent;
    // (sender, error): the connection's, domain "YouTubeSearch::response" with
    // the feed's status, or yt-dlp's reason
    platform::Event<YouTubeSearch&, const platform::Error&> errorEvent;
    // (sender) after every change of downloadOffset or downloadCount
    platform::Event<YouTubeSearch&> updateEvent;

    // The words as they go into the feed address.
    static QString escapeSearchWords(const QString& words);

private:
    explicit YouTubeSearch(std::shared_ptr<SearchSource> source) : source_(std::move(source)) {}

    void run(quint64 number, const QString& words, const std::shared_ptr<platform::CancelToken>& cancel);
    bool isStale(quint64 number) const { return number_ != number; }
    void finish(quint64 number);

    const std::shared_ptr<SearchSource> source_;
    platform::Property<QString> searchString_;
    platform::Property<QList<std::shared_ptr<YouTubeVideo>>> videos_;
    std::atomic<bool> done_{true};
    std::atomic<quint64> number_{0};
    platform::Property<double> downloadOffset_;
    platform::Property<double> downloadCount_;
    // Calls off the source's work and the thumbnails of the search in progress.
    platform::Property<std::shared_ptr<platform::CancelToken>> cancel_;
    platform::SerialQueue queue_;
};
