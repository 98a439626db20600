#include "platform/ServiceEndpoints.h"

#include <QProcessEnvironment>

namespace platform {

ServiceEndpoints ServiceEndpoints::defaults()
{
    // The parser service has no public address: its default fails at once, and
    // watch pages are then parsed here.
    return {QUrl(QStringLiteral("http://gdata.youtube.com")), QStringLiteral("youtube.com"),
            QUrl(QStringLiteral("http://parser.invalid/cgi-bin/zor.parser"))};
}

ServiceEndpoints ServiceEndpoints::at(const QUrl& base)
{
    QUrl root = base.adjusted(QUrl::RemovePath | QUrl::RemoveQuery | QUrl::RemoveFragment);
    QUrl parser = root;
    parser.setPath(QStringLiteral("/cgi-bin/zor.parser"));
    return {root, root.host(), parser};
}

ServiceEndpoints ServiceEndpoints::fromEnvironment(const QString& base)
{
    if (!base.isEmpty())
        return at(QUrl(base));
    const QString fromEnvironment = QProcessEnvironment::systemEnvironment().value(QLatin1String(environmentVariable));
    if (!fromEnvironment.isEmpty())
        return at(QUrl(fromEnvironment));
    return defaults();
}

bool ServiceEndpoints::isStandIn() const
{
    return feed != defaults().feed;
}

bool ServiceEndpoints::isWatchPage(const QUrl& url) const
{
    // The domain itself or a name under it: "www.youtube.com", never "evilyoutube.com".
    const QString host = url.host();
    if (!url.isValid() || host.isEmpty() || domain.isEmpty())
        return false;
    return host.compare(domain, Qt::CaseInsensitive) == 0 ||
           host.endsWith(QLatin1Char('.') + domain, Qt::CaseInsensitive);
}

} // namespace platform
