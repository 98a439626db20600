#include "platform/ModuleFiles.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibrary>
#include <QStringList>

#include <memory>
#include <mutex>
#include <vector>

#ifndef MELODRIFT_INSTALLED_LIBDIR
#define MELODRIFT_INSTALLED_LIBDIR "../lib/melodrift"
#endif

namespace platform {

namespace {

std::mutex keptMutex;

std::vector<std::unique_ptr<QLibrary>>& kept()
{
    static auto* const libraries = new std::vector<std::unique_ptr<QLibrary>>;
    return *libraries;
}

} // namespace

QLibrary* ModuleFiles::load(const char* variable, const QString& fileName, QString& error)
{
    QStringList paths;
    if (const QString named = qEnvironmentVariable(variable); !named.isEmpty())
        paths << named;
    const QDir program(QCoreApplication::applicationDirPath());
    paths << program.filePath(fileName)
          << program.filePath(QStringLiteral(MELODRIFT_INSTALLED_LIBDIR "/") + fileName);
    for (const QString& path : paths) {
        auto library = std::make_unique<QLibrary>(path);
        if (library->load()) {
            const std::lock_guard lock(keptMutex);
            return kept().emplace_back(std::move(library)).get();
        }
        error = library->errorString();
    }
    return nullptr;
}

} // namespace platform
