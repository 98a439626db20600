#include "platform/Desktop.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QFileInfo>
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

void Desktop::showInFolder(const QString& path)
{
    const QString folder = QFileInfo(path).absolutePath();
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        openFile(folder);
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList{QUrl::fromLocalFile(path).toString()} << QString();
    // Asked without waiting: a file manager started for the call may take its time.
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, 5000));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [folder](QDBusPendingCallWatcher* done) {
        if (done->isError())
            openFile(folder);
        done->deleteLater();
    });
}

bool Desktop::openUrl(const QUrl& url)
{
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || (scheme != QLatin1String("http") && scheme != QLatin1String("https")))
        return false;
    return open(url);
}

} // namespace platform
