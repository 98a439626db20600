#include "platform/BlockingHttp.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

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

    std::optional<QNetworkAccessManager> own;
    QNetworkAccessManager* manager = options.manager ? options.manager : &own.emplace();
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setTransferTimeout(static_cast<int>(options.timeout.count()));

    QEventLoop loop;
    QNetworkReply* reply = manager->get(request);
    bool tooLarge = false;
    QObject::connect(reply, &QNetworkReply::readyRead, reply, [&] {
        if (response.body.size() + reply->bytesAvailable() > options.maxBytes) {
            tooLarge = true;
            reply->abort();
            return;
        }
        response.body += reply->readAll();
    });
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    // The reply is this thread's: the abort is queued to it. It stays alive
    // while the hooks may run, as forget() comes before the delete below. By
    // name, so that the queued call is made and run wholly inside Qt, whose
    // locks ThreadSanitizer cannot see.
    const auto abort = [reply] { QMetaObject::invokeMethod(reply, "abort", Qt::QueuedConnection); };
    const CancelToken::Hook hook = options.cancel ? options.cancel->watch(abort) : 0;
    const CancelToken::Hook endingHook = ending().watch(abort);
    if (!reply->isFinished())
        loop.exec();
    ending().forget(endingHook);
    if (options.cancel)
        options.cancel->forget(hook);

    if (!tooLarge)
        response.body += reply->readAll();
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (tooLarge) {
        response.error = Error{domain, QNetworkReply::UnknownContentError,
                               QStringLiteral("Response larger than %1 bytes").arg(options.maxBytes)};
        response.body.clear();
    } else if (status.isValid() && !isTransportError(reply->error())) {
        // A 404 is an answer, not a failed connection.
        response.status = status.toInt();
    } else {
        response.error = Error{domain, reply->error(), reply->errorString()};
    }
    delete reply;
    return response;
}

} // namespace platform
