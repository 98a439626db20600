#include "platform/Desktop.h"

#include <QProcess>
#include <QUrl>

namespace platform {

namespace {

// The desktop's own opener, as Qt's desktop services call it too, but without
// Qt Gui: the command line opens files as well and starts without it.
bool open(const QUrl& url)
{
    return QProcess::startDetached(QStringLiteral("xdg-open"), {QString::fromUtf8(url.toEncoded())});
}

} // namespace

bool Desktop::openFile(const QString& path)
{
    return open(QUrl::fromLocalFile(path));
}

bool Desktop::openUrl(const QUrl& url)
{
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || (scheme != QLatin1String("http") && scheme != QLatin1String("https")))
        return false;
    return open(url);
}

} // namespace platform
