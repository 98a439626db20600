#pragma once

#include <QString>
#include <QVariant>
#include <QtPlugin>

#include <functional>
#include <memory>

class QWidget;

// The preview's web view. The web engine lives in a Qt plugin that is loaded
// on the first preview, so that the program starts, and runs until then,
// without it.
class PreviewWebView {
public:
    virtual ~PreviewWebView() = default;

    virtual QWidget* widget() = 0;
    // Loads a page of the program's own making, with no base address.
    virtual void setHtml(const QString& html) = 0;
    // Runs a script in the page; result gets its value on the interface thread.
    virtual void runJavaScript(const QString& script, std::function<void(const QVariant&)> result) = 0;

    // A new view from the plugin, or none with the reason in error. The plugin
    // is looked for in Qt's library paths (among them the program's folder,
    // and QT_PLUGIN_PATH) and in the program's library folder once installed.
    static std::unique_ptr<PreviewWebView> load(QString& error);
    // Whether the plugin has been loaded into the program.
    static bool isLoaded();
};

// What the plugin provides: the views.
class PreviewWebEngine {
public:
    virtual ~PreviewWebEngine() = default;
    virtual std::unique_ptr<PreviewWebView> makeView() = 0;
};

#define PreviewWebEngine_iid "org.melodrift.PreviewWebEngine/1"
Q_DECLARE_INTERFACE(PreviewWebEngine, PreviewWebEngine_iid)
