#include "catalogue/YouTubeSearch.h"

#include "catalogue/ThumbnailBatch.h"
#include "catalogue/xml/TBXML.h"
#include "platform/MainThread.h"
#include "platform/Log.h"

#include <optional>
#include <utility>
#include <vector>

using platform::Log;

namespace {

// A feed page is tens of kilobytes: a body beyond this is no feed, and is not
// read into memory whole.
constexpr qint64 largestFeedBytes = 8 * 1024 * 1024;
// A page of the feed holds 25 items; more than this are not shown, nor their
// pictures fetched.
constexpr std::size_t mostItems = 100;

} // namespace

std::shared_ptr<YouTubeSearch> YouTubeSearch::create(const platform::ServiceEndpoints& endpoints)
{
    return std::shared_ptr<YouTubeSearch>(new YouTubeSearch(endpoints));
}

QString YouTubeSearch::escapeSearchWords(const QString& words)
{
    // Blanks, controls and the bytes no URL may hold are escaped, URL syntax is
    // not; letters beyond ASCII go as percent-escaped UTF-8.
    static const QByteArray unsafe = QByteArrayLiteral("\"%<>[\\]^`{|}");
    QString escaped;
    for (const char c : words.toUtf8()) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte <= 0x20 || byte >= 0x7F || unsafe.contains(c))
            escaped += QStringLiteral("%%1").arg(byte, 2, 16, QLatin1Char('0')).toUpper();
        else
            escaped += QLatin1Char(c);
    }
    return escaped;
}

void YouTubeSearch::searchStart()
{
    videos_.set({});
    done_ = false;

    QUrl address = endpoints_.feed;
    address.setPath(QStringLiteral("/feeds/api/videos"));
    const auto started = std::make_shared<const QUrl>(
        QUrl(address.toString() + QStringLiteral("?alt=rss&q=") + escapeSearchWords(searchString())));
    currentUrl_.set(started);
    // After the address: a search woken by its cancel already finds itself stale.
    const auto thumbnails = std::make_shared<platform::CancelToken>();
    const auto superseded = thumbnails_.update([&](auto& current) { return std::exchange(current, thumbnails); });
    if (superseded)
        superseded->cancel();

    downloadOffset_.set(0.5);
    downloadCount_.set(26.0);
    updateEvent(*this);

    queue_.post([self = shared_from_this(), started, thumbnails] {
        platform::BlockingHttp::Options options;
        options.maxBytes = largestFeedBytes;
        self->complete(started, thumbnails, platform::BlockingHttp::get(*started, options));
    });
}

void YouTubeSearch::fail(const platform::Error& error)
{
    Log::line(QStringLiteral("Error(%1): %2").arg(error.code).arg(error.description));
    errorEvent(*this, error);
}

void YouTubeSearch::complete(const std::shared_ptr<const QUrl>& started,
                             const std::shared_ptr<platform::CancelToken>& thumbnails,
                             const platform::HttpResponse& response)
{
    if (isStale(started))
        return; // the newer search owns done
    downloadOffset_.set(0.75);
    updateEvent(*this);

    if (response.error) {
        fail(*response.error);
        finish(started);
        return;
    }
    const QString body = QString::fromUtf8(response.body);
    if (response.status != 200) {
        fail({QStringLiteral("YouTubeSearch::response"), response.status,
              QStringLiteral("YouTubeSearch::response error %1").arg(response.status)});
        finish(started);
        return;
    }

    Log::line(body);
    // A body that is no XML has no root: a feed without items.
    const TBXML document(body);
    const TBXMLElement* root = document.rootXMLElement();
    const TBXMLElement* channel = root ? root->firstChild : nullptr;
    std::vector<const TBXMLElement*> items;
    for (const TBXMLElement* item = TBXML::childElementNamed("item", channel); item && items.size() < mostItems;
         item = TBXML::nextSiblingNamed("item", item))
        items.push_back(item);

    if (isStale(started))
        return;
    // Every thumbnail is asked for now; each item below waits for its own only.
    std::vector<std::optional<QUrl>> addresses;
    addresses.reserve(items.size());
    for (const TBXMLElement* item : items)
        addresses.push_back(YouTubeVideo::thumbnailAddress(item));
    const ThumbnailBatch pictures(addresses, thumbnails);

    downloadCount_.set(static_cast<double>(items.size()));
    downloadOffset_.set(1.0);
    updateEvent(*this);

    for (std::size_t i = 0; i < items.size(); ++i) {
        if (isStale(started))
            return;
        const std::optional<platform::Image> picture = pictures.wait(i);
        if (!picture)
            return; // called off by a newer search
        const std::shared_ptr<YouTubeVideo> video =
            YouTubeVideo::initFromXML(items[i], endpoints_.parserService, *picture);
        videos_.update([&](auto& videos) { videos.append(video); });
        if (isStale(started))
            return;
        downloadOffset_.update([](double& offset) { offset += 1.0; });
        updateEvent(*this);
    }

    if (isStale(started))
        return;
    newVideosEvent(*this, static_cast<qulonglong>(videos().size()));
    finish(started);
}

void YouTubeSearch::finish(const std::shared_ptr<const QUrl>& started)
{
    // Marked on the main thread, where searches start: one waiting there in
    // waitForFinish sees it at once, the program never ends under this thread's
    // feet, and a search started in between is not marked by this one.
    platform::MainThread::post([self = shared_from_this(), started] {
        if (!self->isStale(started))
            self->done_ = true;
    });
}

void YouTubeSearch::waitForFinish() const
{
    platform::MainThread::runUntil([this] { return isDone(); });
}
