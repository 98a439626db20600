#pragma once

#include "downloads/DownloadHistory.h"
#include "downloads/DownloadItem.h"
#include "downloads/HistoryQueue.h"
#include "ui/downloads/TransferRate.h"

#include <QAbstractListModel>
#include <QDateTime>

#include <functional>
#include <memory>
#include <vector>

// The downloads as the downloads view shows them: the jobs of this run, newest
// first, then the history's earlier entries (earlier runs', the command line's),
// newest first, read a page at a time as the view scrolls to them. A job's
// change repaints its own row. While a job downloads, its row also knows the
// speed and the time left, measured against a clock. Every job is written to
// the history when it is added and when it ends.
class DownloadListModel : public QAbstractListModel {
    Q_OBJECT
public:
    enum Role {
        StatusRole = Qt::UserRole + 1, // the job's status text
        StateRole,                     // DownloadItem::State as int
        ProgressValueRole,             // qint64, or nothing while unknown
        ProgressMaxRole,               // qint64, or nothing while unknown
        FailureReasonRole,             // why a failed job failed
        HasCancelButtonRole,
        HasPlayButtonRole,
        BytesPerSecondRole,            // double while downloading and known
        SecondsLeftRole,               // qint64 while downloading and known
        EndedRole,                     // Done, Failed or Canceled
        KindRole,                      // "MP3", "MP4" or the container kept
        FileRole,                      // the saved file's path, once saved
        SizeRole,                      // qint64 bytes, once saved
        DateRole,                      // QDateTime: when it ended, or was added
        FileGoneRole,                  // saved, but no longer there
        HasShowInFolderRole,
        HasRetryRole,
        HasRemoveRole,
        LinkRole,                      // the video's watch page
        AudioRole,
        HasPauseRole,                  // a job that downloads
        HasResumeRole,                 // a paused job, or an interrupted download of an earlier run
        RecordRole,                    // the row's DownloadRecord
    };
    using Clock = std::function<TransferRate::Clock::time_point()>;

    // Without a history the model holds this run's jobs only.
    explicit DownloadListModel(std::shared_ptr<HistoryQueue> history = nullptr, QObject* parent = nullptr);

    // The clock the speed is measured with (tests move it by hand).
    void setClock(Clock clock) { clock_ = std::move(clock); }

    // Asks for the history's first page (once; later calls do nothing).
    void start();
    // Entries others added since, and whether saved files are still there.
    void refresh();

    // Puts the job in the top row and follows its changes from now on.
    void addDownload(const std::shared_ptr<DownloadItem>& item);
    // This run's job in the row while it runs; nothing once it ended, nor for an earlier one.
    std::shared_ptr<DownloadItem> item(int row) const;
    // An ended row, or an earlier run's, leaves the list and the history; its
    // file stays (the bytes of an interrupted one go).
    void removeEndedRow(int row);
    // Every ended row does.
    void clearEnded();

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool canFetchMore(const QModelIndex& parent) const override;
    void fetchMore(const QModelIndex& parent) override;

    static constexpr int pageSize = 20;

signals:
    // A job reached Done or Failed.
    void jobEnded(const std::shared_ptr<DownloadItem>& item);

private:
    struct Row;
    void itemChanged(const DownloadItem& item);
    // The job of the row ended: its record now, and in the history.
    void ended(Row& row);
    void pageArrived(const HistoryQueue::Page& page);
    void newerArrived(const QList<DownloadRecord>& entries);
    void filesLookedAt(const QStringList& files, const QList<bool>& gone);

    // One of this run's rows: its record, and its job while it runs.
    struct Row {
        DownloadRecord record;
        std::shared_ptr<DownloadItem> job;
        TransferRate rate;
        HistoryQueue::Ticket ticket;
        DownloadItem::State shown = DownloadItem::State::Waiting;
    };
    std::vector<Row> rows_;
    QList<DownloadRecord> past_;
    Clock clock_;
    std::shared_ptr<HistoryQueue> history_;
    bool started_ = false;
    bool loading_ = false;
    bool exhausted_ = false;
    bool refreshing_ = false;
    qint64 oldest_ = 0; // the next page is older than this entry
    qint64 newest_ = 0; // the newest entry of others seen
};
