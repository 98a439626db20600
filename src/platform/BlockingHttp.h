#pragma once

#include "platform/CancelToken.h"
#include "platform/Error.h"

#include <QByteArray>
#include <QUrl>

#include <chrono>
#include <memory>
#include <optional>

namespace platform {

// What a GET brought back. A reply with any HTTP status is a response; error is
// set only when no response came (no connection, time-out, too large, bad address).
struct HttpResponse {
    std::optional<Error> error;
    int status = 0;
    QByteArray body;

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
