#include "downloads/HTTPDownload.h"

#include "platform/BlockingHttp.h"
#include "platform/Log.h"
#include "platform/MainThread.h"

#include <QFileInfo>
#include <QNetworkReply>
#include <QSaveFile>
#include <QTimer>
#include <QUuid>

#include <algorithm>
#include <cmath>

using platform::Log;

namespace {

// What a connection holds for the reader: a few hundred KiB, whatever the piece.
constexpr qint64 readBufferBytes = 256 * 1024;
// The record is written at least this often while bytes arrive.
constexpr qint64 recordEveryMs = 500;
constexpr qint64 largestRecord = 8LL << 20;

// Growing pauses before a piece is asked for again: 1, 2, 4 … at most 30 s.
std::chrono::milliseconds pauseBefore(int attempt)
{
    const int doubling = std::clamp(attempt - 1, 0, 5);
    return std::min<std::chrono::milliseconds>(std::chrono::seconds(1) * (1 << doubling), std::chrono::seconds(30));
}

struct ContentRange {
    qint64 first = 0;
    qint64 last = 0;
    qint64 total = 0;
};

// "bytes FIRST-LAST/TOTAL"; nothing for any other form (a total of "*" too).
std::optional<ContentRange> contentRangeOf(const QByteArray& header)
{
    const QByteArray text = header.trimmed();
    if (!text.startsWith("bytes "))
        return std::nullopt;
    const qsizetype dash = text.indexOf('-');
    const qsizetype slash = text.indexOf('/');
    if (dash < 0 || slash < dash)
        return std::nullopt;
    bool a = false, b = false, c = false;
    const ContentRange range{text.mid(6, dash - 6).toLongLong(&a), text.mid(dash + 1, slash - dash - 1).toLongLong(&b),
                             text.mid(slash + 1).toLongLong(&c)};
    if (!a || !b || !c || range.first < 0 || range.last < range.first || range.total <= range.last)
        return std::nullopt;
    return range;
}

// A connection's failure that may pass: not one of an address refused, a
// redirect refused, or a protocol not spoken.
bool mayPass(int error)
{
    switch (static_cast<QNetworkReply::NetworkError>(error)) {
    case QNetworkReply::ConnectionRefusedError:
    case QNetworkReply::RemoteHostClosedError:
    case QNetworkReply::HostNotFoundError:
    case QNetworkReply::TimeoutError:
    case QNetworkReply::OperationCanceledError: // the time-out without a byte
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::NetworkSessionFailedError:
    case QNetworkReply::UnknownNetworkError:
    case QNetworkReply::ProxyTimeoutError:
    case QNetworkReply::ProtocolFailure:
    case QNetworkReply::NoError: // closed early without an error
        return true;
    default:
        return false;
    }
}

platform::Error fileError(const QFile& file, const QString& path)
{
    return {QStringLiteral("file"), static_cast<qint64>(file.error()),
            QStringLiteral("Cannot write %1: %2").arg(path, file.errorString())};
}

} // namespace

std::shared_ptr<HTTPDownload> HTTPDownload::init(const QString& localfile, const QUrl& url)
{
    return std::shared_ptr<HTTPDownload>(new HTTPDownload(localfile, url));
}

HTTPDownload::HTTPDownload(const QString& localfile, const QUrl& url) : localfile_(localfile), output_(localfile)
{
    url_.set(url);
    // There before start, so that its job can hold it against another program's wipe.
    QFile made(localfile);
    made.open(QIODevice::ReadWrite);
}

void HTTPDownload::discard(const QString& localfile)
{
    QFile::remove(localfile);
    QFile::remove(recordOf(localfile));
    QFile::remove(localfile + QStringLiteral(".job"));
}

HTTPDownload::~HTTPDownload()
{
    ended_ = true;
    stopAll();
    output_.close();
}

QString HTTPDownload::generateUuidString()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

void HTTPDownload::setConnections(int connections)
{
    connections_ = std::clamp(connections, 1, mostConnections);
}

