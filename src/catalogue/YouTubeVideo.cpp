#include "catalogue/YouTubeVideo.h"

#include "catalogue/ThumbnailBatch.h"
#include "catalogue/xml/TBXML.h"
#include "core/youtube_error.h"
#include "core/youtube_parser.h"
#include "platform/BlockingHttp.h"
#include "platform/Log.h"
#include "platform/Text.h"
#include "platform/WorkerPool.h"

#include <QNetworkReply>

#include <algorithm>
#include <limits>

using platform::Log;

platform::Image YouTubeVideo::fetchImage(const QUrl& url)
{
    // Through the pool that the search's thumbnails take, so that the two together
    // stay within its bound.
    return ThumbnailBatch({url}).wait(0).value_or(nullptr);
}

std::optional<QUrl> YouTubeVideo::thumbnailAddress(const TBXMLElement* item)
{
    const TBXMLElement* group = TBXML::childElementNamed("media:group", item);
    const std::optional<QString> url =
        TBXML::valueOfAttributeNamed("url", TBXML::childElementNamed("media:thumbnail", group));
    if (!url)
        return std::nullopt;
    return QUrl(*url);
}

std::shared_ptr<YouTubeVideo> YouTubeVideo::initFromXML(const TBXMLElement* item, const QUrl& parserService)
{
    const std::optional<QUrl> thumbnail = thumbnailAddress(item);
    return initFromXML(item, parserService, thumbnail ? fetchImage(*thumbnail) : nullptr);
}

std::shared_ptr<YouTubeVideo> YouTubeVideo::initFromXML(const TBXMLElement* item, const QUrl& parserService,
                                                        const platform::Image& thumbnail)
{
    std::shared_ptr<YouTubeVideo> video(new YouTubeVideo(parserService));
    video->setTitle(TBXML::stringByDecodingXMLEntities(TBXML::textForElement(TBXML::childElementNamed("title", item))));
    const QString description =
        TBXML::stringByDecodingXMLEntities(TBXML::textForElement(TBXML::childElementNamed("description", item)));
    video->setDescription(description);
    Log::line(QStringLiteral("description: ") + description);

    // The link's query keeps its "&amp;" in the feed; nothing else is decoded.
    QString link = TBXML::textForElement(TBXML::childElementNamed("link", item));
    link.replace(QLatin1String("&amp;"), QLatin1String("&"));
    video->setLink(QUrl(link));

    if (!thumbnail)
        Log::line(QStringLiteral(" NSImage is null"));
    video->setThumbnail(thumbnail);

    const TBXMLElement* group = TBXML::childElementNamed("media:group", item);
    const std::optional<QString> seconds =
        TBXML::valueOfAttributeNamed("seconds", TBXML::childElementNamed("yt:duration", group));
    video->setSeconds(seconds ? platform::leadingInteger(*seconds) : 0);
    return video;
}

std::shared_ptr<YouTubeVideo> YouTubeVideo::initFromURL(const QUrl& link, const QUrl& parserService)
{
    std::shared_ptr<YouTubeVideo> video(new YouTubeVideo(parserService));
    video->setLink(link);
    return video;
}

std::optional<QString> YouTubeVideo::loadHTML()
{
    if (const auto html = html_.get())
        return html;
    const platform::HttpResponse response = platform::BlockingHttp::get(link());
    // A link that is no web address is not read, and the user is told so.
    if (response.error && response.error->code == QNetworkReply::ProtocolUnknownError)
        throw youtube_error(response.error->description.toStdString());
    if (!response.ok())
        return std::nullopt;
    const QString html = QString::fromUtf8(response.body);
    html_.set(html);
    return html;
}

void YouTubeVideo::parseUrls()
{
    setLoading(true);
    const std::lock_guard once(parsing_);
    std::optional<QString> html;
    try {
        html = loadHTML();
    } catch (const youtube_error&) {
        setLoading(false);
        throw;
    }
    if (!html) {
        setLoading(false);
        return;
    }
    if (!Urls().isEmpty()) {
        setLoading(false);
        return;
    }

    std::shared_ptr<parser_result> result;
    try {
        result = youtube_parser::parse_html_remote(html->toStdString(), parserService_.toString().toStdString(), true);
    } catch (const youtube_error&) {
        throw;
    } catch (const std::exception& e) {
        // What the page did to the parser reaches the user like a notice would.
        throw youtube_error(std::string("The video page could not be read (") + e.what() + ").");
    }

    StreamList urls;
    QStringList labels;
    QMap<QString, StreamList> sorted;
    for (const result_url& stream : result->urls) {
        const std::shared_ptr<YouTubeUrl> u = YouTubeUrl::init(stream);
        urls.append(u);
        Log::line(u->url().toString());
        const QString label = u->localizedQuality();
        if (!labels.contains(label))
            labels.append(label);
        sorted[label].append(u);
    }
    setUrls(urls);
    setLocalizedQualitys(labels);
    setSortedUrls(sorted);

    // Without streams the feed's fields stay as they were.
    if (!result->urls.empty()) {
        // Both may carry zero bytes after their text.
        setTitle(QString::fromUtf8(result->title.c_str()));
        constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<qint64>::max());
        setSeconds(static_cast<qint64>(std::min(result->length_seconds, most)));
        setDescription(QString::fromUtf8(result->description.c_str()));
    }

    if (!result->thumbnail.empty()) {
        const QString text = QString::fromStdString(result->thumbnail);
        const QUrl url(text, QUrl::StrictMode);
        Log::line(QStringLiteral("thumbnail url: ") + text);
        if (!url.isValid())
            Log::line(QStringLiteral("url ist null"));
        const platform::Image image = url.isValid() ? fetchImage(url) : nullptr;
        if (!image)
            Log::line(QStringLiteral("thumbnail ist null"));
        setThumbnail(image);
    }
    setLoading(false);
}

