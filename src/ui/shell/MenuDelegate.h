#pragma once

#include "platform/ServiceEndpoints.h"

#include <QListView>
#include <QStackedWidget>
#include <QObject>
#include <QPointer>

#include <memory>

class AlertPresenter;
class DownloadItem;
class DownloadsController;
class HistoryQueue;
class MenuItem;
class MenuModel;
class MenuNode;
class NewSearchController;
class QWidget;

// The sidebar: a header and two entries, Search and Downloads; choosing an entry
// puts its view into the place beside the sidebar. It owns both views'
// controllers and hands the search view's downloads to the downloads view.
class MenuDelegate : public QObject {
    Q_OBJECT
public:
    // history: where the downloads view keeps its jobs across runs (none: for the run only).
    MenuDelegate(const platform::ServiceEndpoints& endpoints, AlertPresenter& alerts,
                 std::shared_ptr<HistoryQueue> history = nullptr, QObject* parent = nullptr);

    QListView* outlineView() const { return outlineView_; }
    QStackedWidget* placeHolderView() const { return placeHolderView_; }
    MenuModel* model() const { return model_; }
    NewSearchController* getNewSearchController() const { return newSearchController_; }
    DownloadsController* downloadController() const { return downloadController_; }
    QWidget* currentView() const { return currentView_; }

    // The search view's download event: the job goes to the downloads view, which is shown.
    void downloadEvent(NewSearchController& sender, const std::shared_ptr<DownloadItem>& item);

    void setSelectedRow(int row);
    void setSubView(QWidget* view);
    void setSubViewNewSearch();
    void setSubViewDownloads();

private:
    void createNewSearchController(const platform::ServiceEndpoints& endpoints, AlertPresenter& alerts);
    void outlineViewSelectionIsChanging();

    NewSearchController* newSearchController_ = nullptr;
    DownloadsController* downloadController_ = nullptr;
    MenuModel* model_;
    std::shared_ptr<MenuNode> menu_title_;
    std::shared_ptr<MenuItem> menu_newSearch_;
    std::shared_ptr<MenuItem> menu_downloads_;
    QPointer<QListView> outlineView_;
    QPointer<QStackedWidget> placeHolderView_;
    QPointer<QWidget> currentView_;
};