void HTTPDownload::start()
{
    if (resume_) {
        QFile record(recordOf(localfile_));
        const auto read = record.open(QIODevice::ReadOnly) ? ByteRanges::fromRecord(record.read(largestRecord))
                                                           : std::nullopt;
        if (read && QFile::exists(localfile_)) {
            have_ = *read;
            mode_ = Mode::ranged;
            length_.set(have_.total());
            offset_.set(static_cast<quint64>(have_.doneBytes()));
        }
    }
    if (mode_ != Mode::ranged)
        QFile::remove(recordOf(localfile_));
    // Unbuffered: what a piece wrote is in the file, which the record may then say.
    const QIODevice::OpenMode openMode =
        QIODevice::ReadWrite | QIODevice::Unbuffered | (mode_ == Mode::ranged ? QIODevice::OpenMode() : QIODevice::Truncate);
    const std::weak_ptr<HTTPDownload> weak = weak_from_this();
    // An end found here is told once the event loop turns, as any other.
    const auto later = [weak](auto work) {
        platform::MainThread::post([weak, work] {
            if (const auto self = weak.lock(); self && !self->ended_)
                work(*self);
        });
    };
    if (!output_.open(openMode)) {
        later([](HTTPDownload& self) { self.fail(fileError(self.output_, self.localfile_)); });
        return;
    }
    if (mode_ == Mode::ranged) {
        Log::line(QStringLiteral("Going on at %1 of %2").arg(have_.doneBytes()).arg(have_.total().value_or(0)));
        if (have_.isComplete()) {
            later([](HTTPDownload& self) { self.complete(); });
            return;
        }
        waiting_ = have_.missing(chunkSize_);
        fill();
        return;
    }
    // The first piece learns whether the server serves ranges.
    pieces_.emplace_back(0, chunkSize_, true);
    launch(pieces_.back());
}

void HTTPDownload::launch(Piece& piece)
{
    platform::HttpTransfer::Request request;
    request.url = url_.get();
    request.timeout = timeout_;
    request.readBufferBytes = readBufferBytes;
    // Each piece on a connection of its own, which the next piece takes over.
    if (!piece.lane) {
        if (idleLanes_.empty()) {
            piece.lane = platform::HttpTransfer::newLane();
        } else {
            piece.lane = std::move(idleLanes_.back());
            idleLanes_.pop_back();
        }
    }
    request.lane = piece.lane;
    request.headers = headers_;
    if (mode_ != Mode::whole)
        request.headers.append({"Range", "bytes=" + QByteArray::number(piece.first + piece.written) + '-' +
                                             QByteArray::number(piece.end - 1)});
    piece.answered = false;
    piece.transfer = std::make_unique<platform::HttpTransfer>(
        request, [this, &piece] { onReadyRead(piece); }, [this, &piece] { onFinished(piece); });
}

void HTTPDownload::fill()
{
    while (!ended_ && !expired_ && mode_ == Mode::ranged && static_cast<int>(pieces_.size()) < connections_ &&
           !waiting_.isEmpty()) {
        const ByteRanges::Range range = waiting_.takeFirst();
        pieces_.emplace_back(range.first, range.second);
        launch(pieces_.back());
    }
}

void HTTPDownload::onReadyRead(Piece& piece)
{
    // An event handler may let go of this download; it lives until this returns.
    const auto self = shared_from_this();
    if (!piece.answered && !answer(piece))
        return;
    char chunk[64 * 1024];
    for (qint64 n; !ended_ && !expired_ && piece.transfer && piece.transfer->isActive() &&
                   (n = piece.transfer->read(chunk, sizeof chunk)) > 0;) {
        if (!write(piece, chunk, n))
            return;
    }
}

bool HTTPDownload::answer(Piece& piece)
{
    const std::optional<int> status = piece.transfer->status();
    if (!status)
        return true; // no answer yet; a failed connection is told at its end
    piece.answered = true;
    status_ = *status;
    const QString said = QStringLiteral("The server answered with status %1.").arg(*status);
    if (*status == 206 && mode_ != Mode::whole) {
        const auto range = contentRangeOf(piece.transfer->header("Content-Range"));
        if (!range || range->first != piece.first + piece.written) {
            fail({QStringLiteral("http.download"), *status, QStringLiteral("The server sent another part than asked for.")});
            return false;
        }
        if (mode_ == Mode::probing) {
            mode_ = Mode::ranged;
            have_ = ByteRanges(range->total);
            length_.set(range->total);
            Log::line(QStringLiteral("Length: %1, in parts").arg(range->total));
            piece.end = std::min(piece.end, range->total);
            ByteRanges asked = have_;
            asked.add(piece.first, piece.end - piece.first);
            waiting_ = asked.missing(chunkSize_);
            fill();
        } else if (range->total != have_.total()) {
            if (!resume_) {
                fail({QStringLiteral("http.download"), *status,
                      QStringLiteral("The stream changed its size on the server.")});
                return false;
            }
            // Another stream than the one the file holds: begun anew.
            Log::line(QStringLiteral("The stream is no longer the one the file holds: begun anew"));
            resume_ = false;
            stopAll();
            have_ = ByteRanges();
            mode_ = Mode::probing;
            output_.resize(0);
            QFile::remove(recordOf(localfile_));
            offset_.set(std::nullopt);
            lastThrowedStatus_.reset();
            pieces_.emplace_back(0, chunkSize_, true);
            launch(pieces_.back());
            return false;
        }
        return true;
    }
    if (*status == 200 && mode_ == Mode::ranged) {
        fail({QStringLiteral("http.download"), *status, QStringLiteral("The server no longer sends parts of the stream.")});
        return false;
    }
    if (*status == 200) {
        // No ranges: the whole body over this one connection.
        mode_ = Mode::whole;
        const qint64 length = piece.transfer->contentLength().value_or(0);
        length_.set(length);
        have_ = ByteRanges(length > 0 ? std::optional<qint64>(length) : std::nullopt);
        piece.first = 0;
        piece.written = 0;
        piece.end = length > 0 ? length : -1;
        Log::line(QStringLiteral("Length: %1").arg(length));
        return true;
    }
    if ((*status == 403 || *status == 410) && have_.doneBytes() > 0) {
        // The address expired on the way: the rest is asked for at a new one.
        expired_ = true;
        stopAll();
        saveRecord(true);
        Log::line(QStringLiteral("The stream's address expired: ") + said);
        updateEvent(*this);
        expiredEvent(*this);
        return false;
    }
    if (*status >= 500 || *status == 429) {
        if (!retry(piece, said))
            fail({QStringLiteral("http.download"), *status, said});
        return false;
    }
    fail({QStringLiteral("http.download"), *status, said});
    return false;
}

