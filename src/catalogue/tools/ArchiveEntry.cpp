#include "catalogue/tools/ArchiveEntry.h"

#include <QDir>
#include <QFile>
#include <QIODevice>

#include <archive.h>
#include <archive_entry.h>

#include <memory>

namespace tools {

namespace {

struct ArchiveCloser {
    void operator()(archive* a) const { archive_read_free(a); }
};

QString reasonOf(archive* a)
{
    const char* text = archive_error_string(a);
    return QStringLiteral("the archive cannot be read (%1)")
        .arg(text ? QString::fromUtf8(text).left(200) : QStringLiteral("unknown error"));
}

// Copies the data of the entry just read into `into`, adding to written and
// refusing more than maxBytes in all: the reason, or nothing.
QString copyData(archive* zip, QIODevice& into, qint64& written, qint64 maxBytes, const QString& tooLarge)
{
    char buffer[64 * 1024];
    for (;;) {
        const la_ssize_t got = archive_read_data(zip, buffer, sizeof buffer);
        if (got == 0)
            return {};
        if (got < 0)
            return reasonOf(zip);
        written += got;
        if (written > maxBytes)
            return tooLarge;
        if (into.write(buffer, got) != got)
            return QStringLiteral("the archive's contents could not be written: %1").arg(into.errorString());
    }
}

} // namespace

QString ArchiveEntry::extract(const QString& zipFile, const QString& name, QIODevice& into, qint64 maxBytes)
{
    const std::unique_ptr<archive, ArchiveCloser> zip(archive_read_new());
    if (!zip)
        return QStringLiteral("the archive cannot be read (out of memory)");
    archive_read_support_format_zip(zip.get());
    if (archive_read_open_filename(zip.get(), QFile::encodeName(zipFile).constData(), 64 * 1024) != ARCHIVE_OK)
        return reasonOf(zip.get());

    const QByteArray wanted = name.toUtf8();
    bool found = false;
    for (;;) {
        archive_entry* entry = nullptr;
        const int next = archive_read_next_header(zip.get(), &entry);
        if (next == ARCHIVE_EOF)
            break;
        if (next != ARCHIVE_OK && next != ARCHIVE_WARN)
            return reasonOf(zip.get());
        const char* path = archive_entry_pathname(entry);
        if (!path || (wanted != path && QByteArray("./") + wanted != path))
            continue; // archive_read_next_header skips the data of an entry not read
        if (archive_entry_filetype(entry) != AE_IFREG)
            return QStringLiteral("%1 in the archive is not a file").arg(name);
        if (found)
            return QStringLiteral("the archive holds %1 twice").arg(name);
        found = true;
        qint64 written = 0;
        const QString why =
            copyData(zip.get(), into, written, maxBytes,
                     QStringLiteral("%1 in the archive is larger than %2 MiB").arg(name).arg(maxBytes / (1024 * 1024)));
        if (!why.isEmpty())
            return why;
    }
    return found ? QString() : QStringLiteral("the archive holds no %1").arg(name);
}

QString ArchiveEntry::extractAll(const QString& zipFile, const QString& folder, qint64 maxBytes, int maxEntries)
{
    const std::unique_ptr<archive, ArchiveCloser> zip(archive_read_new());
    if (!zip)
        return QStringLiteral("the archive cannot be read (out of memory)");
    // From its central directory: a zip application begins with a line of its own.
    archive_read_support_format_zip_seekable(zip.get());
    if (archive_read_open_filename(zip.get(), QFile::encodeName(zipFile).constData(), 64 * 1024) != ARCHIVE_OK)
        return reasonOf(zip.get());

    const QDir root(folder);
    qint64 written = 0;
    for (int entries = 0;; ++entries) {
        archive_entry* entry = nullptr;
        const int next = archive_read_next_header(zip.get(), &entry);
        if (next == ARCHIVE_EOF)
            return {};
        if (next != ARCHIVE_OK && next != ARCHIVE_WARN)
            return reasonOf(zip.get());
        if (entries >= maxEntries)
            return QStringLiteral("the archive holds more than %1 entries").arg(maxEntries);
        const char* raw = archive_entry_pathname(entry);
        const QString name = raw ? QString::fromUtf8(raw) : QString();
        const QStringList parts = name.split(QLatin1Char('/'), Qt::SkipEmptyParts);
        const bool plain = !name.isEmpty() && !name.startsWith(QLatin1Char('/')) && !name.contains(QLatin1Char('\\')) &&
                           std::none_of(parts.begin(), parts.end(), [](const QString& part) {
                               return part == QLatin1String("..") || part == QLatin1String(".");
                           });
        if (!plain || parts.isEmpty())
            return QStringLiteral("the archive names a path of its own: %1").arg(name.left(200));
        const QString path = root.filePath(parts.join(QLatin1Char('/')));
        const auto type = archive_entry_filetype(entry);
        if (type == AE_IFDIR) {
            if (!root.mkpath(parts.join(QLatin1Char('/'))))
                return QStringLiteral("%1 could not be made").arg(path);
            continue;
        }
        if (type != AE_IFREG)
            return QStringLiteral("the archive holds something other than files: %1").arg(name.left(200));
        if (parts.size() > 1 && !root.mkpath(parts.mid(0, parts.size() - 1).join(QLatin1Char('/'))))
            return QStringLiteral("%1 could not be made").arg(path);
        QFile out(path);
        if (out.exists() || !out.open(QIODevice::WriteOnly))
            return QStringLiteral("%1 could not be written").arg(path);
        const QString why =
            copyData(zip.get(), out, written, maxBytes,
                     QStringLiteral("the archive holds more than %1 MiB").arg(maxBytes / (1024 * 1024)));
        if (!why.isEmpty())
            return why;
    }
}

} // namespace tools
