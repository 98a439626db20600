#pragma once

#include "platform/Error.h"
#include "platform/Event.h"
#include "platform/HttpTransfer.h"
#include "platform/Property.h"

#include <QFile>
#include <QString>
#include <QUrl>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>

// One GET whose body goes straight into a file, chunk by chunk as it arrives,
// with an event each time the whole percentage changes and one at the end. All
// events come on the thread that called start, through its event loop.
class HTTPDownload : public std::enable_shared_from_this<HTTPDownload> {
public:
    // Prepares the file: an existing one is replaced, never appended to.
    static std::shared_ptr<HTTPDownload> init(const QString& localfile, const QUrl& url);
    ~HTTPDownload();
    HTTPDownload(const HTTPDownload&) = delete;
    HTTPDownload& operator=(const HTTPDownload&) = delete;

    void start();
    // Blocks, running the calling thread's event loop, until isDone.
    void waitForFinish() const;
    // Stops the transfer; no event follows.
    void cancel();

    // A new random UUID, upper case, 8-4-4-4-12.
    static QString generateUuidString();

    // What the connection reports, in this order: the response once, data in
    // arrival order, then failure or the end.
    void didReceiveResponse(int status, qint64 contentLength);
    void didReceiveData(const char* data, qint64 size);
    void didFailWithError(const platform::Error& error);
    void didFinishLoading();

    // Set for a status other than 200 (domain "http.download", the status as code),
    // a failed connection, or a file that could not be written.
    std::optional<platform::Error> error() const { return error_.get(); }
    int statusCode() const { return status_; }
    QString localfile() const { return localfile_; }
    QUrl url() const { return url_; }
    // "Content-Length" of a 200 response (0 when it had none).
    std::optional<qint64> length() const { return length_.get(); }
    std::optional<quint64> offset() const { return offset_.get(); }
    bool isDone() const { return done_; }

    // Without a byte for this long the transfer fails.
    void setTimeout(std::chrono::milliseconds timeout) { timeout_ = timeout; }
    // Sent with the GET, as the stream's source asked (before start).
    void setHeaders(const QList<QPair<QByteArray, QByteArray>>& headers) { headers_ = headers; }

    platform::Event<HTTPDownload&> finishEvent;
    platform::Event<HTTPDownload&> updateEvent;

    // The whole percentage of length that offset is (the quotient first, then
    // times 100, cut toward zero), at most 100; none while the length is
    // unknown (or said to be 0).
    static std::optional<int> percentOf(quint64 offset, std::optional<qint64> length);

private:
    HTTPDownload(const QString& localfile, const QUrl& url);
    void onReadyRead();
    void onFinished();
    void respondOnce();
    bool transferring() const { return transfer_ && transfer_->isActive(); }

    const QString localfile_;
    const QUrl url_;
    QFile output_;
    // The percentage last told; an update comes only when it changes.
    std::optional<std::optional<int>> lastThrowedStatus_;
    platform::Property<std::optional<platform::Error>> error_;
    std::atomic<int> status_{0};
    platform::Property<std::optional<qint64>> length_;
    platform::Property<std::optional<quint64>> offset_;
    std::atomic<bool> done_{false};
    bool responded_ = false;
    std::chrono::milliseconds timeout_{60000};
    QList<QPair<QByteArray, QByteArray>> headers_;
    std::unique_ptr<platform::HttpTransfer> transfer_;
};
