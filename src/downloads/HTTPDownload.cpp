#include "downloads/HTTPDownload.h"

#include "platform/MainThread.h"
#include "platform/BlockingHttp.h"
#include "platform/Log.h"

#include <QNetworkReply>
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

HTTPDownload::~HTTPDownload()
{
    transfer_.reset();
    output_.close();
}

QString HTTPDownload::generateUuidString()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

void HTTPDownload::start()
{
    // Downloads run side by side, each on a connection of its own.
    platform::HttpTransfer::Request request;
    request.url = url_;
    request.timeout = timeout_;
    request.readBufferBytes = readBufferBytes;
    request.ownManager = true;
    request.headers = headers_;
    transfer_ = std::make_unique<platform::HttpTransfer>(request, [this] { onReadyRead(); }, [this] { onFinished(); });
}

void HTTPDownload::respondOnce()
{
    if (responded_)
        return;
    responded_ = true;
    const std::optional<int> status = transfer_->status();
    if (!status)
        return; // no response at all: the failure says why
    didReceiveResponse(*status, transfer_->contentLength().value_or(0));
}

void HTTPDownload::onReadyRead()
{
    // An event handler may let go of the transfer; it lives until this returns.
    const auto self = shared_from_this();
    respondOnce();
    char chunk[64 * 1024];
    for (qint64 n; transferring() && (n = transfer_->read(chunk, sizeof chunk)) > 0;)
        didReceiveData(chunk, n);
}

void HTTPDownload::onFinished()
{
    const auto self = shared_from_this();
    if (!transferring())
        return;
    onReadyRead();
    if (!transferring())
        return; // the file could not take what came
    const int error = transfer_->error();
    const bool answered = transfer_->status().has_value();
    const QString errorString = transfer_->errorString();
    transfer_->stop();
    if (error != QNetworkReply::NoError && (platform::BlockingHttp::isTransportError(error) || !answered)) {
        // cancel() stops it silently, so a cancelled transfer here is the time-out.
        const QString reason = error == QNetworkReply::OperationCanceledError
                                   ? QStringLiteral("No data arrived for %1 s; the transfer timed out.")
                                         .arg(static_cast<double>(timeout_.count()) / 1000.0)
                                   : errorString;
        didFailWithError({QStringLiteral("QNetworkReply"), error, reason});
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

std::optional<int> HTTPDownload::percentOf(quint64 offset, std::optional<qint64> length)
{
    if (!length || *length <= 0)
        return std::nullopt;
    // The quotient first, then times 100.
    const double percent = static_cast<double>(offset) / static_cast<double>(*length) * 100.0;
    return static_cast<int>(std::min(percent, 100.0));
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
    const std::optional<int> percent = percentOf(offset, length());
    if (lastThrowedStatus_ && *lastThrowedStatus_ == percent)
        return;
    lastThrowedStatus_ = percent;
    updateEvent(*this);
}

void HTTPDownload::didFailWithError(const platform::Error& error)
{
    // A write that failed ends the transfer here: nothing more is taken.
    if (transfer_)
        transfer_->stop();
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
    if (transfer_)
        transfer_->stop();
}

void HTTPDownload::waitForFinish() const
{
    platform::MainThread::runUntil([this] { return isDone(); });
}
