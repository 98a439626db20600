#pragma once

#include <QString>
#include <QVariant>

#include <functional>
#include <memory>

class QWidget;

// The preview's web view. The web engine lives in a module of its own that is
// loaded on the first preview, so that the program starts, and runs until
// then, without it.
class PreviewWebView {
public:
    virtual ~PreviewWebView() = default;

    virtual QWidget* widget() = 0;
    // Loads a page of the program's own making, with no base address.
    virtual void setHtml(const QString& html) = 0;
    // Runs a script in the page; result gets its value on the interface thread.
    virtual void runJavaScript(const QString& script, std::function<void(const QVariant&)> result) = 0;

    // A new view from the module, or none with the reason in error.
    static std::unique_ptr<PreviewWebView> load(QString& error);
    // Whether the module has been loaded into the program.
    static bool isLoaded();
};

// The module's one entry point.
extern "C" {
using MakePreviewWebView = PreviewWebView* (*)();
}
