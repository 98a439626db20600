#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

// One running program per desktop session, the desktop's own way: the first
// owns a well-known name on the session bus and offers org.freedesktop.Application
// there; a later start hands its addresses to it and ends. The bus lets only
// the session's own user in, and frees the name when its owner dies. Without a
// session bus every start opens its own window.
namespace platform {

class SingleInstance : public QObject {
    Q_OBJECT
public:
    // name: the bus name, the desktop entry's ID ("org.example.App").
    explicit SingleInstance(const QString& name, QObject* parent = nullptr);
    ~SingleInstance() override;
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    // True when a running program took the request (this one ends): with no
    // addresses to come to the front, with some to open them. False when this
    // is the first, which now takes the later ones, or there is no bus.
    bool handOver(const QStringList& addresses);

signals:
    // A later start asked for the window, or for these addresses.
    void activated();
    void opened(const QStringList& addresses);

private:
    friend class ApplicationAdaptor;

    const QString name_;
    const QString path_;
    bool owner_ = false;
};

} // namespace platform
