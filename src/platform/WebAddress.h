#pragma once

#include <QString>
#include <QUrl>

namespace platform {

// Only the web's own addresses are fetched or shown: Qt would read file:, qrc:
// and data: ones too, and a feed, a page or a parser answer may name any of them.
// Inline, for the web engine's plugin, which builds without the platform library.
inline bool isWebAddress(const QUrl& url)
{
    const QString scheme = url.scheme();
    return url.isValid() && !url.host().isEmpty() &&
           (scheme == QLatin1String("http") || scheme == QLatin1String("https"));
}

// What a refused address says, in the row or on the command line.
inline QString refusalOf(const QUrl& url)
{
    return QStringLiteral("Refused a non-web address: ") + url.toString();
}

} // namespace platform