void YouTubeVideo::parseUrlsAsync(std::function<void()> done, std::function<void(const youtube_error&)> onError)
{
    Log::line(QStringLiteral("parseUrlsAsny:"));
    setLoading(true);
    platform::WorkerPool::run([self = shared_from_this(), done = std::move(done), onError = std::move(onError)] {
        try {
            self->parseUrls();
            if (done)
                done();
        } catch (const youtube_error& e) {
            if (onError)
                onError(e);
        }
    });
}

void YouTubeVideo::parseUrlsAsync(const QObject* context, std::function<void(const QString& error)> then)
{
    Log::line(QStringLiteral("parseUrlsAsny:"));
    setLoading(true);
    platform::WorkerPool::run(
        context,
        [self = shared_from_this()] {
            try {
                self->parseUrls();
                return QString();
            } catch (const youtube_error& e) {
                const QString message = QString::fromUtf8(e.what());
                Log::line(QStringLiteral("YouTube-Error: ") + message);
                return message;
            }
        },
        std::move(then));
}

std::shared_ptr<YouTubeVideo> YouTubeVideo::fresh() const
{
    auto again = initFromURL(link(), parserService_);
    again->setTitle(title());
    return again;
}

std::shared_ptr<YouTubeUrl> YouTubeVideo::streamOfFormat(const QString& formatId) const
{
    if (formatId.isEmpty())
        return nullptr;
    for (const auto& stream : Urls() + separateUrls())
        if (stream->formatId() == formatId)
            return stream;
    return nullptr;
}

int YouTubeVideo::GetQuality(const QString& quality)
{
    static const char* const ranks[] = {"small", "medium", "large", "hd720"};
    for (int i = 0; i < 4; ++i)
        if (quality == QLatin1String(ranks[i]))
            return i;
    return -1;
}

std::shared_ptr<YouTubeUrl> YouTubeVideo::UrlWithBestQuality() const
{
    int best = -1;
    std::shared_ptr<YouTubeUrl> chosen;
    for (const auto& u : Urls()) {
        const int rank = GetQuality(u->quality());
        if (rank > best) {
            chosen = u;
            best = rank;
        } else if (rank == best && u->type().contains(QLatin1String("video/mp4"))) {
            chosen = u;
        }
    }
    return chosen;
}

std::shared_ptr<YouTubeUrl> YouTubeVideo::UrlWithLowestQuality() const
{
    int lowest = 99;
    std::shared_ptr<YouTubeUrl> chosen;
    for (const auto& u : Urls()) {
        const int rank = GetQuality(u->quality());
        if (rank < lowest) {
            chosen = u;
            lowest = rank;
        }
        Log::line(u->type());
    }
    return chosen;
}

std::shared_ptr<YouTubeUrl> YouTubeVideo::FirstUrlWithQuality(const QString& label) const
{
    for (const auto& u : Urls())
        if (QStringLiteral("%1 (%2)").arg(u->quality(), u->type()) == label)
            return u;
    return nullptr;
}

namespace {

// The best of the separate streams of one kind: the preferred container first,
// then the larger of rank.
std::shared_ptr<YouTubeUrl> bestOf(const YouTubeVideo::StreamList& urls, YouTubeUrl::Media media,
                                   QLatin1String preferredType, double (*rank)(const YouTubeUrl&))
{
    std::shared_ptr<YouTubeUrl> chosen;
    for (const auto& u : urls) {
        if (u->media() != media)
            continue;
        if (!chosen) {
            chosen = u;
            continue;
        }
        const bool preferred = u->type().startsWith(preferredType);
        const bool chosenPreferred = chosen->type().startsWith(preferredType);
        if (preferred != chosenPreferred ? preferred : rank(*u) > rank(*chosen))
            chosen = u;
    }
    return chosen;
}

} // namespace

std::shared_ptr<YouTubeUrl> YouTubeVideo::UrlWithBestPicture() const
{
    return bestOf(separateUrls(), YouTubeUrl::Media::PictureOnly, QLatin1String("video/mp4"),
                  [](const YouTubeUrl& u) { return u.height() * 1e6 + u.bitrate(); });
}

std::shared_ptr<YouTubeUrl> YouTubeVideo::UrlWithBestSound() const
{
    return bestOf(separateUrls(), YouTubeUrl::Media::SoundOnly, QLatin1String("audio/mp4"),
                  [](const YouTubeUrl& u) { return u.bitrate(); });
}

bool YouTubeVideo::isBetterJoined() const
{
    const auto picture = UrlWithBestPicture();
    if (!picture || !UrlWithBestSound())
        return false;
    int highest = 0;
    for (const auto& u : Urls())
        highest = std::max(highest, u->height());
    return picture->height() > highest;
}
