#include "downloads/ReservedFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

std::optional<ReservedFile> ReservedFile::reserve(const QString& base, const QString& suffix, QString* error)
{
    const QString folder = QFileInfo(base).path();
    if (!QDir().mkpath(folder)) {
        if (error)
            *error = QStringLiteral("Cannot create the folder %1").arg(folder);
        return std::nullopt;
    }
    for (int n = 0;; ++n) {
        const QString candidate =
            // One step, so that a "%1" in the title is never read as a place holder.
            n == 0 ? QStringLiteral("%1.%2").arg(base, suffix)
                   : QStringLiteral("%1 (%2).%3").arg(base, QString::number(n), suffix);
        const int fd = ::open(QFile::encodeName(candidate).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
        if (fd >= 0) {
            ::close(fd);
            const QString partial = QStringLiteral("%1/.%2.%3").arg(
                folder, QUuid::createUuid().toString(QUuid::WithoutBraces), suffix);
            return ReservedFile(candidate, partial);
        }
        if (errno != EEXIST) {
            if (error)
                *error = QStringLiteral("Cannot create %1: %2").arg(candidate, QString::fromLocal8Bit(std::strerror(errno)));
            return std::nullopt;
        }
    }
}

bool ReservedFile::commit(QString* error) const
{
    if (std::rename(QFile::encodeName(partial_).constData(), QFile::encodeName(path_).constData()) == 0)
        return true;
    if (error)
        *error = QStringLiteral("Cannot move the file into place at %1: %2")
                     .arg(path_, QString::fromLocal8Bit(std::strerror(errno)));
    return false;
}

void ReservedFile::abandon() const
{
    QFile::remove(partial_);
    if (QFileInfo(path_).size() == 0)
        QFile::remove(path_);
}
