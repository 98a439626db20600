#include "ui/preview/PreviewWebView.h"

#include <QCoreApplication>
#include <QPluginLoader>

#ifndef MELODRIFT_WEBPREVIEW_PLUGIN
#define MELODRIFT_WEBPREVIEW_PLUGIN "melodrift-webpreview"
#endif
#ifndef MELODRIFT_INSTALLED_LIBDIR
#define MELODRIFT_INSTALLED_LIBDIR "../lib/melodrift"
#endif

namespace {

// Kept loaded once found: its views may live until the program ends.
PreviewWebEngine* engine = nullptr;

} // namespace

std::unique_ptr<PreviewWebView> PreviewWebView::load(QString& error)
{
    if (!engine) {
        QCoreApplication::addLibraryPath(QCoreApplication::applicationDirPath() +
                                         QStringLiteral("/" MELODRIFT_INSTALLED_LIBDIR));
        QPluginLoader loader(QStringLiteral(MELODRIFT_WEBPREVIEW_PLUGIN));
        QObject* plugin = loader.instance();
        engine = qobject_cast<PreviewWebEngine*>(plugin);
        if (!engine) {
            error = plugin ? loader.fileName() + QStringLiteral(" is not the preview's plugin") : loader.errorString();
            return nullptr;
        }
    }
    return engine->makeView();
}

bool PreviewWebView::isLoaded()
{
    return engine != nullptr;
}
