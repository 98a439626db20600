#include "platform/ModuleFiles.h"

#include <QCoreApplication>
#include <QDir>

#ifndef MELODRIFT_INSTALLED_LIBDIR
#define MELODRIFT_INSTALLED_LIBDIR "../lib/melodrift"
#endif

namespace platform {

QStringList ModuleFiles::candidates(const char* variable, const QString& fileName)
{
    QStringList paths;
    if (const QString named = qEnvironmentVariable(variable); !named.isEmpty())
        paths << named;
    const QDir program(QCoreApplication::applicationDirPath());
    paths << program.filePath(fileName)
          << program.filePath(QStringLiteral(MELODRIFT_INSTALLED_LIBDIR "/") + fileName);
    return paths;
}

} // namespace platform
