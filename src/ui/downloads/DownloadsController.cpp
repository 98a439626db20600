#include "ui/downloads/DownloadsController.h"

#include "downloads/DownloadItem.h"
#include "downloads/Settings.h"
#include "platform/MainThread.h"
#include "platform/SerialQueue.h"
#include "platform/Desktop.h"
#include "platform/Localization.h"
#include "platform/Log.h"
#include "platform/UserFolders.h"
#include "ui/widgets/AlertPresenter.h"
#include "ui/widgets/CellListView.h"
#include "ui/downloads/DownloadListModel.h"
#include "ui/widgets/PZBackgroundView.h"
#include "ui/widgets/PZHeaderBackgroundView.h"
#include "ui/downloads/downloadlist/MainCell.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

using platform::Localization;

DownloadsController::DownloadsController(std::shared_ptr<HistoryQueue> history, AlertPresenter* alerts, QObject* parent)
    : QObject(parent), model_(new DownloadListModel(std::move(history), this)), alerts_(alerts)
{
}

QWidget* DownloadsController::view()
{
    // Made when first shown: most runs start on the search view.
    if (!view_)
        buildView();
    return view_;
}

CellListView* DownloadsController::tableView()
{
    view();
    return tableView_;
}

QPushButton* DownloadsController::openFolderButton()
{
    view();
    return openFolderButton_;
}

QPushButton* DownloadsController::clearFinishedButton()
{
    view();
    return clearFinishedButton_;
}

