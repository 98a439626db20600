#include "platform/ModuleFiles.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibrary>
#include <QStringList>

#ifndef MELODRIFT_INSTALLED_LIBDIR
#define MELODRIFT_INSTALLED_LIBDIR "../lib/melodrift"
#endif

namespace platform {

QLibrary* ModuleFiles::load(const char* variable, const QString& fileName, QString& error)
{
    QStringList paths;
    if (const QString named = qEnvironmentVariable(variable); !named.isEmpty())
        paths << named;
    const QDir program(QCoreApplication::applicationDirPath());
    paths << program.filePath(fileName)
          << program.filePath(QStringLiteral(MELODRIFT_INSTALLED_LIBDIR "/") + fileName);
    for (const QString& path : paths) {
        auto* library = new QLibrary(path);
        if (library->load())
            return library;
        error = library->errorString();
        delete library;
    }
    return nullptr;
}

} // namespace platform
