#include "downloads/ByteRanges.h"

#include <QList>

#include <algorithm>

namespace {

const QByteArray header = "melodrift partial 1";
// A record lists a few hundred ranges at most; anything longer is no record.
constexpr qsizetype mostRanges = 100000;

} // namespace

void ByteRanges::add(qint64 first, qint64 length)
{
    if (length <= 0 || first < 0)
        return;
    qint64 end = first + length;
    if (total_)
        end = std::min(end, *total_);
    if (first >= end)
        return;
    // Merged with every range it touches or overlaps.
    QList<Range> merged;
    merged.reserve(ranges_.size() + 1);
    bool placed = false;
    for (const Range& range : std::as_const(ranges_)) {
        if (range.second < first) {
            merged.append(range);
        } else if (range.first > end) {
            if (!placed) {
                merged.append({first, end});
                placed = true;
            }
            merged.append(range);
        } else {
            first = std::min(first, range.first);
            end = std::max(end, range.second);
        }
    }
    if (!placed)
        merged.append({first, end});
    ranges_ = std::move(merged);
    done_ = 0;
    for (const Range& range : std::as_const(ranges_))
        done_ += range.second - range.first;
}

bool ByteRanges::contains(qint64 first, qint64 length) const
{
    return std::any_of(ranges_.begin(), ranges_.end(),
                       [&](const Range& range) { return range.first <= first && first + length <= range.second; });
}

QList<ByteRanges::Range> ByteRanges::missing(qint64 chunk) const
{
    QList<Range> pieces;
    if (!total_ || chunk <= 0)
        return pieces;
    const auto cut = [&](qint64 from, qint64 to) {
        for (qint64 at = from; at < to; at += chunk)
            pieces.append({at, std::min(to, at + chunk)});
    };
    qint64 at = 0;
    for (const Range& range : ranges_) {
        cut(at, range.first);
        at = range.second;
    }
    cut(at, *total_);
    return pieces;
}

QByteArray ByteRanges::record() const
{
    QByteArray text = header + '\n';
    text += "total " + QByteArray::number(total_.value_or(-1)) + '\n';
    for (const Range& range : ranges_)
        text += "have " + QByteArray::number(range.first) + ' ' + QByteArray::number(range.second) + '\n';
    return text;
}

std::optional<ByteRanges> ByteRanges::fromRecord(const QByteArray& text)
{
    const QList<QByteArray> lines = text.split('\n');
    if (lines.isEmpty() || lines.first() != header || lines.size() > mostRanges)
        return std::nullopt;
    std::optional<ByteRanges> read;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QList<QByteArray> words = lines[i].split(' ');
        if (words.size() == 1 && words[0].isEmpty())
            continue;
        bool a = false, b = true;
        const qint64 x = words.value(1).toLongLong(&a);
        const qint64 y = words.size() > 2 ? words[2].toLongLong(&b) : 0;
        if (words[0] == "total" && words.size() == 2 && a && !read && x > 0) {
            read = ByteRanges(x);
        } else if (words[0] == "have" && words.size() == 3 && a && b && read && 0 <= x && x < y && y <= *read->total()) {
            read->add(x, y - x);
        } else {
            return std::nullopt;
        }
    }
    return read;
}
