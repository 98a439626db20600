#pragma once

#include <QObject>
#include <QPointer>

#include <memory>

class CellListView;
class DownloadItem;
class DownloadListModel;
class QLabel;
class QPushButton;
class QWidget;

// The downloads view: every job of the run, newest first, with Cancel and Play
// per row and a button that opens the Downloads folder.
class DownloadsController : public QObject {
    Q_OBJECT
public:
    explicit DownloadsController(QObject* parent = nullptr);
    ~DownloadsController() override;

    QWidget* view();
    DownloadListModel* model() const { return model_; }
    CellListView* tableView();
    QPushButton* openFolderButton();

    // Shows the job in the top row and starts it.
    void addDownload(const std::shared_ptr<DownloadItem>& item);
    void cancelItemButtonClicked(int row);
    void playButtonClicked(int row);
    void openDownloadsFolder();

private:
    void buildView();
    void showJobsOrEmpty();

    QPointer<QWidget> view_;
    DownloadListModel* model_;
    CellListView* tableView_ = nullptr;
    QLabel* emptyLabel_ = nullptr;
    QPushButton* openFolderButton_ = nullptr;
};
