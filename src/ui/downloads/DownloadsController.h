#pragma once

#include "downloads/DownloadRecord.h"

#include <QObject>
#include <QPointer>

#include <memory>

namespace platform {
class SerialQueue;
}
class AlertPresenter;
class CellListView;
class DownloadItem;
class HistoryQueue;
class DownloadListModel;
class QLabel;
class QPushButton;
class QWidget;

// The downloads view: every job of the run, newest first, then the history of
// earlier ones, with each row's actions, "Clear finished" and a button that
// opens the Downloads folder.
class DownloadsController : public QObject {
    Q_OBJECT
public:
    // Without a history the view holds the run's jobs only; without alerts a
    // refused Downloads folder is only logged.
    explicit DownloadsController(std::shared_ptr<HistoryQueue> history = nullptr, AlertPresenter* alerts = nullptr,
                                 QObject* parent = nullptr);
    ~DownloadsController() override;

    QWidget* view();
    DownloadListModel* model() const { return model_; }
    CellListView* tableView();
    QPushButton* openFolderButton();
    QPushButton* clearFinishedButton();

    // Shows the job in the top row and starts it, once its folder is found
    // writable (off this thread, in the order asked); else says why.
    void addDownload(const std::shared_ptr<DownloadItem>& item);
    void cancelItemButtonClicked(int row);
    void playButtonClicked(int row);
    void showInFolderClicked(int row);
    void retryClicked(int row);
    void pauseClicked(int row);
    void resumeClicked(int row);
    void removeClicked(int row);
    void clearFinished();
    void openDownloadsFolder();

signals:
    // A new job for the video at the watch page, of the same kind.
    void retryRequested(const QUrl& link, bool audio);
    // An interrupted download of an earlier run is to go on.
    void resumeRequested(const DownloadRecord& entry);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildView();
    void showJobsOrEmpty();
    void folderChecked(const std::shared_ptr<DownloadItem>& item, const QString& whyNot);

    QPointer<QWidget> view_;
    DownloadListModel* model_;
    CellListView* tableView_ = nullptr;
    QLabel* emptyLabel_ = nullptr;
    QPushButton* openFolderButton_ = nullptr;
    QPushButton* clearFinishedButton_ = nullptr;
    AlertPresenter* alerts_;
    // Where the folders are tried: trying writes a file.
    std::unique_ptr<platform::SerialQueue> folderChecks_;
};
