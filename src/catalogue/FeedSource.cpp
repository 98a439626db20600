#include "catalogue/FeedSource.h"

#include "catalogue/xml/TBXML.h"
#include "platform/BlockingHttp.h"
#include "platform/Log.h"

using platform::Log;

namespace {

// A feed page is tens of kilobytes: a body beyond this is no feed, and is not
// read into memory whole.
constexpr qint64 largestFeedBytes = 8 * 1024 * 1024;
// A page of the feed holds 25 items; more than this are not shown, nor their
// pictures fetched.
constexpr qsizetype mostItems = 100;

} // namespace

QString FeedSource::escapeSearchWords(const QString& words)
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

QString FeedSource::addressText(const QString& words) const
{
    QUrl feed = endpoints_.feed;
    feed.setPath(QStringLiteral("/feeds/api/videos"));
    return feed.toString() + QStringLiteral("?alt=rss&q=") + escapeSearchWords(words);
}

SearchAnswer FeedSource::find(const QString& words, const std::shared_ptr<platform::CancelToken>& cancel)
{
    platform::BlockingHttp::Options options;
    options.maxBytes = largestFeedBytes;
    options.cancel = cancel;
    const platform::HttpResponse response = platform::BlockingHttp::get(QUrl(addressText(words)), options);
    if (response.error)
        return {{}, response.error};
    if (response.status != 200)
        return {{},
                platform::Error{QStringLiteral("YouTubeSearch::response"), response.status,
                                QStringLiteral("YouTubeSearch::response error %1").arg(response.status)}};

    const QString body = QString::fromUtf8(response.body);
    Log::line(body);
    // A body that is no XML has no root: a feed without items. The document
    // lives as long as a record may still be made of one of its items.
    const auto document = std::make_shared<const TBXML>(body);
    const TBXMLElement* root = document->rootXMLElement();
    const TBXMLElement* channel = root ? root->firstChild : nullptr;
    SearchAnswer answer;
    for (const TBXMLElement* item = TBXML::childElementNamed("item", channel); item && answer.hits.size() < mostItems;
         item = TBXML::nextSiblingNamed("item", item))
        answer.hits.append({YouTubeVideo::thumbnailAddress(item),
                            [document, item, parser = endpoints_.parserService](const platform::Image& picture) {
                                return YouTubeVideo::initFromXML(item, parser, picture);
                            }});
    return answer;
}