void DownloadsController::buildView()
{
    view_ = new PZBackgroundView;
    tableView_ = new CellListView;
    emptyLabel_ = new QLabel(Localization::string("Downloads.Empty"));
    openFolderButton_ = new QPushButton(Localization::string("Downloads.OpenFolder"));
    clearFinishedButton_ = new QPushButton(Localization::string("Downloads.ClearFinished"));
    auto* header = new PZHeaderBackgroundView;
    auto* heading = new QLabel(Localization::string("Downloads.Title"));
    QFont large = heading->font();
    large.setPointSizeF(large.pointSizeF() * 1.3);
    large.setBold(true);
    heading->setFont(large);
    for (QPushButton* button : {clearFinishedButton_, openFolderButton_}) {
        button->setAccessibleName(button->text());
        button->setMinimumSize(button->sizeHint() + QSize(20, 8));
    }
    auto* headerLayout = new QHBoxLayout(header);
    headerLayout->setContentsMargins(16, 10, 16, 10);
    headerLayout->addWidget(heading);
    headerLayout->addStretch(1);
    headerLayout->addWidget(clearFinishedButton_);
    headerLayout->addWidget(openFolderButton_);

    emptyLabel_->setAlignment(Qt::AlignCenter);
    emptyLabel_->setWordWrap(true);
    emptyLabel_->setTextFormat(Qt::PlainText);
    emptyLabel_->setForegroundRole(QPalette::PlaceholderText);

    auto* layout = new QVBoxLayout(view_);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(header);
    layout->addWidget(emptyLabel_, 1);
    layout->addWidget(tableView_, 1);
    showJobsOrEmpty();

    tableView_->setModel(model_, [this](const QModelIndex&) {
        auto* cell = new downloadlist::MainCell;
        connect(cell, &downloadlist::MainCell::cancelClicked, this,
                [this, cell] { cancelItemButtonClicked(tableView_->rowForView(cell)); });
        connect(cell, &downloadlist::MainCell::playClicked, this,
                [this, cell] { playButtonClicked(tableView_->rowForView(cell)); });
        connect(cell, &downloadlist::MainCell::showInFolderClicked, this,
                [this, cell] { showInFolderClicked(tableView_->rowForView(cell)); });
        connect(cell, &downloadlist::MainCell::retryClicked, this,
                [this, cell] { retryClicked(tableView_->rowForView(cell)); });
        connect(cell, &downloadlist::MainCell::pauseClicked, this,
                [this, cell] { pauseClicked(tableView_->rowForView(cell)); });
        connect(cell, &downloadlist::MainCell::resumeClicked, this,
                [this, cell] { resumeClicked(tableView_->rowForView(cell)); });
        connect(cell, &downloadlist::MainCell::removeClicked, this,
                [this, cell] { removeClicked(tableView_->rowForView(cell)); });
        return cell;
    });
    connect(openFolderButton_, &QPushButton::clicked, this, &DownloadsController::openDownloadsFolder);
    connect(clearFinishedButton_, &QPushButton::clicked, this, &DownloadsController::clearFinished);
    // The history's rows come and go while the view is there.
    for (const auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(model_, signal, this, &DownloadsController::showJobsOrEmpty);
    view_->installEventFilter(this);
}

bool DownloadsController::eventFilter(QObject* watched, QEvent* event)
{
    // Each time the view is shown: what the command line added meanwhile, and files moved away.
    if (watched == view_ && event->type() == QEvent::Show)
        model_->refresh();
    return QObject::eventFilter(watched, event);
}

void DownloadsController::showJobsOrEmpty()
{
    if (!view_)
        return;
    const bool empty = model_->rowCount() == 0;
    emptyLabel_->setVisible(empty);
    tableView_->setVisible(!empty);
}

DownloadsController::~DownloadsController()
{
    delete view_;
}

void DownloadsController::addDownload(const std::shared_ptr<DownloadItem>& item)
{
    if (!folderChecks_)
        folderChecks_ = std::make_unique<platform::SerialQueue>();
    folderChecks_->post([courier = platform::Courier(this), this, item, folder = item->downloadFolder()] {
        const QString why = platform::UserFolders::whyNotWritable(folder);
        courier.post([this, item, why] { folderChecked(item, why); });
    });
}

void DownloadsController::folderChecked(const std::shared_ptr<DownloadItem>& item, const QString& whyNot)
{
    // Refused before anything is fetched: a download with nowhere to go would only fail at its end.
    if (const QString& why = whyNot; !why.isEmpty()) {
        const QString text = Localization::string("Downloads.FolderRefused").arg(item->downloadFolder(), why);
        platform::Log::line(text);
        if (alerts_)
            alerts_->showAlert(QStringLiteral("Melodrift"), text, view_ ? view_->window() : nullptr);
        return;
    }
    model_->addDownload(item);
    if (view_)
        tableView_->ensureVisible(0, 0);
    item->startDownload();
}

void DownloadsController::cancelItemButtonClicked(int row)
{
    if (const auto item = model_->item(row))
        item->cancel();
}

void DownloadsController::playButtonClicked(int row)
{
    const QModelIndex index = model_->index(row);
    if (index.data(DownloadListModel::HasPlayButtonRole).toBool())
        platform::Desktop::openFile(index.data(DownloadListModel::FileRole).toString());
}

void DownloadsController::showInFolderClicked(int row)
{
    const QModelIndex index = model_->index(row);
    if (index.data(DownloadListModel::HasShowInFolderRole).toBool())
        platform::Desktop::showInFolder(index.data(DownloadListModel::FileRole).toString());
}

void DownloadsController::pauseClicked(int row)
{
    if (const auto item = model_->item(row))
        item->pause();
}

void DownloadsController::resumeClicked(int row)
{
    const QModelIndex index = model_->index(row);
    if (!index.data(DownloadListModel::HasResumeRole).toBool())
        return;
    if (const auto item = model_->item(row))
        item->resume();
    else
        emit resumeRequested(index.data(DownloadListModel::RecordRole).value<DownloadRecord>());
}

void DownloadsController::retryClicked(int row)
{
    const QModelIndex index = model_->index(row);
    if (index.data(DownloadListModel::HasRetryRole).toBool())
        emit retryRequested(QUrl(index.data(DownloadListModel::LinkRole).toString()),
                            index.data(DownloadListModel::AudioRole).toBool());
}

void DownloadsController::removeClicked(int row)
{
    model_->removeEndedRow(row);
}

void DownloadsController::clearFinished()
{
    model_->clearEnded();
}

void DownloadsController::openDownloadsFolder()
{
    platform::Desktop::openFile(Settings::downloadFolder());
}
