#include "ui/shell/MenuDelegate.h"

#include "platform/Localization.h"
#include "ui/downloads/DownloadsController.h"
#include "ui/shell/MenuItem.h"
#include "ui/shell/MenuModel.h"
#include "ui/shell/MenuNode.h"
#include "ui/search/NewSearchController.h"
#include "ui/widgets/Picture.h"

#include <QListView>
#include <QStackedWidget>

using platform::Localization;

MenuDelegate::MenuDelegate(const platform::ServiceEndpoints& endpoints, AlertPresenter& alerts,
                           std::shared_ptr<HistoryQueue> history, QObject* parent)
    : QObject(parent), model_(new MenuModel(this)), outlineView_(new QListView), placeHolderView_(new QStackedWidget)
{
    createNewSearchController(endpoints, alerts);
    downloadController_ = new DownloadsController(std::move(history), &alerts, this);
    connect(downloadController_, &DownloadsController::retryRequested, newSearchController_,
            &NewSearchController::downloadAgain);
    connect(downloadController_, &DownloadsController::resumeRequested, newSearchController_->session(),
            &SearchSession::resumeEntry);
    // Both views belong to the placeholder from the start, shown or not, and
    // with it to the window it is put in.
    newSearchController_->view()->setParent(placeHolderView_);
    downloadController_->view()->setParent(placeHolderView_);

    menu_title_ = std::make_shared<MenuNode>();
    menu_title_->setTitle(Localization::string("MainMenu.MenuTitle"));
    menu_newSearch_ = std::make_shared<MenuItem>();
    menu_newSearch_->setTitle(Localization::string("MainMenu.MenuSearch"));
    menu_newSearch_->setImage(Picture::icon(QStringLiteral(":/images/icon_loupe.svg")));
    menu_downloads_ = std::make_shared<MenuItem>();
    menu_downloads_->setTitle(Localization::string("MainMenu.MenuDownloads"));
    menu_downloads_->setImage(Picture::icon(QStringLiteral(":/images/icon_list.svg")));
    for (const auto& item : {std::shared_ptr<MenuItem>(menu_title_), menu_newSearch_, menu_downloads_})
        model_->append(item);

    outlineView_->setModel(model_);
    outlineView_->setSelectionMode(QAbstractItemView::SingleSelection);
    outlineView_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    outlineView_->setIconSize(QSize(16, 16));
    outlineView_->setFrameShape(QFrame::NoFrame);
    outlineView_->setAccessibleName(menu_title_->title());
    connect(outlineView_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &MenuDelegate::outlineViewSelectionIsChanging);
}


void MenuDelegate::createNewSearchController(const platform::ServiceEndpoints& endpoints, AlertPresenter& alerts)
{
    newSearchController_ = new NewSearchController(endpoints, alerts, this);
    newSearchController_->downloadEvent.set(
        this, [this](NewSearchController& sender, std::shared_ptr<DownloadItem> item) { downloadEvent(sender, item); });
}

void MenuDelegate::downloadEvent(NewSearchController&, const std::shared_ptr<DownloadItem>& item)
{
    downloadController_->addDownload(item);
    setSubViewDownloads();
}

void MenuDelegate::setSelectedRow(int row)
{
    outlineView_->selectionModel()->select(model_->index(row), QItemSelectionModel::ClearAndSelect);
    outlineView_->selectionModel()->setCurrentIndex(model_->index(row), QItemSelectionModel::NoUpdate);
}

void MenuDelegate::setSubView(QWidget* view)
{
    if (view == currentView_)
        return;
    if (currentView_)
        placeHolderView_->removeWidget(currentView_);
    placeHolderView_->addWidget(view);
    placeHolderView_->setCurrentWidget(view);
    currentView_ = view;
}

void MenuDelegate::setSubViewNewSearch()
{
    setSubView(newSearchController_->view());
    setSelectedRow(1);
}

void MenuDelegate::setSubViewDownloads()
{
    setSubView(downloadController_->view());
    setSelectedRow(2);
}

void MenuDelegate::outlineViewSelectionIsChanging()
{
    const QModelIndexList selected = outlineView_->selectionModel()->selectedRows();
    if (selected.isEmpty()) {
        // The shown view's entry stays chosen.
        setSelectedRow(currentView_ == downloadController_->view() ? 2 : 1);
        return;
    }
    const std::shared_ptr<MenuItem> item = model_->item(selected.first().row());
    if (item == menu_downloads_)
        setSubViewDownloads();
    else if (item == menu_newSearch_ || std::dynamic_pointer_cast<MenuNode>(item))
        setSubViewNewSearch(); // the header row is never left selected
}
