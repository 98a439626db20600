#include "platform/Desktop.h"

#include <QDesktopServices>
#include <QUrl>

namespace platform {

bool Desktop::openFile(const QString& path)
{
    return QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

bool Desktop::openUrl(const QUrl& url)
{
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || (scheme != QLatin1String("http") && scheme != QLatin1String("https")))
        return false;
    return QDesktopServices::openUrl(url);
}

} // namespace platform