bool HTTPDownload::write(Piece& piece, const char* data, qint64 size)
{
    const qint64 at = piece.first + piece.written;
    if (piece.end >= 0)
        size = std::min(size, piece.end - at); // more than asked for is dropped
    if (size <= 0)
        return true;
    if (!output_.seek(at) || output_.write(data, size) != size) {
        fail(fileError(output_, localfile_));
        return false;
    }
    piece.written += size;
    have_.add(at, size);
    if (retrying_.get())
        retrying_.set(std::nullopt);
    saveRecord(false);
    report();
    return true;
}

void HTTPDownload::onFinished(Piece& piece)
{
    const auto self = shared_from_this();
    if (ended_ || expired_ || !piece.transfer || !piece.transfer->isActive())
        return;
    onReadyRead(piece);
    // Ended, expired, or asked for again already.
    if (ended_ || expired_ || !piece.transfer->isActive())
        return;
    const int error = piece.transfer->error();
    const QString errorString = piece.transfer->errorString();
    piece.transfer->stop();
    const bool transport = error != QNetworkReply::NoError &&
                           (platform::BlockingHttp::isTransportError(error) || !piece.answered);
    const bool whole = piece.end >= 0 ? piece.first + piece.written >= piece.end : !transport;
    if (transport || !whole) {
        // cancel() stops it silently, so a cancelled transfer here is the time-out.
        const QString why = !transport ? QStringLiteral("The connection closed after %1 of %2 bytes.")
                                             .arg(piece.written)
                                             .arg(piece.end - piece.first)
                            : error == QNetworkReply::OperationCanceledError
                                ? QStringLiteral("No data arrived for %1 s; the transfer timed out.")
                                      .arg(static_cast<double>(timeout_.count()) / 1000.0)
                                : errorString;
        const int code = transport ? error : QNetworkReply::RemoteHostClosedError;
        if (!mayPass(code) || !retry(piece, why))
            fail({QStringLiteral("QNetworkReply"), code, why});
        return;
    }
    if (mode_ == Mode::whole && piece.end < 0) {
        // The body's end was its length (not told: there was none to tell).
        have_ = ByteRanges(piece.written);
        have_.add(0, piece.written);
    }
    remove(piece);
    saveRecord(true);
    if (pieces_.empty() && waiting_.isEmpty())
        complete();
    else
        fill();
}

bool HTTPDownload::retry(Piece& piece, const QString& why)
{
    if (piece.transfer)
        piece.transfer->stop();
    // A connection that broke is not trusted with the next request.
    piece.lane.reset();
    if (piece.attempts >= retries_)
        return false;
    ++piece.attempts;
    retrying_.set(std::pair{piece.attempts, retries_});
    Log::line(QStringLiteral("Retrying (%1 of %2) in %3 s: %4")
                  .arg(piece.attempts)
                  .arg(retries_)
                  .arg(pauseBefore(piece.attempts).count() / 1000)
                  .arg(why));
    if (mode_ == Mode::whole) {
        // Without ranges the body comes again from its start.
        piece.written = 0;
        have_ = ByteRanges(have_.total());
        output_.resize(0);
    } else if (mode_ == Mode::probing) {
        piece.written = 0;
    }
    updateEvent(*this);
    if (!piece.pause) {
        piece.pause = new QTimer;
        piece.pause->setSingleShot(true);
        QObject::connect(piece.pause, &QTimer::timeout, piece.pause, [this, &piece] {
            if (!ended_ && !expired_)
                launch(piece);
        });
    }
    piece.pause->start(pauseBefore(piece.attempts));
    return true;
}

