#include "downloads/HTTPDownload.h"

#include "platform/MainThread.h"
#include "platform/BlockingHttp.h"
#include "platform/Log.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUuid>

#include <climits>
#include <cmath>

using platform::Log;

namespace {

// Whatever the server sends, the reply holds at most this much before we take it.
constexpr qint64 readBufferBytes = 1 << 20;

} // namespace

HTTPDownload::HTTPDownload(const QString& localfile, const QUrl& url) : localfile_(localfile), url_(url)
{
    // Removed first, so that a link left under that name is replaced rather than
    // written through. A missing folder leaves the file closed; writing into it
    // then fails the transfer.
    QFile::remove(localfile_);
    output_.setFileName(localfile_);
    output_.open(QIODevice::WriteOnly | QIODevice::Truncate);
}

std::shared_ptr<HTTPDownload> HTTPDownload::init(const QString& localfile, const QUrl& url)
{
    return std::shared_ptr<HTTPDownload>(new HTTPDownload(localfile, url));
}

std::shared_ptr<HTTPDownload> HTTPDownload::initWithTempFile(const QUrl& url)
{
    return init(generateUuidString(), url);
}

HTTPDownload::~HTTPDownload()
{
    if (reply_) {
        reply_->disconnect();
        reply_->abort();
        delete reply_;
    }
    output_.close();
}

QString HTTPDownload::generateUuidString()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

void HTTPDownload::start()
{
    manager_ = std::make_unique<QNetworkAccessManager>();
    QNetworkRequest request(url_);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setTransferTimeout(static_cast<int>(timeout_.count()));
    reply_ = manager_->get(request);
    reply_->setReadBufferSize(readBufferBytes);
    QObject::connect(reply_, &QNetworkReply::readyRead, reply_, [this] { onReadyRead(); });
    QObject::connect(reply_, &QNetworkReply::finished, reply_, [this] { onFinished(); });
}

void HTTPDownload::respondOnce()
{
    if (responded_)
        return;
    responded_ = true;
    const QVariant status = reply_->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (!status.isValid())
        return; // no response at all: the failure says why
    const QVariant length = reply_->header(QNetworkRequest::ContentLengthHeader);
    didReceiveResponse(status.toInt(), length.isValid() ? length.toLongLong() : 0);
}

void HTTPDownload::onReadyRead()
{
    // An event handler may let go of the transfer; it lives until this returns.
    const auto self = shared_from_this();
    respondOnce();
    char chunk[64 * 1024];
    // A reply ended by the transfer time-out is closed already.
    for (qint64 n; reply_ && reply_->isOpen() && (n = reply_->read(chunk, sizeof chunk)) > 0;)
        didReceiveData(chunk, n);
}

void HTTPDownload::onFinished()
{
    const auto self = shared_from_this();
    if (!reply_)
        return;
    onReadyRead();
    QNetworkReply* reply = reply_;
    reply_ = nullptr;
    reply->deleteLater();
    if (reply->error() != QNetworkReply::NoError && (platform::BlockingHttp::isTransportError(reply->error()) ||
                                                     !reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid())) {
        // cancel() disconnects first, so a cancelled reply here is the transfer time-out.
        const QString reason = reply->error() == QNetworkReply::OperationCanceledError
                                   ? QStringLiteral("No data arrived for %1 s; the transfer timed out.")
                                         .arg(static_cast<double>(timeout_.count()) / 1000.0)
                                   : reply->errorString();
        didFailWithError({QStringLiteral("QNetworkReply"), reply->error(), reason});
        return;
    }
    // A connection closed early can still end without an error from the reply
    // when its last bytes were already buffered; the promised length tells.
    const quint64 received = offset_.get().value_or(0);
    if (status_ == 200 && length_.get().value_or(0) > 0 && received < static_cast<quint64>(*length_.get())) {
        didFailWithError({QStringLiteral("QNetworkReply"), QNetworkReply::RemoteHostClosedError,
                          QStringLiteral("The connection closed after %1 of %2 bytes.").arg(received).arg(*length_.get())});
        return;
    }
    didFinishLoading();
}

void HTTPDownload::didReceiveResponse(int status, qint64 contentLength)
{
    status_ = status;
    if (status != 200) {
        error_.set(platform::Error{QStringLiteral("http.download"), status,
                                   QStringLiteral("The server answered with status %1.").arg(status)});
        return;
    }
    length_.set(contentLength);
    Log::line(QStringLiteral("Length: %1").arg(contentLength));
}

int HTTPDownload::percentOf(quint64 offset, std::optional<qint64> length)
{
    const double percent = static_cast<double>(offset) / static_cast<double>(length.value_or(0)) * 100.0;
    if (!std::isfinite(percent) || percent >= 2147483648.0 || percent <= -2147483649.0)
        return INT_MIN;
    return static_cast<int>(percent);
}

void HTTPDownload::didReceiveData(const char* data, qint64 size)
{
    if (!output_.isOpen() || output_.write(data, size) != size) {
        didFailWithError({QStringLiteral("file"), static_cast<qint64>(output_.error()),
                          QStringLiteral("Cannot write %1: %2").arg(localfile_, output_.errorString())});
        return;
    }
    const quint64 offset = offset_.get().value_or(0) + static_cast<quint64>(size);
    offset_.set(offset);
    const int percent = percentOf(offset, length());
    if (percent == lastThrowedStatus_)
        return;
    lastThrowedStatus_ = percent;
    updateEvent(*this);
}

void HTTPDownload::didFailWithError(const platform::Error& error)
{
    if (reply_) {
        // A write that failed ends the transfer here: nothing more is taken.
        reply_->disconnect();
        reply_->abort();
        reply_->deleteLater();
        reply_ = nullptr;
    }
    error_.set(error);
    didFinishLoading();
}

void HTTPDownload::didFinishLoading()
{
    const auto self = shared_from_this();
    output_.flush();
    finishEvent(*this);
    done_ = true;
}

void HTTPDownload::cancel()
{
    if (!reply_)
        return;
    reply_->disconnect();
    reply_->abort();
    reply_->deleteLater();
    reply_ = nullptr;
}

void HTTPDownload::waitForFinish() const
{
    platform::MainThread::runUntil([this] { return isDone(); });
}
