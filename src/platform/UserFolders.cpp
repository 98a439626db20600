#include "platform/UserFolders.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryFile>

namespace platform {

namespace {

QString created(const QString& path)
{
    QDir().mkpath(path);
    return path;
}

} // namespace

QString UserFolders::downloads()
{
    QString folder = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    if (folder.isEmpty())
        folder = QDir::homePath() + QStringLiteral("/Downloads");
    return created(folder);
}

QString UserFolders::cache()
{
    return created(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
                   QStringLiteral("/Melodrift"));
}

QString UserFolders::whyNotWritable(const QString& folder)
{
    if (folder.isEmpty())
        return QStringLiteral("no folder was given");
    if (!QDir().mkpath(folder) || !QFileInfo(folder).isDir())
        return QStringLiteral("it is not a folder and cannot be made one");
    QTemporaryFile probe(folder + QStringLiteral("/.melodrift-XXXXXX"));
    if (!probe.open())
        return probe.errorString();
    return {};
}

} // namespace platform
