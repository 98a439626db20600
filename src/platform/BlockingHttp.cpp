#include "platform/BlockingHttp.h"

#include "platform/HttpTransfer.h"

#include <QEventLoop>
#include <QNetworkReply>

namespace platform {

namespace {

const QString domain = QStringLiteral("QNetworkReply");

// Never destroyed: GETs on threads that outlive main() may still look at it.
CancelToken& ending()
{
    static CancelToken* const token = new CancelToken;
    return *token;
}

} // namespace

void BlockingHttp::cancelAll()
{
    ending().cancel();
}

bool BlockingHttp::isTransportError(int networkError)
{
    const auto error = static_cast<QNetworkReply::NetworkError>(networkError);
    return (error > QNetworkReply::NoError && error < QNetworkReply::ProxyConnectionRefusedError) ||
           error == QNetworkReply::ProtocolFailure;
}

HttpResponse BlockingHttp::get(const QUrl& url)
{
    return get(url, Options());
}

HttpResponse BlockingHttp::get(const QUrl& url, const Options& options)
{
    HttpResponse response;
    if (!url.isValid() || url.isRelative()) {
        response.error = Error{domain, QNetworkReply::ProtocolUnknownError, QStringLiteral("Invalid URL: ") + url.toString()};
        return response;
    }
    if ((options.cancel && options.cancel->isCancelled()) || ending().isCancelled()) {
        response.error = Error{domain, QNetworkReply::OperationCanceledError, QStringLiteral("Cancelled")};
        return response;
    }

    QEventLoop loop;
    std::unique_ptr<HttpTransfer> transfer;
    bool tooLarge = false;
    bool refusedBySink = false;
    // Whatever is there now goes to the body or the sink; false once the transfer was stopped.
    const auto take = [&]() {
        if (tooLarge || refusedBySink)
            return false;
        if (response.received + transfer->bytesAvailable() > options.maxBytes) {
            tooLarge = true;
            return false;
        }
        const QByteArray piece = transfer->readAll();
        if (piece.isEmpty())
            return true;
        response.received += piece.size();
        if (options.sink) {
            if (!options.sink(piece)) {
                refusedBySink = true;
                return false;
            }
        } else {
            response.body += piece;
        }
        if (options.progress)
            options.progress(response.received, transfer->contentLength());
        return true;
    };
    HttpTransfer::Request request;
    request.url = url;
    request.timeout = options.timeout;
    request.redirectAllowed = options.redirectAllowed;
    request.head = options.head;
    transfer = std::make_unique<HttpTransfer>(request, [&] {
        if (!take())
            transfer->abort();
    }, [&] { loop.quit(); });
    // The transfer stays alive while the hooks may run, as forget() comes
    // before it goes.
    const auto abort = [&transfer] { transfer->abortSoon(); };
    const CancelToken::Hook hook = options.cancel ? options.cancel->watch(abort) : 0;
    const CancelToken::Hook endingHook = ending().watch(abort);
    if (!transfer->isFinished())
        loop.exec();
    ending().forget(endingHook);
    if (options.cancel)
        options.cancel->forget(hook);

    take();
    const std::optional<int> status = transfer->status();
    response.contentLength = transfer->contentLength();
    if (tooLarge) {
        response.error = Error{domain, QNetworkReply::UnknownContentError,
                               QStringLiteral("Response larger than %1 bytes").arg(options.maxBytes)};
        response.body.clear();
    } else if (refusedBySink) {
        response.error = Error{domain, QNetworkReply::OperationCanceledError, QStringLiteral("Not written")};
        response.body.clear();
    } else if (status && !isTransportError(transfer->error())) {
        // A 404 is an answer, not a failed connection.
        response.status = *status;
    } else {
        response.error = Error{domain, transfer->error(), transfer->errorString()};
    }
    return response;
}

} // namespace platform
