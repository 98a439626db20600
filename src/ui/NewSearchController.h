#pragma once

#include "platform/Event.h"
#include "platform/ServiceEndpoints.h"

#include <QObject>
#include <QPointer>

#include <memory>

class DownloadItem;
class PZScrollView;
class QLabel;
class QLineEdit;
class QWidget;

// The search view: words or a watch-page address go in, videos come out, and a
// download started from a result goes to the sidebar as a job.
class NewSearchController : public QObject {
    Q_OBJECT
public:
    explicit NewSearchController(const platform::ServiceEndpoints& endpoints, QObject* parent = nullptr);
    ~NewSearchController() override;

    QWidget* view() const { return mainView_; }
    QLineEdit* searchField() const { return searchField_; }
    PZScrollView* tableScrollView() const { return tableScrollView_; }

    // The window is built and about to be shown.
    void applicationDidFinishLaunching();

    // (sender, job): a download the user asked for.
    platform::Event<NewSearchController&, std::shared_ptr<DownloadItem>> downloadEvent;

private:
    const platform::ServiceEndpoints endpoints_;
    QPointer<QWidget> mainView_;
    QLabel* imageView_;
    QLineEdit* searchField_;
    PZScrollView* tableScrollView_;
};
