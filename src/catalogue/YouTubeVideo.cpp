#include "catalogue/YouTubeVideo.h"

#include "catalogue/ThumbnailBatch.h"
#include "catalogue/xml/TBXML.h"
#include "core/youtube_error.h"
#include "core/youtube_parser.h"
#include "platform/BlockingHttp.h"
#include "platform/Log.h"
#include "platform/Text.h"
#include "platform/WorkerPool.h"

#include <QDateTime>
#include <QNetworkReply>
#include <QRegularExpression>

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

    // For the saved files' tags: the author, the date and the item's picture.
    About about;
    const TBXMLElement* author = TBXML::childElementNamed("author", item);
    QString name = TBXML::stringByDecodingXMLEntities(
        TBXML::textForElement(TBXML::childElementNamed("name", author) ? TBXML::childElementNamed("name", author) : author));
    // RSS writes "address (Name)".
    static const QRegularExpression mailAndName(QStringLiteral("^\\S+@\\S+\\s+\\((.*)\\)$"));
    if (const auto match = mailAndName.match(name.trimmed()); match.hasMatch())
        name = match.captured(1);
    about.channel = platform::withoutControls(name, u' ').simplified().left(200);
    const QString published = TBXML::textForElement(TBXML::childElementNamed("pubDate", item)).trimmed();
    QDateTime when = QDateTime::fromString(published, Qt::RFC2822Date);
    if (!when.isValid())
        when = QDateTime::fromString(TBXML::textForElement(TBXML::childElementNamed("published", item)).trimmed(),
                                     Qt::ISODate);
    if (when.isValid())
        about.uploadDate = when.toUTC().date().toString(Qt::ISODate);
    about.cover = thumbnailAddress(item);
    video->setAbout(about);
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

QString YouTubeVideo::Quality::label() const
{
    QString text = QString::number(height) + u'p';
    if (fps > 30)
        text += QString::number(fps);
    if (hdr)
        text += QStringLiteral(" HDR");
    return text;
}

namespace {

// The height a stream's quality label stands for, for streams that do not say theirs.
int heightOf(const YouTubeUrl& stream)
{
    if (stream.height() > 0)
        return stream.height();
    static const std::pair<const char*, int> labels[] = {
        {"hd1080", 1080}, {"hd720", 720}, {"large", 480}, {"medium", 360}, {"small", 240}};
    for (const auto& [label, height] : labels)
        if (stream.quality() == QLatin1String(label))
            return height;
    return 0;
}

// Whether a is the better choice of one height than b.
bool betterAtEqualHeight(const YouTubeVideo::Quality& a, const YouTubeVideo::Quality& b)
{
    const bool aMp4 = a.picture->isMP4(), bMp4 = b.picture->isMP4();
    if (aMp4 != bMp4)
        return aMp4;
    const bool aBoth = !a.sound, bBoth = !b.sound;
    if (aBoth != bBoth)
        return aBoth;
    if (a.fps != b.fps)
        return a.fps > b.fps;
    return a.picture->bitrate() > b.picture->bitrate();
}

} // namespace

QList<YouTubeVideo::Quality> YouTubeVideo::qualities() const
{
    QList<Quality> all;
    const auto add = [&all](const std::shared_ptr<YouTubeUrl>& picture, const std::shared_ptr<YouTubeUrl>& sound) {
        Quality choice{heightOf(*picture), picture->fps(), picture->isHdr(), 0, picture, sound};
        if (choice.height <= 0)
            return;
        if (picture->bytes() > 0 && (!sound || sound->bytes() > 0))
            choice.bytes = picture->bytes() + (sound ? sound->bytes() : 0);
        const auto same = std::find_if(all.begin(), all.end(), [&](const Quality& q) { return q.height == choice.height; });
        if (same == all.end())
            all.append(choice);
        else if (betterAtEqualHeight(choice, *same))
            *same = choice;
    };
    for (const auto& stream : Urls())
        add(stream, nullptr);
    if (const auto sound = UrlWithBestSound())
        for (const auto& stream : separateUrls())
            if (stream->media() == YouTubeUrl::Media::PictureOnly)
                add(stream, sound);
    std::sort(all.begin(), all.end(), [](const Quality& a, const Quality& b) { return a.height > b.height; });
    return all;
}

std::optional<YouTubeVideo::Quality> YouTubeVideo::qualityUpTo(int height) const
{
    const QList<Quality> all = qualities();
    if (all.isEmpty())
        return std::nullopt;
    for (const Quality& choice : all)
        if (height <= 0 || choice.height <= height)
            return choice;
    return all.last();
}

std::optional<YouTubeVideo::Subtitles> YouTubeVideo::subtitlesIn(const QString& language, bool automatic) const
{
    if (language.isEmpty())
        return std::nullopt;
    const QList<Subtitles> all = about().subtitles;
    for (const bool automaticOnes : {false, true}) {
        if (automaticOnes && !automatic)
            break;
        // The very language first, then one of its regions.
        for (const bool exact : {true, false})
            for (const Subtitles& track : all)
                if (track.automatic == automaticOnes &&
                    (exact ? track.language == language : track.language.startsWith(language + u'-')))
                    return track;
    }
    return std::nullopt;
}
