#include "catalogue/engine/YtDlpJson.h"

#include "catalogue/YouTubeUrl.h"
#include "platform/Text.h"
#include "platform/WebAddress.h"

#include <QDate>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QRegularExpression>
#include <QUrlQuery>

#include <algorithm>
#include <cmath>

namespace engine::ytdlp {

namespace {

constexpr qsizetype longestReason = 1000;
constexpr qsizetype longestHeaderName = 256;
constexpr qsizetype longestHeaderValue = 8192;
// A week: a longer length is no length.
constexpr double longestSeconds = 7 * 24 * 3600.0;

QString text(const QJsonValue& value)
{
    return value.isString() ? value.toString() : QString();
}

int wholeNumber(const QJsonValue& value, int most)
{
    const double number = value.toDouble(0);
    return std::isfinite(number) ? static_cast<int>(std::clamp(number, 0.0, static_cast<double>(most))) : 0;
}

qint64 seconds(const QJsonValue& value)
{
    const double number = value.toDouble(0);
    return std::isfinite(number) && number > 0 && number <= longestSeconds ? std::llround(number) : 0;
}

// Only web addresses are kept; a link without one is refused when it is used.
std::optional<QUrl> webAddress(const QString& text)
{
    const QUrl url(text, QUrl::StrictMode);
    if (!platform::isWebAddress(url))
        return std::nullopt;
    return url;
}

template <typename T>
Reading<T> failure(const QString& error)
{
    return {std::nullopt, error};
}

std::optional<QJsonObject> document(const QByteArray& json, QString* error)
{
    if (json.size() > largestAnswer) {
        *error = QStringLiteral("yt-dlp's answer is larger than %1 MiB.").arg(largestAnswer / (1024 * 1024));
        return std::nullopt;
    }
    QJsonParseError parse{};
    const QJsonDocument doc = QJsonDocument::fromJson(json, &parse);
    if (parse.error != QJsonParseError::NoError) {
        *error = QStringLiteral("yt-dlp's answer is no JSON (%1).").arg(parse.errorString());
        return std::nullopt;
    }
    if (!doc.isObject()) {
        *error = QStringLiteral("yt-dlp answered with no video.");
        return std::nullopt;
    }
    return doc.object();
}

// The picture of a search entry: its one thumbnail, else the smallest of its
// list that fills a row's 320 pixels, else the largest.
std::optional<QUrl> thumbnailOf(const QJsonObject& entry)
{
    if (const auto one = webAddress(text(entry.value(QLatin1String("thumbnail")))))
        return one;
    std::optional<QUrl> fitting, largest;
    int fittingWidth = 0, largestWidth = -1;
    for (const QJsonValue& value : entry.value(QLatin1String("thumbnails")).toArray()) {
        const QJsonObject picture = value.toObject();
        const auto url = webAddress(text(picture.value(QLatin1String("url"))));
        if (!url)
            continue;
        const int width = wholeNumber(picture.value(QLatin1String("width")), 100000);
        if (width >= 320 && (!fitting || width < fittingWidth)) {
            fitting = url;
            fittingWidth = width;
        }
        if (width > largestWidth) {
            largest = url;
            largestWidth = width;
        }
    }
    return fitting ? fitting : largest;
}

bool isToken(const QString& name)
{
    static const QString others = QStringLiteral("!#$%&'*+-.^_`|~");
    return !name.isEmpty() && name.size() <= longestHeaderName && std::all_of(name.begin(), name.end(), [](QChar c) {
        return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || others.contains(c);
    });
}

// Headers a download may send as yt-dlp asks: well-formed ones only (no line
// breaks to smuggle a request in), none that the transfer itself decides.
Headers headersOf(const QJsonObject& format)
{
    static const QStringList ours{QStringLiteral("host"), QStringLiteral("content-length"),
                                  QStringLiteral("connection"), QStringLiteral("transfer-encoding"),
                                  QStringLiteral("range"), QStringLiteral("accept-encoding")};
    Headers headers;
    const QJsonObject all = format.value(QLatin1String("http_headers")).toObject();
    for (auto it = all.begin(); it != all.end() && headers.size() < mostHeaders; ++it) {
        const QString value = text(it.value());
        if (!isToken(it.key()) || ours.contains(it.key().toLower()) || value.size() > longestHeaderValue ||
            platform::withoutControls(value) != value)
            continue;
        headers.append({it.key().toLatin1(), value.toUtf8()});
    }
    return headers;
}

// A codec name as it may stand in a MIME type's parameter.
bool isCodec(const QString& codec)
{
    return !codec.isEmpty() && codec.size() <= 64 && std::all_of(codec.begin(), codec.end(), [](QChar c) {
        return (c.isLetterOrNumber() && c.unicode() < 0x80) || c == u'.' || c == u'-' || c == u'_';
    });
}

std::optional<Format> formatOf(const QJsonObject& object, QStringList* refusedSchemes)
{
    // null or missing: not known; "none": not there.
    const QString vcodec = text(object.value(QLatin1String("vcodec")));
    const QString acodec = text(object.value(QLatin1String("acodec")));
    const bool picture = vcodec != QLatin1String("none");
    const bool sound = acodec != QLatin1String("none");
    if (!picture && !sound)
        return std::nullopt; // a storyboard of stills
    Format format;
    format.media = picture && sound ? Format::Media::PictureAndSound
                   : picture        ? Format::Media::PictureOnly
                                    : Format::Media::SoundOnly;

    const QString address = text(object.value(QLatin1String("url")));
    const QUrl url(address, QUrl::StrictMode);
    const QString protocol = text(object.value(QLatin1String("protocol")));
    const bool plain = protocol.isEmpty() || protocol == QLatin1String("http") || protocol == QLatin1String("https");
    if (!plain || !platform::isWebAddress(url)) {
        const QString scheme = plain ? url.scheme() : protocol;
        if (!scheme.isEmpty() && !refusedSchemes->contains(scheme))
            refusedSchemes->append(scheme);
        return std::nullopt;
    }
    format.url = url;
    format.height = wholeNumber(object.value(QLatin1String("height")), 100000);
    format.quality = format.media == Format::Media::SoundOnly ? QStringLiteral("audio") : qualityForHeight(format.height);
    // The best-stream rule knows no rank above "hd720": a stream with both
    // that high is of that rank (the service offers none, today's at most 360).
    if (format.media == Format::Media::PictureAndSound && format.quality == QLatin1String("hd1080"))
        format.quality = QStringLiteral("hd720");
    format.type = mimeType(text(object.value(QLatin1String("ext"))).toLower(), vcodec, acodec, format.media);
    const double abr = object.value(QLatin1String("abr")).toDouble(0);
    const double tbr = object.value(QLatin1String("tbr")).toDouble(0);
    const double bitrate = format.media == Format::Media::SoundOnly && abr > 0 ? abr : tbr > 0 ? tbr : abr;
    format.bitrate = std::isfinite(bitrate) ? std::max(bitrate, 0.0) : 0;
    format.headers = headersOf(object);
    // Plain words only: it is matched against a later extraction's, and shown nowhere.
    const QString id = text(object.value(QLatin1String("format_id")));
    static const QRegularExpression plainId(QStringLiteral("^[A-Za-z0-9_.+-]{1,64}$"));
    if (plainId.match(id).hasMatch())
        format.formatId = id;
    // Servers that throttle wide ranges: yt-dlp says how wide a range may be.
    const double chunk = object.value(QLatin1String("downloader_options")).toObject().value(QLatin1String("http_chunk_size")).toDouble(0);
    if (chunk >= 64 * 1024 && chunk <= 1024.0 * 1024 * 1024)
        format.chunkSize = static_cast<qint64>(chunk);
    if (format.media != Format::Media::SoundOnly) {
        format.fps = wholeNumber(object.value(QLatin1String("fps")), 1000);
        // "SDR", "HDR10", "HLG", "DV"; null when not known.
        const QString range = text(object.value(QLatin1String("dynamic_range")));
        format.hdr = !range.isEmpty() && range != QLatin1String("SDR");
    }
    double bytes = object.value(QLatin1String("filesize")).toDouble(0);
    if (!(bytes > 0))
        bytes = object.value(QLatin1String("filesize_approx")).toDouble(0);
    // A terabyte: a larger size is no size.
    if (std::isfinite(bytes) && bytes > 0 && bytes < 1e12)
        format.bytes = static_cast<qint64>(bytes);
    return format;
}

// The largest picture: by its size where sizes are given, else the last
// (yt-dlp lists the preferred last), else the one thumbnail.
std::optional<QUrl> coverOf(const QJsonObject& root)
{
    std::optional<QUrl> largest, last;
    qint64 largestArea = 0;
    for (const QJsonValue& value : root.value(QLatin1String("thumbnails")).toArray()) {
        const QJsonObject picture = value.toObject();
        const auto url = webAddress(text(picture.value(QLatin1String("url"))));
        if (!url)
            continue;
        last = url;
        const qint64 area = qint64(wholeNumber(picture.value(QLatin1String("width")), 100000)) *
                            wholeNumber(picture.value(QLatin1String("height")), 100000);
        if (area > largestArea) {
            largest = url;
            largestArea = area;
        }
    }
    if (largest)
        return largest;
    if (last)
        return last;
    return webAddress(text(root.value(QLatin1String("thumbnail"))));
}

// The WebVTT tracks of "subtitles" (the uploader's) or "automatic_captions".
void readSubtitles(const QJsonObject& tracks, bool automatic, QList<YouTubeVideo::Subtitles>* into)
{
    static const QRegularExpression language(QStringLiteral("^[A-Za-z]{2,3}(-[A-Za-z0-9]{2,8}){0,2}$"));
    for (auto it = tracks.begin(); it != tracks.end() && into->size() < mostSubtitleLanguages; ++it) {
        if (!language.match(it.key()).hasMatch())
            continue; // "live_chat" and the like
        for (const QJsonValue& value : it.value().toArray()) {
            const QJsonObject track = value.toObject();
            const auto url = webAddress(text(track.value(QLatin1String("url"))));
            // yt-dlp names the kind; a track it read from a page's <track> it may
            // not, and then the address says it.
            const bool vtt = text(track.value(QLatin1String("ext"))) == QLatin1String("vtt") ||
                             (url && QUrlQuery(*url).queryItemValue(QStringLiteral("fmt")) == QLatin1String("vtt")) ||
                             (url && url->path().endsWith(QLatin1String(".vtt")));
            if (url && vtt) {
                into->append({it.key(), *url, automatic});
                break;
            }
        }
    }
}

// "20240131" as "2024-01-31"; anything else as nothing.
QString dateOf(const QString& compact)
{
    const QDate date = QDate::fromString(compact, QStringLiteral("yyyyMMdd"));
    return compact.size() == 8 && date.isValid() ? date.toString(Qt::ISODate) : QString();
}

} // namespace

QString qualityForHeight(int height)
{
    if (height >= 1080)
        return QStringLiteral("hd1080");
    if (height >= 720)
        return QStringLiteral("hd720");
    if (height >= 480)
        return QStringLiteral("large");
    if (height >= 360)
        return QStringLiteral("medium");
    return QStringLiteral("small");
}

QString mimeType(const QString& ext, const QString& vcodec, const QString& acodec, Format::Media media)
{
    const bool soundOnly = media == Format::Media::SoundOnly;
    QString type;
    if (ext == QLatin1String("mp4") || ext == QLatin1String("m4a") || ext == QLatin1String("m4v"))
        type = soundOnly || ext == QLatin1String("m4a") ? QStringLiteral("audio/mp4") : QStringLiteral("video/mp4");
    else if (ext == QLatin1String("webm"))
        type = soundOnly ? QStringLiteral("audio/webm") : QStringLiteral("video/webm");
    else if (ext == QLatin1String("flv"))
        type = QStringLiteral("video/x-flv");
    else if (ext == QLatin1String("3gp"))
        type = QStringLiteral("video/3gpp");
    else if (ext == QLatin1String("mp3"))
        type = QStringLiteral("audio/mpeg");
    else if (ext == QLatin1String("ogg") || ext == QLatin1String("opus") || ext == QLatin1String("oga"))
        type = soundOnly ? QStringLiteral("audio/ogg") : QStringLiteral("video/ogg");
    else if (ext == QLatin1String("mkv"))
        type = QStringLiteral("video/x-matroska");
    else
        type = (soundOnly ? QStringLiteral("audio/") : QStringLiteral("video/")) +
               (isCodec(ext) ? ext : QStringLiteral("unknown"));

    QStringList codecs;
    if (media != Format::Media::SoundOnly)
        codecs.append(vcodec);
    if (media != Format::Media::PictureOnly)
        codecs.append(acodec);
    if (std::all_of(codecs.begin(), codecs.end(), isCodec))
        type += QStringLiteral("; codecs=\"%1\"").arg(codecs.join(QStringLiteral(", ")));
    return type;
}

Reading<QList<FoundVideo>> readSearch(const QByteArray& json)
{
    QString error;
    const auto root = document(json, &error);
    if (!root)
        return failure<QList<FoundVideo>>(error);
    QList<FoundVideo> videos;
    for (const QJsonValue& value : root->value(QLatin1String("entries")).toArray()) {
        if (videos.size() >= mostVideos)
            break;
        const QJsonObject entry = value.toObject();
        QString link = text(entry.value(QLatin1String("url")));
        if (link.isEmpty())
            link = text(entry.value(QLatin1String("webpage_url")));
        if (link.isEmpty())
            continue;
        FoundVideo video;
        // A feed's entries carry yt-dlp's own notes in the fragment.
        video.link = QUrl(link).adjusted(QUrl::RemoveFragment);
        video.title = text(entry.value(QLatin1String("title")));
        video.description = text(entry.value(QLatin1String("description")));
        video.seconds = seconds(entry.value(QLatin1String("duration")));
        video.thumbnail = thumbnailOf(entry);
        videos.append(video);
    }
    return {videos, {}};
}

Reading<ExtractedVideo> readVideo(const QByteArray& json)
{
    QString error;
    auto root = document(json, &error);
    if (!root)
        return failure<ExtractedVideo>(error);
    if (text(root->value(QLatin1String("_type"))) == QLatin1String("playlist")) {
        const QJsonArray entries = root->value(QLatin1String("entries")).toArray();
        const auto first = std::find_if(entries.begin(), entries.end(), [](const QJsonValue& entry) {
            return entry.toObject().contains(QLatin1String("formats"));
        });
        if (first == entries.end())
            return failure<ExtractedVideo>(QStringLiteral("yt-dlp found no video at this address."));
        root = first->toObject();
    }

    ExtractedVideo video;
    video.title = text(root->value(QLatin1String("title")));
    // yt-dlp's reader of HTML5 videos numbers them, one alone too.
    if (text(root->value(QLatin1String("extractor"))) == QLatin1String("html5") &&
        video.title.endsWith(QLatin1String(" (1)")))
        video.title.chop(4);
    video.description = text(root->value(QLatin1String("description")));
    video.seconds = seconds(root->value(QLatin1String("duration")));
    video.thumbnail = webAddress(text(root->value(QLatin1String("thumbnail"))));
    QString channel = text(root->value(QLatin1String("channel")));
    if (channel.trimmed().isEmpty())
        channel = text(root->value(QLatin1String("uploader")));
    video.about.channel = platform::withoutControls(channel, u' ').simplified().left(longestChannel);
    video.about.uploadDate = dateOf(text(root->value(QLatin1String("upload_date"))));
    video.about.cover = coverOf(*root);
    readSubtitles(root->value(QLatin1String("subtitles")).toObject(), false, &video.about.subtitles);
    readSubtitles(root->value(QLatin1String("automatic_captions")).toObject(), true, &video.about.subtitles);

    QJsonArray formats = root->value(QLatin1String("formats")).toArray();
    if (formats.isEmpty() && root->contains(QLatin1String("url")))
        formats.append(*root); // a video of one format
    for (qsizetype i = 0; i < formats.size() && i < mostFormats; ++i)
        if (auto format = formatOf(formats[i].toObject(), &video.refusedSchemes))
            video.formats.prepend(*format); // yt-dlp lists the best last
    return {video, {}};
}

QString reasonIn(const QByteArray& standardError)
{
    const QString all = QString::fromUtf8(standardError);
    QStringList lines;
    for (const QString& line : all.split(QRegularExpression(QStringLiteral("[\r\n]")), Qt::SkipEmptyParts))
        if (!line.trimmed().isEmpty())
            lines.append(line.trimmed());
    if (lines.isEmpty())
        return {};
    const QLatin1String label("ERROR: ");
    QString reason = lines.last();
    for (auto line = lines.crbegin(); line != lines.crend(); ++line) {
        if (line->startsWith(label)) {
            reason = line->mid(label.size());
            break;
        }
    }
    if (const qsizetype plea = reason.indexOf(QLatin1String("; please report this issue")); plea >= 0)
        reason.truncate(plea);
    return platform::withoutControls(reason.trimmed()).left(longestReason);
}

std::shared_ptr<YouTubeUrl> streamOf(const Format& format)
{
    const auto stream =
        YouTubeUrl::init({format.url.toString(QUrl::FullyEncoded).toStdString(), format.quality.toStdString(),
                          format.type.toStdString()});
    stream->setMedia(static_cast<YouTubeUrl::Media>(format.media));
    stream->setHeight(format.height);
    stream->setBitrate(format.bitrate);
    stream->setHttpHeaders(format.headers);
    stream->setFormatId(format.formatId);
    stream->setChunkSize(format.chunkSize);
    stream->setFps(format.fps);
    stream->setHdr(format.hdr);
    stream->setBytes(format.bytes);
    return stream;
}

static_assert(static_cast<int>(Format::Media::PictureOnly) == static_cast<int>(YouTubeUrl::Media::PictureOnly) &&
              static_cast<int>(Format::Media::SoundOnly) == static_cast<int>(YouTubeUrl::Media::SoundOnly));

} // namespace engine::ytdlp
