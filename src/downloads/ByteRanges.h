#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>

#include <optional>

// The bytes of a stream that are in its partial file, as ranges, and the
// record of them kept beside the file: what a download that was cut, paused
// or killed still has, so that only the rest is fetched again.
class ByteRanges {
public:
    using Range = QPair<qint64, qint64>; // [first, end)

    ByteRanges() = default;
    // total: the stream's size, when the server said it.
    explicit ByteRanges(std::optional<qint64> total) : total_(total) {}

    std::optional<qint64> total() const { return total_; }
    // Bytes [first, first + length) are in the file now.
    void add(qint64 first, qint64 length);
    qint64 doneBytes() const { return done_; }
    bool isComplete() const { return total_ && done_ == *total_; }
    bool contains(qint64 first, qint64 length) const;
    const QList<Range>& ranges() const { return ranges_; }

    // What is missing, in pieces no longer than chunk, in order.
    QList<Range> missing(qint64 chunk) const;

    // The record: a few lines of text. A record that is not one of these, or
    // whose ranges do not fit its total, reads as nothing.
    QByteArray record() const;
    static std::optional<ByteRanges> fromRecord(const QByteArray& text);

private:
    std::optional<qint64> total_;
    QList<Range> ranges_; // sorted, apart, none empty
    qint64 done_ = 0;
};
