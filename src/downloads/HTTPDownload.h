#pragma once

#include "downloads/ByteRanges.h"
#include "platform/Error.h"
#include "platform/Event.h"
#include "platform/HttpTransfer.h"
#include "platform/Property.h"

#include <QElapsedTimer>
#include <QFile>
#include <QString>
#include <QUrl>

#include <atomic>
#include <chrono>
#include <list>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

class QTimer;

// One stream into a file. A server that takes byte ranges is asked for pieces
// no wider than the chunk size over a few connections at once, each written at
// its place in the file; one that does not sends the whole body over one. A
// piece cut short, stalled, or refused for a while (5xx, 429) is asked for
// again from its last byte, after growing pauses. What the file holds is kept
// in a record beside it, so that a download paused, failed or killed goes on
// later from there. All events come on the thread that called start, through
// its event loop.
class HTTPDownload : public std::enable_shared_from_this<HTTPDownload> {
public:
    static constexpr qint64 defaultChunkSize = 10LL << 20;
    static constexpr int mostConnections = 8;
    static constexpr int defaultRetries = 10;

    // Prepares the download into localfile, made now when missing (begun anew
    // at start unless resumed).
    static std::shared_ptr<HTTPDownload> init(const QString& localfile, const QUrl& url);
    ~HTTPDownload();
    HTTPDownload(const HTTPDownload&) = delete;
    HTTPDownload& operator=(const HTTPDownload&) = delete;

    // Before start. Without a byte for this long a connection is given up (and retried).
    void setTimeout(std::chrono::milliseconds timeout) { timeout_ = timeout; }
    // Sent with every request, as the stream's source asked.
    void setHeaders(const QList<QPair<QByteArray, QByteArray>>& headers) { headers_ = headers; }
    // At most this many connections at once (1 to 8).
    void setConnections(int connections);
    // The widest range asked for (0: 10 MiB).
    void setChunkSize(qint64 bytes) { chunkSize_ = bytes > 0 ? bytes : defaultChunkSize; }
    // How often one piece is asked for again before the download fails.
    void setRetries(int most) { retries_ = std::max(0, most); }
    // Goes on from what the file and its record hold, when they do; else the
    // file is begun anew.
    void setResume(bool resume) { resume_ = resume; }

    void start();
    // Blocks, running the calling thread's event loop, until isDone.
    void waitForFinish() const;
    // Stops the transfer; no event follows. The file and its record stay.
    void cancel();
    // After expiredEvent: the same stream at a new address; what is there stays.
    void continueAt(const QUrl& url);

    // A new random UUID, upper case, 8-4-4-4-12.
    static QString generateUuidString();
    // Where the record of a file's bytes is kept.
    static QString recordOf(const QString& localfile) { return localfile + QStringLiteral(".ranges"); }
    // The file and its records go.
    static void discard(const QString& localfile);

    // Set when the download failed: a status other than 200/206 (domain
    // "http.download", the status as code), a connection given up after its
    // retries, a file that could not be written, or one that came out short.
    std::optional<platform::Error> error() const { return error_.get(); }
    int statusCode() const { return status_; }
    QString localfile() const { return localfile_; }
    QUrl url() const { return url_.get(); }
    // The stream's size once the server said it (0 when it did not).
    std::optional<qint64> length() const { return length_.get(); }
    // The bytes in the file; never goes back.
    std::optional<quint64> offset() const { return offset_.get(); }
    bool isDone() const { return done_; }
    // While a piece is being asked for again: the attempt, of how many.
    std::optional<std::pair<int, int>> retrying() const { return retrying_.get(); }

    platform::Event<HTTPDownload&> finishEvent;
    platform::Event<HTTPDownload&> updateEvent;
    // The address no longer serves the stream (403, 410) after bytes came:
    // continueAt a new one, or cancel.
    platform::Event<HTTPDownload&> expiredEvent;

    // The whole percentage of length that offset is (the quotient first, then
    // times 100, cut toward zero), at most 100; none while the length is
    // unknown (or said to be 0).
    static std::optional<int> percentOf(quint64 offset, std::optional<qint64> length);

private:
    // One request: a range of the file, or the whole body.
    struct Piece {
        Piece(qint64 from, qint64 to, bool first = false) : first(from), end(to), probe(first) {}
        qint64 first = 0;
        qint64 end = 0; // exclusive; the whole body: unknown until answered
        qint64 written = 0;
        int attempts = 0;
        bool probe = false; // the first, which learns whether ranges are served
        bool answered = false;
        std::shared_ptr<platform::HttpTransfer::Lane> lane;
        std::unique_ptr<platform::HttpTransfer> transfer;
        QTimer* pause = nullptr;
    };
    enum class Mode { probing, ranged, whole };

    HTTPDownload(const QString& localfile, const QUrl& url);
    void launch(Piece& piece);
    void fill();
    void onReadyRead(Piece& piece);
    void onFinished(Piece& piece);
    // The answer's head: false when the piece or the download ends here.
    bool answer(Piece& piece);
    bool write(Piece& piece, const char* data, qint64 size);
    // Asks for the rest of the piece again after a pause; false when its retries are spent.
    bool retry(Piece& piece, const QString& why);
    void remove(Piece& piece);
    void fail(const platform::Error& error);
    void complete();
    void stopAll();
    void saveRecord(bool now);
    void report();

    const QString localfile_;
    platform::Property<QUrl> url_;
    QFile output_;
    ByteRanges have_;
    Mode mode_ = Mode::probing;
    std::list<Piece> pieces_;
    QList<ByteRanges::Range> waiting_; // ranges not yet asked for
    // Lanes of pieces that ended, whose open connections serve the next ones.
    std::vector<std::shared_ptr<platform::HttpTransfer::Lane>> idleLanes_;
    int connections_ = 1;
    qint64 chunkSize_ = defaultChunkSize;
    int retries_ = defaultRetries;
    bool resume_ = false;
    bool expired_ = false; // waiting for continueAt
    bool ended_ = false;
    QElapsedTimer lastSaved_;
    // The percentage last told; an update comes only when it changes.
    std::optional<std::optional<int>> lastThrowedStatus_;
    platform::Property<std::optional<platform::Error>> error_;
    std::atomic<int> status_{0};
    platform::Property<std::optional<qint64>> length_;
    platform::Property<std::optional<quint64>> offset_;
    platform::Property<std::optional<std::pair<int, int>>> retrying_;
    std::atomic<bool> done_{false};
    std::chrono::milliseconds timeout_{60000};
    QList<QPair<QByteArray, QByteArray>> headers_;
};
