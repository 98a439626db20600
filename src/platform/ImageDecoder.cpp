#include "platform/ImageDecoder.h"

#include "platform/Log.h"
#include "platform/ModuleFiles.h"

#include <QLibrary>

#include <mutex>

#ifndef MELODRIFT_IMAGING_MODULE
#define MELODRIFT_IMAGING_MODULE "melodrift-imaging"
#endif

namespace platform {

namespace {

using Decode = const QImage* (*)(const char* data, qint64 size);
using Release = void (*)(const QImage* image);

struct Module {
    Decode decode = nullptr;
    Release release = nullptr;
};

Module load()
{
    QString error;
    if (QLibrary* library = ModuleFiles::load("MELODRIFT_IMAGING", QStringLiteral(MELODRIFT_IMAGING_MODULE), error)) {
        const Module module{reinterpret_cast<Decode>(library->resolve("melodrift_decode_image")),
                            reinterpret_cast<Release>(library->resolve("melodrift_release_image"))};
        if (module.decode && module.release)
            return module;
        error = library->errorString();
    }
    Log::line(QStringLiteral("Pictures cannot be decoded: ") + error);
    return {};
}

} // namespace

Image ImageDecoder::decode(const QByteArray& bytes)
{
    if (bytes.isEmpty())
        return {}; // no picture came: no reason to load the decoder
    static std::once_flag once;
    static Module module;
    std::call_once(once, [] { module = load(); });
    if (!module.decode)
        return {};
    const QImage* image = module.decode(bytes.constData(), bytes.size());
    return image ? Image(image, module.release) : Image();
}

} // namespace platform
