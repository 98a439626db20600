#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

class QSocketNotifier;

// One running program per user: a second start hands its request to the first
// over a local socket and ends. The socket lives in the user's runtime folder;
// one left behind by a program that died is removed, never in the way.
// Plain sockets rather than Qt Network's: the window's start-up loads no
// network code.
namespace platform {

class SingleInstance : public QObject {
    Q_OBJECT
public:
    // name: the socket's file name in the runtime folder.
    explicit SingleInstance(const QString& name, QObject* parent = nullptr);
    ~SingleInstance() override;
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    // True when a running program took the message (this one ends); false when
    // this is the first, which now listens for the later ones.
    bool handOver(const QByteArray& message);

signals:
    void messageReceived(const QByteArray& message);

private:
    bool send(const QByteArray& message) const;
    bool listen();
    void accept();
    void receive(int connection);

    QString path_;
    int server_ = -1;
    QSocketNotifier* serverNotifier_ = nullptr;
};

} // namespace platform
