#pragma once

#include "platform/Event.h"
#include "platform/ServiceEndpoints.h"

#include <QObject>
#include <QPointer>

#include <memory>

class AlertPresenter;
class DownloadItem;
class PreviewController;
class YouTubeUrl;
class YouTubeVideo;
class PZScrollView;
class QLabel;
class QLineEdit;
class QWidget;

// The search view: words or a watch-page address go in, videos come out, and a
// download started from a result goes to the sidebar as a job.
class NewSearchController : public QObject {
    Q_OBJECT
public:
    NewSearchController(const platform::ServiceEndpoints& endpoints, AlertPresenter& alerts, QObject* parent = nullptr);
    ~NewSearchController() override;

    QWidget* view() const { return mainView_; }
    QLineEdit* searchField() const { return searchField_; }
    PZScrollView* tableScrollView() const { return tableScrollView_; }
    PreviewController* previewController() const { return previewController_; }

    // The window is built and about to be shown.
    void applicationDidFinishLaunching();

    // The preview's events: the user chose a stream to save.
    void audioEvent(PreviewController& sender, const std::shared_ptr<YouTubeVideo>& video,
                    const std::shared_ptr<YouTubeUrl>& stream);
    void videoEvent(PreviewController& sender, const std::shared_ptr<YouTubeVideo>& video,
                    const std::shared_ptr<YouTubeUrl>& stream);

    // (sender, job): a download the user asked for.
    platform::Event<NewSearchController&, std::shared_ptr<DownloadItem>> downloadEvent;

private:
    void bringWindowToFront();

    const platform::ServiceEndpoints endpoints_;
    AlertPresenter& alerts_;
    PreviewController* previewController_;
    QPointer<QWidget> mainView_;
    QLabel* imageView_;
    QLineEdit* searchField_;
    PZScrollView* tableScrollView_;
};
