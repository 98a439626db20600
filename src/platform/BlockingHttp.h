#pragma once

#include "platform/CancelToken.h"
#include "platform/Error.h"

#include <QByteArray>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace platform {

// What a GET brought back. A reply with any HTTP status is a response; error is
// set only when no response came (no connection, time-out, too large, bad address).
struct HttpResponse {
    std::optional<Error> error;
    int status = 0;
    QByteArray body;
    // What the server said the body's length is, when it said so.
    std::optional<qint64> contentLength;
    // The body's bytes that arrived (also those handed to a sink).
    qint64 received = 0;

    bool ok() const { return !error && status == 200; }
};

// A GET that blocks the calling thread (any thread) until the whole body is
// there: redirects followed, https spoken, nothing cached.
class BlockingHttp {
public:
    struct Options {
        // Without a byte moving for this long the transfer is given up.
        std::chrono::milliseconds timeout{60000};
        // A body beyond this is refused; whatever a server sends, memory stays bounded.
        qint64 maxBytes = 64 * 1024 * 1024;
        // Once cancelled, a transfer under way is aborted and none is begun: the
        // response is then an error.
        std::shared_ptr<CancelToken> cancel;
        // When set, each redirect is followed only where this allows it.
        std::function<bool(const QUrl&)> redirectAllowed;
        // The headers alone (HEAD).
        bool head = false;
        // When set, the body goes here as it arrives instead of into the
        // response (maxBytes still holds); false stops the transfer, an error.
        std::function<bool(const QByteArray&)> sink;
        // After each piece of the body: bytes so far, and the length announced.
        std::function<void(qint64, std::optional<qint64>)> progress;
    };

    static HttpResponse get(const QUrl& url);
    static HttpResponse get(const QUrl& url, const Options& options);

    // For the program's end: every GET under way is aborted and none is begun
    // any more, so that no worker holds the program up waiting on a server.
    static void cancelAll();

    // A QNetworkReply error of the connection itself (refused, reset, timed out),
    // as opposed to one that only mirrors an HTTP status the server chose: with
    // these even a reply that had begun is incomplete.
    static bool isTransportError(int networkError);
};

} // namespace platform
