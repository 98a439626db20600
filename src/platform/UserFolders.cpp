#include "platform/UserFolders.h"

#include <QDir>
#include <QStandardPaths>

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

} // namespace platform
