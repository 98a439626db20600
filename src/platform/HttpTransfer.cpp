#include "platform/HttpTransfer.h"

#include "platform/WebAddress.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QThread>
#include <QThreadStorage>
#include <QTimer>

#include <utility>

namespace platform {

namespace {

// Never destroyed: threads that outlive main() may still be fetching.
QThreadStorage<QNetworkAccessManager*>& managers()
{
    static auto* const storage = new QThreadStorage<QNetworkAccessManager*>;
    return *storage;
}

// One manager per thread, made with its first transfer and deleted as the
// thread ends: the connections it keeps open serve the thread's next
// transfers, and its own HTTP thread is started once rather than for each GET.
QNetworkAccessManager& threadManager()
{
    if (!managers().hasLocalData()) {
        managers().setLocalData(new QNetworkAccessManager);
        // The main thread's goes as the application object begins to go, not
        // after it: once the application is gone, Qt Network's own thread no
        // longer ends cleanly.
        const QCoreApplication* application = QCoreApplication::instance();
        if (application && application->thread() == QThread::currentThread())
            qAddPostRoutine([] { managers().setLocalData(nullptr); });
    }
    return *managers().localData();
}

// Transfers of this thread inside one of their hooks: a manager is not
// destroyed under a reply that is in the middle of a signal.
thread_local int hooksRunning = 0;

} // namespace

class HttpTransfer::Lane {
public:
    Lane() : manager_(new QNetworkAccessManager) {}
    ~Lane()
    {
        // Its replies go with it; inside one of their signals, later.
        if (hooksRunning > 0)
            manager_->deleteLater();
        else
            delete manager_;
    }
    Lane(const Lane&) = delete;
    Lane& operator=(const Lane&) = delete;

    QNetworkAccessManager& manager() { return *manager_; }

private:
    QNetworkAccessManager* const manager_;
};

std::shared_ptr<HttpTransfer::Lane> HttpTransfer::newLane()
{
    return std::make_shared<Lane>();
}

// Shared with the reply's connections: a hook may stop the transfer, or let go
// of it, and must still return into something alive.
struct HttpTransfer::Hooks {
    std::function<void()> readyRead;
    std::function<void()> finished;
    int depth = 0;
    bool stopped = false;
};

HttpTransfer::HttpTransfer(const Request& request, std::function<void()> readyRead, std::function<void()> finished)
    : hooks_(std::make_shared<Hooks>(Hooks{std::move(readyRead), std::move(finished)}))
{
    // The one place every fetch passes: nothing but the web is read. A refused
    // transfer ends at the next turn of the event loop, as a failed connection
    // would.
    if (!isWebAddress(request.url)) {
        refusal_ = refusalOf(request.url);
        QTimer::singleShot(0, [hooks = hooks_] { call(hooks, &Hooks::finished); });
        return;
    }
    QNetworkRequest r(request.url);
    // Qt follows a redirect to http and https alone, and here never from https
    // to http; a caller with a rule of its own decides each one.
    r.setAttribute(QNetworkRequest::RedirectPolicyAttribute, request.redirectAllowed
                                                                 ? QNetworkRequest::UserVerifiedRedirectPolicy
                                                                 : QNetworkRequest::NoLessSafeRedirectPolicy);
    r.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    r.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    r.setTransferTimeout(static_cast<int>(request.timeout.count()));
    for (const auto& [name, value] : request.headers)
        r.setRawHeader(name, value);
    lane_ = request.lane;
    QNetworkAccessManager& manager = lane_ ? lane_->manager() : threadManager();
    reply_ = request.head ? manager.head(r) : manager.get(r);
    if (request.readBufferBytes > 0)
        reply_->setReadBufferSize(request.readBufferBytes);
    if (request.redirectAllowed) {
        redirectRefusal_ = std::make_shared<QString>();
        QObject::connect(reply_, &QNetworkReply::redirected, reply_,
                         [reply = reply_.data(), allowed = request.redirectAllowed, refusal = redirectRefusal_](const QUrl& to) {
                             if (isWebAddress(to) && allowed(to)) {
                                 emit reply->redirectAllowed();
                                 return;
                             }
                             *refusal = QStringLiteral("Refused a redirect to ") + to.toString();
                             reply->abort();
                         });
    }
    QObject::connect(reply_, &QNetworkReply::readyRead, reply_, [hooks = hooks_] { call(hooks, &Hooks::readyRead); });
    QObject::connect(reply_, &QNetworkReply::finished, reply_, [hooks = hooks_] { call(hooks, &Hooks::finished); });
}

HttpTransfer::~HttpTransfer()
{
    stop();
}

void HttpTransfer::call(const std::shared_ptr<Hooks>& hooks, std::function<void()> Hooks::*which)
{
    const std::shared_ptr<Hooks> keep = hooks;
    if (keep->stopped || !(*keep.*which))
        return;
    ++keep->depth;
    ++hooksRunning;
    (*keep.*which)();
    --hooksRunning;
    --keep->depth;
}

void HttpTransfer::stop()
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
    // A connection of its own goes with it now: a manager kept alive would send
    // the request of a broken connection again by itself.
    lane_.reset();
}

void HttpTransfer::abort()
{
    if (reply_)
        reply_->abort();
}

void HttpTransfer::abortSoon()
{
    // By name, so that the queued call is made and run wholly inside Qt, whose
    // locks ThreadSanitizer cannot see.
    if (reply_)
        QMetaObject::invokeMethod(reply_, "abort", Qt::QueuedConnection);
}

bool HttpTransfer::isActive() const
{
    return reply_ != nullptr || (!refusal_.isEmpty() && !hooks_->stopped);
}

bool HttpTransfer::isFinished() const
{
    return reply_ ? reply_->isFinished() : !refusal_.isEmpty();
}

std::optional<int> HttpTransfer::status() const
{
    const QVariant status = reply_ ? reply_->attribute(QNetworkRequest::HttpStatusCodeAttribute) : QVariant();
    return status.isValid() ? std::optional<int>(status.toInt()) : std::nullopt;
}

std::optional<qint64> HttpTransfer::contentLength() const
{
    const QVariant length = reply_ ? reply_->header(QNetworkRequest::ContentLengthHeader) : QVariant();
    return length.isValid() ? std::optional<qint64>(length.toLongLong()) : std::nullopt;
}

QByteArray HttpTransfer::header(const QByteArray& name) const
{
    return reply_ ? reply_->rawHeader(name) : QByteArray();
}

qint64 HttpTransfer::bytesAvailable() const
{
    return reply_ ? reply_->bytesAvailable() : 0;
}

qint64 HttpTransfer::read(char* into, qint64 most)
{
    // A reply ended by the transfer time-out is closed already.
    return reply_ && reply_->isOpen() ? reply_->read(into, most) : 0;
}

QByteArray HttpTransfer::readAll()
{
    return reply_ && reply_->isOpen() ? reply_->readAll() : QByteArray();
}

int HttpTransfer::error() const
{
    if (!refusal_.isEmpty())
        return QNetworkReply::ProtocolUnknownError;
    if (redirectRefusal_ && !redirectRefusal_->isEmpty())
        return QNetworkReply::InsecureRedirectError;
    return reply_ ? reply_->error() : QNetworkReply::OperationCanceledError;
}

QString HttpTransfer::errorString() const
{
    if (!refusal_.isEmpty())
        return refusal_;
    if (redirectRefusal_ && !redirectRefusal_->isEmpty())
        return *redirectRefusal_;
    return reply_ ? reply_->errorString() : QStringLiteral("Stopped");
}

} // namespace platform
