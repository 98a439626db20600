#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace platform {

// HTTP itself, in a module of its own that the first transfer loads: the
// window starts without Qt Network and the libraries under it (Kerberos, proxy
// discovery). Error codes are QNetworkReply's.
class HttpEngine {
public:
    // The transfers of one thread may share a session: its own thread and its
    // open connections.
    class Session {
    public:
        virtual ~Session() = default;
    };

    struct Request {
        QUrl url;
        // Without a byte moving for this long the transfer is given up.
        std::chrono::milliseconds timeout{60000};
        // At most this much is held for the reader; 0: no bound.
        qint64 readBufferBytes = 0;
    };

    // One GET, run by the event loop of the thread that began it, where its
    // hooks come too. A hook may stop the transfer or destroy it. Redirects are
    // followed unless they lead from https to http; nothing is cached.
    class Transfer {
    public:
        virtual ~Transfer() = default;
        // Ends the transfer where it is; no hook runs after this. Its thread only.
        virtual void stop() = 0;
        // Its thread: aborts now; the finished hook comes at once.
        virtual void abort() = 0;
        // Any thread: aborts at the next turn of the transfer's own event loop,
        // after which the finished hook comes (a stopped transfer stays silent).
        virtual void abortSoon() = 0;
        // Not stopped.
        virtual bool isActive() const = 0;
        virtual bool isFinished() const = 0;
        // Only once a response came.
        virtual std::optional<int> status() const = 0;
        virtual std::optional<qint64> contentLength() const = 0;
        virtual qint64 bytesAvailable() const = 0;
        // What arrived and was not read yet; nothing once the transfer is closed.
        virtual qint64 read(char* into, qint64 most) = 0;
        virtual QByteArray readAll() = 0;
        // 0 while nothing went wrong.
        virtual int error() const = 0;
        virtual QString errorString() const = 0;
    };

    virtual ~HttpEngine() = default;

    virtual std::unique_ptr<Session> session() = 0;
    // session: none, one for this transfer alone. readyRead and finished may
    // be empty.
    virtual std::unique_ptr<Transfer> get(Session* session, const Request& request, std::function<void()> readyRead,
                                          std::function<void()> finished) = 0;

    // Loaded at the first call, once per process. None when the module cannot
    // be loaded; error then says why.
    static HttpEngine* instance(QString* error = nullptr);
};

} // namespace platform
