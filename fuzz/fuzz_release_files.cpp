// Hands arbitrary bytes to the readers of what a release server sends beside
// its programs (checksum lists, an armored key, --version answers) and to the
// zip reader that takes Deno out of its archive: whatever they are, a digest
// is 32 bytes, a version is short and plain, and at most the cap is written.
#include "catalogue/tools/ArchiveEntry.h"
#include "catalogue/tools/ReleaseFiles.h"

#include <QBuffer>
#include <QFile>
#include <QTemporaryFile>

#include <cstdint>
#include <cstdlib>

namespace {

void checkDigest(const std::optional<QByteArray>& digest)
{
    if (digest && digest->size() != 32)
        std::abort();
}

void checkVersion(const std::optional<QString>& version)
{
    if (version && (version->isEmpty() || version->size() > 40))
        std::abort();
    if (version)
        for (const QChar c : *version)
            if (!c.isDigit() && c != QLatin1Char('.'))
                std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace tools::release;
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));

    checkDigest(digestFor(bytes, QStringLiteral("yt-dlp")));
    checkDigest(firstDigest(bytes));
    if (const auto key = dearmoredKey(bytes); key && (key->isEmpty() || !(static_cast<unsigned char>(key->at(0)) & 0x80)))
        std::abort();
    checkVersion(ytDlpVersionIn(bytes));
    checkVersion(denoVersionIn(bytes));
    checkVersion(nodeVersionIn(bytes));
    compareVersions(QString::fromLatin1(bytes.left(64)), QStringLiteral("2025.11.12"));

    // As a zip: only the one entry, never more than the cap.
    static QTemporaryFile zip;
    if (!zip.isOpen() && !zip.open())
        return 0;
    zip.resize(0);
    zip.seek(0);
    zip.write(bytes);
    zip.flush();
    constexpr qint64 cap = 1 << 20;
    QBuffer into;
    into.open(QIODevice::WriteOnly);
    const QString why = tools::ArchiveEntry::extract(zip.fileName(), QStringLiteral("deno"), into, cap);
    if (into.size() > cap || (why.isEmpty() && into.size() < 0))
        std::abort();
    return 0;
}
