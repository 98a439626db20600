#pragma once

#include "downloads/DownloadItem.h"
#include "ui/downloads/TransferRate.h"

#include <QAbstractListModel>

#include <functional>
#include <memory>
#include <vector>

// The download jobs of the run, newest first, as the downloads view shows them.
// A job's change repaints its own row. While a job downloads, its row also
// knows the speed and the time left, measured against a clock.
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
    };
    using Clock = std::function<TransferRate::Clock::time_point()>;

    explicit DownloadListModel(QObject* parent = nullptr);

    // The clock the speed is measured with (tests move it by hand).
    void setClock(Clock clock) { clock_ = std::move(clock); }

    // Puts the job in the top row and follows its changes from now on.
    void addDownload(const std::shared_ptr<DownloadItem>& item);
    std::shared_ptr<DownloadItem> item(int row) const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;

signals:
    // A job reached Done or Failed.
    void jobEnded(const std::shared_ptr<DownloadItem>& item);

private:
    void itemChanged(const DownloadItem& item);

    struct Row {
        std::shared_ptr<DownloadItem> item;
        TransferRate rate;
        DownloadItem::State shown = DownloadItem::State::Waiting;
    };
    std::vector<Row> rows_;
    Clock clock_;
};
