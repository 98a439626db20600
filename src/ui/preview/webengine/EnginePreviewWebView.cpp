// The web-engine side of the preview, a Qt plugin that the first preview loads.
#include "platform/WebAddress.h"
#include "ui/preview/PreviewWebView.h"

#include <QWebEnginePage>
#include <QWebEngineProfile>
#include <QWebEngineSettings>
#include <QWebEngineUrlRequestInterceptor>
#include <QWebEngineView>

#include <QObject>
#include <QPointer>

namespace {

// The page loads nothing but the web: a stream address that names a local
// file, or any other scheme, is blocked. The page itself comes as data.
class WebOnly : public QWebEngineUrlRequestInterceptor {
public:
    void interceptRequest(QWebEngineUrlRequestInfo& info) override
    {
        const QUrl url = info.requestUrl();
        const bool page = info.resourceType() == QWebEngineUrlRequestInfo::ResourceTypeMainFrame &&
                          url.scheme() == QLatin1String("data");
        if (!page && !platform::isWebAddress(url))
            info.block(true);
    }
};

// A profile of the preview's own that keeps nothing: no cookies, no cache on
// disk or in memory, no history; and plays without waiting for a click.
QWebEngineProfile* previewProfile()
{
    static QWebEngineProfile* profile = [] {
        auto* p = new QWebEngineProfile; // off the record
        p->setUrlRequestInterceptor(new WebOnly);
        p->setHttpCacheType(QWebEngineProfile::NoCache);
        p->setPersistentCookiesPolicy(QWebEngineProfile::NoPersistentCookies);
        QWebEngineSettings* settings = p->settings();
        settings->setAttribute(QWebEngineSettings::PlaybackRequiresUserGesture, false);
        settings->setAttribute(QWebEngineSettings::PluginsEnabled, false);
        settings->setAttribute(QWebEngineSettings::LocalStorageEnabled, false);
        settings->setAttribute(QWebEngineSettings::JavascriptCanOpenWindows, false);
        settings->setAttribute(QWebEngineSettings::JavascriptCanAccessClipboard, false);
        settings->setAttribute(QWebEngineSettings::ErrorPageEnabled, false);
        settings->setAttribute(QWebEngineSettings::LocalContentCanAccessFileUrls, false);
        return p;
    }();
    return profile;
}

class EnginePreviewWebView : public PreviewWebView {
public:
    EnginePreviewWebView() : view_(new QWebEngineView), page_(new QWebEnginePage(previewProfile(), view_))
    {
        view_->setPage(page_);
        view_->setContextMenuPolicy(Qt::NoContextMenu);
    }
    // The view may have gone with the window that held it.
    ~EnginePreviewWebView() override { delete view_.data(); }

    QWidget* widget() override { return view_; }
    void setHtml(const QString& html) override
    {
        if (page_)
            page_->setHtml(html, QUrl());
    }
    void runJavaScript(const QString& script, std::function<void(const QVariant&)> result) override
    {
        if (!page_)
            return;
        page_->runJavaScript(script, [result = std::move(result)](const QVariant& value) {
            if (result)
                result(value);
        });
    }

private:
    QPointer<QWebEngineView> view_;
    QPointer<QWebEnginePage> page_;
};

} // namespace

class EnginePreviewPlugin : public QObject, public PreviewWebEngine {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID PreviewWebEngine_iid)
    Q_INTERFACES(PreviewWebEngine)

public:
    std::unique_ptr<PreviewWebView> makeView() override { return std::make_unique<EnginePreviewWebView>(); }
};

#include "EnginePreviewWebView.moc"
