#include "catalogue/YouTubeUrl.h"

#include "platform/Localization.h"

#include <QUrlQuery>

#include <array>

namespace {

struct TypeLabel {
    const char* prefix;
    const char* label;
    const char* suffix;
};

// Tried in this order; the first prefix that matches wins.
constexpr std::array<TypeLabel, 4> typeLabels{{
    {"video/webm", "WebM", "webm"},
    {"video/mp4", "MP4", "mp4"},
    {"video/x-flv", "Flash Video", "flv"},
    {"video/3gpp", "3gp", "3gp"},
}};

const TypeLabel* labelFor(const QString& type)
{
    for (const TypeLabel& t : typeLabels)
        if (type.startsWith(QLatin1String(t.prefix)))
            return &t;
    return nullptr;
}

QString qualityLabel(const QString& quality)
{
    // "hd720" deliberately has no key: it is shown as it is.
    if (quality == QLatin1String("small"))
        return platform::Localization::string("quality.small");
    if (quality == QLatin1String("medium"))
        return platform::Localization::string("quality.medium");
    if (quality == QLatin1String("large"))
        return platform::Localization::string("quality.large");
    return quality;
}

// A stream address as the service writes it may hold '"' (in its type's codecs),
// which no strict URL allows.
QUrl streamUrl(const QString& text)
{
    QUrl url(text, QUrl::StrictMode);
    if (url.isValid())
        return url;
    QString repaired = text;
    repaired.replace(QLatin1Char('"'), QLatin1String("%22"));
    url = QUrl(repaired, QUrl::StrictMode);
    return url.isValid() ? url : QUrl();
}

} // namespace

std::shared_ptr<YouTubeUrl> YouTubeUrl::init(const result_url& stream)
{
    auto u = std::make_shared<YouTubeUrl>();
    u->setUrl(streamUrl(QString::fromStdString(stream.url)));
    const QString quality = QString::fromStdString(stream.quality);
    const QString type = QString::fromStdString(stream.type);
    u->setQuality(quality);
    u->setType(type);
    u->setLocalizedQuality(qualityLabel(quality));
    const TypeLabel* label = labelFor(type);
    u->setLocalizedType(label ? QString::fromLatin1(label->label) : type);
    u->setFormatId(QUrlQuery(u->url()).queryItemValue(QStringLiteral("itag")));
    return u;
}

QString YouTubeUrl::getVideoSuffix(const QString& type)
{
    const TypeLabel* label = labelFor(type);
    return QString::fromLatin1(label ? label->suffix : "mp4");
}

bool YouTubeUrl::isMP4() const
{
    return type().startsWith(QLatin1String("video/mp4"));
}
