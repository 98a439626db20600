#include "ui/PreviewWebView.h"

#include "platform/ModuleFiles.h"

#include <QCoreApplication>
#include <QLibrary>
#include <QOpenGLContext>

#ifndef MELODRIFT_WEBPREVIEW_MODULE
#define MELODRIFT_WEBPREVIEW_MODULE "melodrift-webpreview"
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

} // namespace

std::unique_ptr<PreviewWebView> PreviewWebView::load(QString& error)
{
    if (!module) {
        shareGlContexts();
        module = platform::ModuleFiles::load("MELODRIFT_WEBPREVIEW", QStringLiteral(MELODRIFT_WEBPREVIEW_MODULE), error);
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
