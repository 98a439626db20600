#include "catalogue/tools/ToolFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace tools {

std::optional<FileIdentity> FileIdentity::of(const QString& path)
{
    struct stat about {};
    if (::stat(QFile::encodeName(path).constData(), &about) != 0)
        return std::nullopt;
    return FileIdentity{about.st_size, qint64(about.st_mtim.tv_sec) * 1000000000 + about.st_mtim.tv_nsec,
                        quint64(about.st_ino)};
}

QString ToolFolder::standardPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation) + QStringLiteral("/tools");
}

ToolFolder::ToolFolder(QString path) : path_(std::move(path)) {}

QString ToolFolder::whyUnusable(bool create) const
{
    const QByteArray name = QFile::encodeName(path_);
    struct stat about {};
    if (::lstat(name.constData(), &about) != 0) {
        if (errno != ENOENT || !create)
            return QStringLiteral("%1: %2").arg(path_, QString::fromLocal8Bit(std::strerror(errno)));
        // The data folders above it as the system makes them; this one for the user alone.
        if (!QDir().mkpath(QFileInfo(path_).absolutePath()) || ::mkdir(name.constData(), 0700) != 0 ||
            ::lstat(name.constData(), &about) != 0)
            return QStringLiteral("%1 cannot be made: %2").arg(path_, QString::fromLocal8Bit(std::strerror(errno)));
    }
    if (!S_ISDIR(about.st_mode))
        return QStringLiteral("%1 is not a folder").arg(path_);
    if (about.st_uid != ::geteuid())
        return QStringLiteral("%1 belongs to someone else").arg(path_);
    if ((about.st_mode & (S_IWGRP | S_IWOTH)) != 0 && ::chmod(name.constData(), about.st_mode & 0700) != 0)
        return QStringLiteral("%1 can be written by others").arg(path_);
    return {};
}

} // namespace tools
