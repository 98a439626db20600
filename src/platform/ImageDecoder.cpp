#include "platform/ImageDecoder.h"

#include "platform/Log.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibrary>

#include <mutex>

#ifndef MELODRIFT_IMAGING_MODULE
#define MELODRIFT_IMAGING_MODULE "melodrift-imaging"
#endif
#ifndef MELODRIFT_IMAGING_LIBDIR
#define MELODRIFT_IMAGING_LIBDIR "../lib/melodrift"
#endif

namespace platform {

namespace {

using Decode = const QImage* (*)(const char* data, qint64 size);
using Release = void (*)(const QImage* image);

struct Module {
    Decode decode = nullptr;
    Release release = nullptr;
};

// Beside the program in the build tree, in its library folder once installed;
// MELODRIFT_IMAGING names another file (the tests use it).
Module load()
{
    QStringList paths;
    if (const QString named = qEnvironmentVariable("MELODRIFT_IMAGING"); !named.isEmpty())
        paths << named;
    const QDir program(QCoreApplication::applicationDirPath());
    paths << program.filePath(QStringLiteral(MELODRIFT_IMAGING_MODULE))
          << program.filePath(QStringLiteral(MELODRIFT_IMAGING_LIBDIR "/" MELODRIFT_IMAGING_MODULE));
    QString error;
    for (const QString& path : paths) {
        QLibrary library(path);
        if (!library.load()) {
            error = library.errorString();
            continue;
        }
        // Never unloaded: the pictures it made are freed by it.
        Module module{reinterpret_cast<Decode>(library.resolve("melodrift_decode_image")),
                      reinterpret_cast<Release>(library.resolve("melodrift_release_image"))};
        if (module.decode && module.release)
            return module;
        error = library.errorString();
    }
    Log::line(QStringLiteral("Pictures cannot be decoded: ") + error);
    return {};
}

} // namespace

Image ImageDecoder::decode(const QByteArray& bytes)
{
    static std::once_flag once;
    static Module module;
    std::call_once(once, [] { module = load(); });
    if (!module.decode || bytes.isEmpty())
        return {};
    const QImage* image = module.decode(bytes.constData(), bytes.size());
    return image ? Image(image, module.release) : Image();
}

} // namespace platform
