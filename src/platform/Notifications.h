#pragma once

#include <QObject>
#include <QSet>
#include <QString>

namespace platform {

// Desktop notifications through the session's notification service
// (org.freedesktop.Notifications). Without a service, or without a session
// bus, nothing happens and nothing complains: they are a courtesy. Calls never
// wait on the bus.
class Notifications : public QObject {
    Q_OBJECT
public:
    explicit Notifications(const QString& applicationName, const QString& desktopEntry, QObject* parent = nullptr);

    void notify(const QString& summary, const QString& body);

signals:
    // The user pressed one of ours.
    void activated();

private slots:
    void actionInvoked(uint id, const QString& action);
    void notificationClosed(uint id, uint reason);

private:
    bool listen();

    const QString applicationName_;
    const QString desktopEntry_;
    bool listening_ = false;
    QSet<uint> shown_;
};

} // namespace platform
