#include "ui/PreviewWebView.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibrary>
#include <QOpenGLContext>

#ifndef MELODRIFT_WEBPREVIEW_MODULE
#define MELODRIFT_WEBPREVIEW_MODULE "melodrift-webpreview"
#endif
#ifndef MELODRIFT_INSTALLED_LIBDIR
#define MELODRIFT_INSTALLED_LIBDIR "../lib/melodrift"
#endif

// Qt's own setter of the context that every GL context of the program shares
// with: what Qt::AA_ShareOpenGLContexts makes when the application starts.
// Exported by QtGui, but declared in its private headers only.
void qt_gl_set_global_share_context(QOpenGLContext* context);

namespace {

QLibrary* module = nullptr;

// The web engine draws with GL contexts shared with the program's. Made here,
// on the first preview, rather than at start-up, which it would cost a GL
// driver's loading for every start.
void shareGlContexts()
{
    if (QOpenGLContext::globalShareContext())
        return;
    auto* context = new QOpenGLContext(QCoreApplication::instance());
    if (context->create())
        qt_gl_set_global_share_context(context);
    else
        delete context;
}

// Beside the program in the build tree, in its library folder once installed;
// MELODRIFT_WEBPREVIEW names another file (the tests use it).
QStringList candidates()
{
    QStringList paths;
    if (const QString named = qEnvironmentVariable("MELODRIFT_WEBPREVIEW"); !named.isEmpty())
        paths << named;
    const QDir program(QCoreApplication::applicationDirPath());
    paths << program.filePath(QStringLiteral(MELODRIFT_WEBPREVIEW_MODULE))
          << program.filePath(QStringLiteral(MELODRIFT_INSTALLED_LIBDIR "/" MELODRIFT_WEBPREVIEW_MODULE));
    return paths;
}

} // namespace

std::unique_ptr<PreviewWebView> PreviewWebView::load(QString& error)
{
    if (!module) {
        shareGlContexts();
        for (const QString& path : candidates()) {
            auto* library = new QLibrary(path);
            if (library->load()) {
                module = library;
                break;
            }
            error = library->errorString();
            delete library;
        }
        if (!module)
            return nullptr;
    }
    const auto make = reinterpret_cast<MakePreviewWebView>(module->resolve("melodrift_make_preview_web_view"));
    if (!make) {
        error = module->errorString();
        return nullptr;
    }
    return std::unique_ptr<PreviewWebView>(make());
}

bool PreviewWebView::isLoaded()
{
    return module != nullptr;
}
