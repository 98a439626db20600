#include "platform/Notifications.h"

#include "platform/Text.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QVariantMap>

namespace platform {

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");
const QString interface = QStringLiteral("org.freedesktop.Notifications");
const QString pressed = QStringLiteral("default");

} // namespace

Notifications::Notifications(const QString& applicationName, const QString& desktopEntry, QObject* parent)
    : QObject(parent), applicationName_(applicationName), desktopEntry_(desktopEntry)
{
}

bool Notifications::listen()
{
    // The bus is joined on the first notification, not at start-up.
    if (listening_)
        return true;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return false;
    bus.connect(service, path, interface, QStringLiteral("ActionInvoked"), this,
                SLOT(actionInvoked(uint, QString)));
    bus.connect(service, path, interface, QStringLiteral("NotificationClosed"), this,
                SLOT(notificationClosed(uint, uint)));
    listening_ = true;
    return true;
}

void Notifications::notify(const QString& summary, const QString& body)
{
    if (!listen())
        return;
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("Notify"));
    QVariantMap hints;
    hints.insert(QStringLiteral("desktop-entry"), desktopEntry_);
    // Both are plain text to us. The summary is plain text to every server too
    // (escaped, it would show its "&amp;"); the body may be read as markup, so
    // markup must not be seen in it. Neither carries a control character.
    call << applicationName_ << 0u << desktopEntry_ << withoutControls(summary, QLatin1Char(' '))
         << withoutControls(body, QLatin1Char(' '), true).toHtmlEscaped() << QStringList{pressed, applicationName_}
         << hints << -1;
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* done) {
        const QDBusPendingReply<uint> reply = *done;
        // No service: the call fails, and that is all.
        if (reply.isValid())
            shown_.insert(reply.value());
        done->deleteLater();
    });
}

void Notifications::actionInvoked(uint id, const QString& action)
{
    if (shown_.contains(id) && action == pressed)
        emit activated();
}

void Notifications::notificationClosed(uint id, uint)
{
    shown_.remove(id);
}

} // namespace platform
