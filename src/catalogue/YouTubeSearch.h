#pragma once

#include "catalogue/YouTubeVideo.h"
#include "platform/BlockingHttp.h"
#include "platform/CancelToken.h"
#include "platform/Error.h"
#include "platform/Event.h"
#include "platform/Property.h"
#include "platform/SerialQueue.h"
#include "platform/ServiceEndpoints.h"

#include <QList>
#include <QString>
#include <QUrl>

#include <atomic>
#include <memory>

// One keyword search of the service's search feed. Results, progress and errors
// arrive as events on the search's own delivery thread.
class YouTubeSearch : public std::enable_shared_from_this<YouTubeSearch> {
public:
    static std::shared_ptr<YouTubeSearch> create(const platform::ServiceEndpoints& endpoints);

    // Starts a search for searchString and returns at once. A search that is
    // running is superseded: it stops without further events, and its thumbnails
    // still to come or under way are called off.
    void searchStart();
    // Blocks, running the calling thread's event loop, until no search runs.
    void waitForFinish() const;
    bool isDone() const { return done_; }

    QString searchString() const { return searchString_.get(); }
    void setSearchString(const QString& words) { searchString_.set(words); }
    QList<std::shared_ptr<YouTubeVideo>> videos() const { return videos_.get(); }
    // The feed address of the search in progress; each search has its own object.
    std::shared_ptr<const QUrl> currentUrl() const { return currentUrl_.get(); }
    double downloadOffset() const { return downloadOffset_.get(); }
    double downloadCount() const { return downloadCount_.get(); }

    // (sender, number of videos)
    platform::Event<YouTubeSearch&, qulonglong> newVideosEvent;
    // (sender, error): the connection's, or domain "YouTubeSearch::response" with the status
    platform::Event<YouTubeSearch&, const platform::Error&> errorEvent;
    // (sender) after every change of downloadOffset or downloadCount
    platform::Event<YouTubeSearch&> updateEvent;

    // The words as they go into the feed address.
    static QString escapeSearchWords(const QString& words);

private:
    explicit YouTubeSearch(const platform::ServiceEndpoints& endpoints) : endpoints_(endpoints) {}

    void complete(const std::shared_ptr<const QUrl>& started, const std::shared_ptr<platform::CancelToken>& thumbnails,
                  const platform::HttpResponse& response);
    bool isStale(const std::shared_ptr<const QUrl>& started) const { return currentUrl() != started; }
    void fail(const platform::Error& error);
    void finish(const std::shared_ptr<const QUrl>& started);

    const platform::ServiceEndpoints endpoints_;
    platform::Property<QString> searchString_;
    platform::Property<QList<std::shared_ptr<YouTubeVideo>>> videos_;
    std::atomic<bool> done_{true};
    platform::Property<std::shared_ptr<const QUrl>> currentUrl_;
    platform::Property<double> downloadOffset_;
    platform::Property<double> downloadCount_;
    // Calls off the thumbnails of the search in progress.
    platform::Property<std::shared_ptr<platform::CancelToken>> thumbnails_;
    platform::SerialQueue queue_;
};
