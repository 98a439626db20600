#pragma once

#include <QString>
#include <QStringView>

#include <algorithm>

#include <limits>

namespace platform {

// The integer a text starts with, read the way C reads one: blanks, a sign,
// digits; 0 without digits; held at the ends of the range instead of wrapping.
inline qint64 leadingInteger(QStringView text)
{
    qsizetype i = 0;
    while (i < text.size() && text[i].isSpace())
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == u'-' || text[i] == u'+'))
        negative = text[i++] == u'-';
    qint64 value = 0;
    for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i) {
        const int digit = text[i].unicode() - u'0';
        if (value > (std::numeric_limits<qint64>::max() - digit) / 10)
            return negative ? std::numeric_limits<qint64>::min() : std::numeric_limits<qint64>::max();
        value = value * 10 + digit;
    }
    return negative ? -value : value;
}

// A length of time as a clock shows it: "4:05", "1:02:03"; negative counts as 0.
inline QString clockText(qint64 seconds)
{
    seconds = std::max<qint64>(seconds, 0);
    if (seconds >= 3600)
        return QStringLiteral("%1:%2:%3")
            .arg(seconds / 3600)
            .arg(seconds / 60 % 60, 2, 10, QLatin1Char('0'))
            .arg(seconds % 60, 2, 10, QLatin1Char('0'));
    return QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

// Text from outside, fit for a terminal, a file name or a notification: every
// control character (C0, DEL, C1), by which a title could steer a terminal or
// break a line, becomes replacement; newlines stay where keepNewlines says.
inline QString withoutControls(QString text, QChar replacement = QChar(0xFFFD), bool keepNewlines = false)
{
    for (QChar& c : text) {
        const char16_t u = c.unicode();
        if ((u < 0x20 || (u >= 0x7F && u <= 0x9F)) && !(keepNewlines && u == u'\n'))
            c = replacement;
    }
    return text;
}

} // namespace platform
