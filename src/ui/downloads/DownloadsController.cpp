#include "ui/downloads/DownloadsController.h"

#include "downloads/DownloadItem.h"
#include "platform/Desktop.h"
#include "platform/Localization.h"
#include "platform/UserFolders.h"
#include "ui/widgets/CellListView.h"
#include "ui/downloads/DownloadListModel.h"
#include "ui/widgets/PZBackgroundView.h"
#include "ui/widgets/PZHeaderBackgroundView.h"
#include "ui/downloads/downloadlist/MainCell.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

using platform::Localization;

DownloadsController::DownloadsController(QObject* parent) : QObject(parent), model_(new DownloadListModel(this)) {}

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

void DownloadsController::buildView()
{
    view_ = new PZBackgroundView;
    tableView_ = new CellListView;
    emptyLabel_ = new QLabel(Localization::string("Downloads.Empty"));
    openFolderButton_ = new QPushButton(Localization::string("Downloads.OpenFolder"));
    auto* header = new PZHeaderBackgroundView;
    auto* heading = new QLabel(Localization::string("Downloads.Title"));
    QFont large = heading->font();
    large.setPointSizeF(large.pointSizeF() * 1.3);
    large.setBold(true);
    heading->setFont(large);
    openFolderButton_->setAccessibleName(openFolderButton_->text());
    openFolderButton_->setMinimumSize(openFolderButton_->sizeHint() + QSize(20, 8));
    auto* headerLayout = new QHBoxLayout(header);
    headerLayout->setContentsMargins(16, 10, 16, 10);
    headerLayout->addWidget(heading);
    headerLayout->addStretch(1);
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
        return cell;
    });
    connect(openFolderButton_, &QPushButton::clicked, this, &DownloadsController::openDownloadsFolder);
}

void DownloadsController::showJobsOrEmpty()
{
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
    model_->addDownload(item);
    if (view_) {
        showJobsOrEmpty();
        tableView_->ensureVisible(0, 0);
    }
    item->startDownload();
}

void DownloadsController::cancelItemButtonClicked(int row)
{
    if (const auto item = model_->item(row))
        item->cancel();
}

void DownloadsController::playButtonClicked(int row)
{
    if (const auto item = model_->item(row))
        item->playDownloadedFile();
}

void DownloadsController::openDownloadsFolder()
{
    platform::Desktop::openFile(platform::UserFolders::downloads());
}
