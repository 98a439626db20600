// The program's HTTP on Qt Network, loaded with the first transfer.
#include "platform/HttpEngine.h"
#include "platform/WebAddress.h"

#include <QMetaObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>

#include <memory>
#include <optional>
#include <utility>

namespace {

using platform::HttpEngine;

class QtSession : public HttpEngine::Session {
public:
    QNetworkAccessManager manager;
};

class QtTransfer : public HttpEngine::Transfer {
public:
    QtTransfer(QNetworkAccessManager& manager, std::unique_ptr<QNetworkAccessManager> own, const HttpEngine::Request& request,
               std::function<void()> readyRead, std::function<void()> finished)
        : own_(std::move(own)), hooks_(std::make_shared<Hooks>(Hooks{std::move(readyRead), std::move(finished)}))
    {
        // The one place every fetch passes: nothing but the web is read. A
        // refused transfer ends at the next turn of the event loop, as a failed
        // connection would.
        if (!platform::isWebAddress(request.url)) {
            refusal_ = platform::refusalOf(request.url);
            QTimer::singleShot(0, [hooks = hooks_] { call(hooks, &Hooks::finished); });
            return;
        }
        QNetworkRequest r(request.url);
        // Qt follows a redirect to http and https alone, and here never from
        // https to http.
        r.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
        r.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
        r.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
        r.setTransferTimeout(static_cast<int>(request.timeout.count()));
        reply_ = manager.get(r);
        if (request.readBufferBytes > 0)
            reply_->setReadBufferSize(request.readBufferBytes);
        QObject::connect(reply_, &QNetworkReply::readyRead, reply_, [hooks = hooks_] { call(hooks, &Hooks::readyRead); });
        QObject::connect(reply_, &QNetworkReply::finished, reply_, [hooks = hooks_] { call(hooks, &Hooks::finished); });
    }

    ~QtTransfer() override
    {
        stop();
        // Its replies go with it; inside one of their signals, later.
        if (own_ && hooks_->depth > 0)
            own_.release()->deleteLater();
    }

    void stop() override
    {
        hooks_->stopped = true;
        if (!reply_)
            return;
        QNetworkReply* reply = std::exchange(reply_, nullptr);
        reply->disconnect();
        if (!reply->isFinished())
            reply->abort();
        // Inside one of its own signals the reply must outlive the call.
        if (hooks_->depth > 0)
            reply->deleteLater();
        else
            delete reply;
    }

    void abort() override
    {
        if (reply_)
            reply_->abort();
    }

    void abortSoon() override
    {
        // By name, so that the queued call is made and run wholly inside Qt,
        // whose locks ThreadSanitizer cannot see.
        if (reply_)
            QMetaObject::invokeMethod(reply_, "abort", Qt::QueuedConnection);
    }

    bool isActive() const override { return reply_ != nullptr || (!refusal_.isEmpty() && !hooks_->stopped); }
    bool isFinished() const override { return reply_ ? reply_->isFinished() : !refusal_.isEmpty(); }

    std::optional<int> status() const override
    {
        const QVariant status = reply_ ? reply_->attribute(QNetworkRequest::HttpStatusCodeAttribute) : QVariant();
        return status.isValid() ? std::optional<int>(status.toInt()) : std::nullopt;
    }

    std::optional<qint64> contentLength() const override
    {
        const QVariant length = reply_ ? reply_->header(QNetworkRequest::ContentLengthHeader) : QVariant();
        return length.isValid() ? std::optional<qint64>(length.toLongLong()) : std::nullopt;
    }

    qint64 bytesAvailable() const override { return reply_ ? reply_->bytesAvailable() : 0; }

    qint64 read(char* into, qint64 most) override
    {
        // A reply ended by the transfer time-out is closed already.
        return reply_ && reply_->isOpen() ? reply_->read(into, most) : 0;
    }

    QByteArray readAll() override { return reply_ && reply_->isOpen() ? reply_->readAll() : QByteArray(); }
    int error() const override
    {
        if (!refusal_.isEmpty())
            return QNetworkReply::ProtocolUnknownError;
        return reply_ ? reply_->error() : QNetworkReply::OperationCanceledError;
    }
    QString errorString() const override
    {
        if (!refusal_.isEmpty())
            return refusal_;
        return reply_ ? reply_->errorString() : QStringLiteral("Stopped");
    }

private:
    // Shared with the reply's connections: a hook may stop the transfer, or
    // let go of it, and must still return into something alive.
    struct Hooks {
        std::function<void()> readyRead;
        std::function<void()> finished;
        int depth = 0;
        bool stopped = false;
    };

    static void call(const std::shared_ptr<Hooks>& hooks, std::function<void()> Hooks::*which)
    {
        const std::shared_ptr<Hooks> keep = hooks;
        if (keep->stopped || !(*keep.*which))
            return;
        ++keep->depth;
        (*keep.*which)();
        --keep->depth;
    }

    std::unique_ptr<QNetworkAccessManager> own_;
    QNetworkReply* reply_ = nullptr;
    const std::shared_ptr<Hooks> hooks_;
    QString refusal_; // why the address was refused; then nothing was asked

};

class QtEngine : public HttpEngine {
public:
    std::unique_ptr<Session> session() override { return std::make_unique<QtSession>(); }

    std::unique_ptr<Transfer> get(Session* session, const Request& request, std::function<void()> readyRead,
                                  std::function<void()> finished) override
    {
        std::unique_ptr<QNetworkAccessManager> own;
        QNetworkAccessManager& manager = session ? static_cast<QtSession*>(session)->manager : *(own = std::make_unique<QNetworkAccessManager>());
        return std::make_unique<QtTransfer>(manager, std::move(own), request, std::move(readyRead), std::move(finished));
    }
};

} // namespace

extern "C" Q_DECL_EXPORT platform::HttpEngine* melodrift_http_engine()
{
    // Never destroyed: transfers on threads that outlive main() may still use it.
    static HttpEngine* const engine = new QtEngine;
    return engine;
}