void HTTPDownload::remove(Piece& piece)
{
    // Never destroyed inside its own transfer's call: set aside, let go later.
    for (auto it = pieces_.begin(); it != pieces_.end(); ++it)
        if (&*it == &piece) {
            if (it->pause)
                it->pause->stop();
            if (it->lane)
                idleLanes_.push_back(std::move(it->lane));
            std::list<Piece> gone;
            gone.splice(gone.begin(), pieces_, it);
            platform::MainThread::post([gone = std::make_shared<std::list<Piece>>(std::move(gone))] {
                for (Piece& p : *gone)
                    delete p.pause;
            });
            return;
        }
}

void HTTPDownload::stopAll()
{
    for (Piece& piece : pieces_) {
        if (piece.transfer)
            piece.transfer->stop();
        if (piece.pause)
            piece.pause->stop();
    }
    if (pieces_.empty())
        return;
    // What the pieces had is in the ranges; whatever they were in the middle of is let go later.
    auto gone = std::make_shared<std::list<Piece>>();
    gone->splice(gone->begin(), pieces_);
    waiting_.clear();
    platform::MainThread::post([gone] {
        for (Piece& p : *gone)
            delete p.pause;
    });
}

void HTTPDownload::fail(const platform::Error& error)
{
    ended_ = true;
    stopAll();
    saveRecord(true);
    output_.close();
    retrying_.set(std::nullopt);
    error_.set(error);
    finishEvent(*this);
    done_ = true;
}

void HTTPDownload::complete()
{
    ended_ = true;
    const std::optional<qint64> total = have_.total();
    if (mode_ == Mode::ranged && !have_.isComplete()) {
        ended_ = false;
        fail({QStringLiteral("file"), 0, QStringLiteral("The file is missing parts of the stream.")});
        return;
    }
    output_.close();
    // Whole: what the server said it would send is what is in the file.
    if (total && QFileInfo(localfile_).size() != *total) {
        ended_ = false;
        fail({QStringLiteral("file"), 0,
              QStringLiteral("The file holds %1 of the stream's %2 bytes.").arg(QFileInfo(localfile_).size()).arg(*total)});
        return;
    }
    // Kept with the file until its job ends: a paused job's finished stream is not fetched again.
    saveRecord(true);
    retrying_.set(std::nullopt);
    if (length().value_or(0) > 0)
        report();
    finishEvent(*this);
    done_ = true;
}

void HTTPDownload::cancel()
{
    if (ended_)
        return;
    ended_ = true;
    stopAll();
    saveRecord(true);
    output_.close();
}

void HTTPDownload::continueAt(const QUrl& url)
{
    if (!expired_ || ended_)
        return;
    url_.set(url);
    expired_ = false;
    if (mode_ == Mode::whole) {
        // Without ranges the body comes again from its start.
        have_ = ByteRanges(have_.total());
        output_.resize(0);
        pieces_.emplace_back(0, have_.total().value_or(-1));
        launch(pieces_.back());
        return;
    }
    waiting_ = have_.missing(chunkSize_);
    fill();
}

void HTTPDownload::saveRecord(bool now)
{
    if (mode_ != Mode::ranged || (!now && lastSaved_.isValid() && lastSaved_.elapsed() < recordEveryMs))
        return;
    QSaveFile record(recordOf(localfile_));
    if (record.open(QIODevice::WriteOnly) && record.write(have_.record()) >= 0)
        record.commit();
    lastSaved_.restart();
}

void HTTPDownload::report()
{
    const quint64 done = static_cast<quint64>(have_.doneBytes());
    // Never back: a body begun again without ranges counts what it had.
    if (done > offset_.get().value_or(0) || !offset_.get())
        offset_.set(done);
    const std::optional<int> percent = percentOf(offset_.get().value_or(0), length());
    if (lastThrowedStatus_ && *lastThrowedStatus_ == percent)
        return;
    lastThrowedStatus_ = percent;
    updateEvent(*this);
}

std::optional<int> HTTPDownload::percentOf(quint64 offset, std::optional<qint64> length)
{
    if (!length || *length <= 0)
        return std::nullopt;
    // The quotient first, then times 100.
    const double percent = static_cast<double>(offset) / static_cast<double>(*length) * 100.0;
    return static_cast<int>(std::min(percent, 100.0));
}

void HTTPDownload::waitForFinish() const
{
    platform::MainThread::runUntil([this] { return isDone(); });
}
