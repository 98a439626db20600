#include "catalogue/tools/ReleaseFiles.h"

#include <QList>
#include <QRegularExpression>

namespace tools::release {

namespace {

bool isHex(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// 64 hex digits at the start of word, and nothing else in it.
std::optional<Digest> digestOf(const QByteArray& word)
{
    if (word.size() != 64 || !std::all_of(word.begin(), word.end(), isHex))
        return std::nullopt;
    return QByteArray::fromHex(word);
}

QByteArray firstLine(const QByteArray& output)
{
    // A version is a few dozen bytes: anything longer is no version line.
    const QByteArray head = output.left(200);
    const qsizetype end = head.indexOf('\n');
    return (end < 0 ? head : head.left(end)).trimmed();
}

} // namespace

std::optional<Digest> digestFor(const QByteArray& sums, const QString& name)
{
    const QByteArray wanted = name.toUtf8();
    std::optional<Digest> found;
    for (const QByteArray& raw : sums.split('\n')) {
        const QByteArray line = raw.trimmed();
        // "HEX  NAME", "HEX *NAME" (binary mode) or, loosely, "HEX NAME".
        const qsizetype gap = line.indexOf(' ');
        if (gap != 64)
            continue;
        QByteArray named = line.mid(gap + 1);
        if (named.startsWith(' ') || named.startsWith('*'))
            named = named.mid(1);
        if (named != wanted)
            continue;
        const auto digest = digestOf(line.left(64));
        if (!digest)
            continue;
        if (found && *found != *digest)
            return std::nullopt; // two answers are no answer
        found = digest;
    }
    return found;
}

std::optional<Digest> firstDigest(const QByteArray& text)
{
    qsizetype i = 0;
    while (i < text.size()) {
        if (!isHex(text[i])) {
            ++i;
            continue;
        }
        qsizetype end = i;
        while (end < text.size() && isHex(text[end]))
            ++end;
        // A word of its own: not the tail of a longer run of letters and digits.
        const bool alone = (i == 0 || !std::isalnum(static_cast<unsigned char>(text[i - 1]))) &&
                           (end == text.size() || !std::isalnum(static_cast<unsigned char>(text[end])));
        if (alone && end - i == 64)
            return QByteArray::fromHex(text.mid(i, 64));
        i = end;
        while (i < text.size() && std::isalnum(static_cast<unsigned char>(text[i])))
            ++i;
    }
    return std::nullopt;
}

std::optional<QByteArray> dearmoredKey(const QByteArray& armored)
{
    const QByteArray begin = "-----BEGIN PGP PUBLIC KEY BLOCK-----";
    const QByteArray end = "-----END PGP PUBLIC KEY BLOCK-----";
    const qsizetype from = armored.indexOf(begin);
    const qsizetype to = from < 0 ? -1 : armored.indexOf(end, from);
    if (to < 0)
        return std::nullopt;
    QList<QByteArray> lines = armored.mid(from + begin.size(), to - from - begin.size()).split('\n');
    QByteArray base64;
    // Headers ("Comment: …") end at the first blank line, when there are any.
    bool inHeaders = lines.size() > 1 && lines[1].trimmed().contains(':');
    for (qsizetype n = 1; n < lines.size(); ++n) {
        const QByteArray line = lines[n].trimmed();
        if (inHeaders) {
            if (line.isEmpty())
                inHeaders = false;
            continue;
        }
        if (line.startsWith('='))
            break; // the checksum line closes the data
        base64 += line;
    }
    const auto decoded = QByteArray::fromBase64Encoding(base64, QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded || decoded.decoded.isEmpty())
        return std::nullopt;
    // An OpenPGP packet's first byte has its high bit set.
    if (!(static_cast<unsigned char>(decoded.decoded[0]) & 0x80))
        return std::nullopt;
    return decoded.decoded;
}

std::optional<QString> ytDlpVersionIn(const QByteArray& output)
{
    static const QRegularExpression form(QStringLiteral("^(\\d{4})\\.(\\d{2})\\.(\\d{2})(\\.\\d{1,10})?$"));
    const QString line = QString::fromLatin1(firstLine(output));
    return form.match(line).hasMatch() ? std::optional<QString>(line) : std::nullopt;
}

std::optional<QString> denoVersionIn(const QByteArray& output)
{
    static const QRegularExpression form(QStringLiteral("^deno (\\d{1,4}\\.\\d{1,4}\\.\\d{1,6})(\\s|$)"));
    const auto match = form.match(QString::fromLatin1(firstLine(output)));
    return match.hasMatch() ? std::optional<QString>(match.captured(1)) : std::nullopt;
}

std::optional<QString> nodeVersionIn(const QByteArray& output)
{
    static const QRegularExpression form(QStringLiteral("^v(\\d{1,4}\\.\\d{1,4}\\.\\d{1,6})$"));
    const auto match = form.match(QString::fromLatin1(firstLine(output)));
    return match.hasMatch() ? std::optional<QString>(match.captured(1)) : std::nullopt;
}

int compareVersions(const QString& a, const QString& b)
{
    const QStringList left = a.split(QLatin1Char('.'));
    const QStringList right = b.split(QLatin1Char('.'));
    for (qsizetype i = 0; i < std::max(left.size(), right.size()); ++i) {
        const qulonglong x = i < left.size() ? left[i].toULongLong() : 0;
        const qulonglong y = i < right.size() ? right[i].toULongLong() : 0;
        if (x != y)
            return x < y ? -1 : 1;
    }
    return 0;
}

} // namespace tools::release
