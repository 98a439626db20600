#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QNetworkReply>
#include <QPointer>
#include <QString>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class QNetworkAccessManager;

namespace platform {

// One GET on Qt Network, run by the event loop of the thread that began it,
// where its hooks come too. A hook may stop the transfer or destroy it.
// Redirects are followed unless they lead from https to http; nothing is
// cached. The transfers of a thread share one network manager, kept for the
// thread's life, and with it its open connections, unless one is given a lane.
// Error codes are QNetworkReply's.
class HttpTransfer {
public:
    // A network manager of one's own, for long transfers given it one after
    // the other: the thread's manager keeps at most six connections to a host
    // and makes the next transfers wait, their time-outs running. The
    // connection a transfer leaves open serves the next one. Used and let go
    // of on one thread.
    class Lane;
    static std::shared_ptr<Lane> newLane();

    struct Request {
        QUrl url;
        // Without a byte moving for this long the transfer is given up.
        std::chrono::milliseconds timeout{60000};
        // At most this much is held for the reader; 0: no bound.
        qint64 readBufferBytes = 0;
        // On this lane rather than the thread's manager (see Lane).
        std::shared_ptr<Lane> lane;
        // Sent as they are; the caller vouches for them.
        QList<QPair<QByteArray, QByteArray>> headers;
        // When set, each redirect is followed only where this allows it (and
        // never to anything but http and https); else the rule above.
        std::function<bool(const QUrl&)> redirectAllowed;
        // Asks for the headers alone.
        bool head = false;
    };

    // Begins the GET. readyRead and finished may be empty; neither comes
    // before the event loop turns.
    HttpTransfer(const Request& request, std::function<void()> readyRead, std::function<void()> finished);
    ~HttpTransfer();
    HttpTransfer(const HttpTransfer&) = delete;
    HttpTransfer& operator=(const HttpTransfer&) = delete;

    // Ends the transfer where it is; no hook runs after this. Its thread only.
    void stop();
    // Its thread: aborts now; the finished hook comes at once.
    void abort();
    // Any thread: aborts at the next turn of the transfer's own event loop,
    // after which the finished hook comes (a stopped transfer stays silent).
    void abortSoon();
    // Not stopped.
    bool isActive() const;
    bool isFinished() const;
    // Only once a response came.
    std::optional<int> status() const;
    std::optional<qint64> contentLength() const;
    // A header of the response; empty when it has none (or none came yet).
    QByteArray header(const QByteArray& name) const;
    qint64 bytesAvailable() const;
    // What arrived and was not read yet; nothing once the transfer is closed.
    qint64 read(char* into, qint64 most);
    QByteArray readAll();
    // 0 while nothing went wrong.
    int error() const;
    QString errorString() const;

private:
    struct Hooks;
    static void call(const std::shared_ptr<Hooks>& hooks, std::function<void()> Hooks::*which);

    // Watched: the thread's manager, and its replies with it, go when the
    // thread ends (the main thread's with the application object).
    QPointer<QNetworkReply> reply_;
    std::shared_ptr<Lane> lane_;
    const std::shared_ptr<Hooks> hooks_;
    QString refusal_; // why the address was refused; then nothing was asked
    std::shared_ptr<QString> redirectRefusal_; // set when a redirect was refused
};

} // namespace platform
