#include "platform/HttpEngine.h"

#include "platform/Log.h"
#include "platform/ModuleFiles.h"

#include <QLibrary>

#include <mutex>

#ifndef MELODRIFT_NETWORK_MODULE
#define MELODRIFT_NETWORK_MODULE "melodrift-network"
#endif

namespace platform {

HttpEngine* HttpEngine::instance(QString* error)
{
    static std::once_flag once;
    static HttpEngine* engine = nullptr;
    static QString reason;
    std::call_once(once, [] {
        if (QLibrary* library = ModuleFiles::load("MELODRIFT_NETWORK", QStringLiteral(MELODRIFT_NETWORK_MODULE), reason)) {
            using Make = HttpEngine* (*)();
            if (const auto make = reinterpret_cast<Make>(library->resolve("melodrift_http_engine")))
                engine = make();
            else
                reason = library->errorString();
        }
        if (!engine) {
            reason = QStringLiteral("The network module cannot be loaded: ") + reason;
            Log::line(reason);
        }
    });
    if (!engine && error)
        *error = reason;
    return engine;
}

} // namespace platform
