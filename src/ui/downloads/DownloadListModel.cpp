#include "ui/downloads/DownloadListModel.h"

#include "platform/MainThread.h"

#include <QPointer>

#include <utility>

using State = DownloadItem::State;

DownloadListModel::DownloadListModel(QObject* parent)
    : QAbstractListModel(parent), clock_([] { return TransferRate::Clock::now(); })
{
}

void DownloadListModel::addDownload(const std::shared_ptr<DownloadItem>& item)
{
    beginInsertRows(QModelIndex(), 0, 0);
    rows_.insert(rows_.begin(), Row{item, {}});
    endInsertRows();

    // The model holds the job, so the job's event holds the model weakly.
    item->newDataEvent.set([model = QPointer<DownloadListModel>(this), job = std::weak_ptr<DownloadItem>(item)](
                               DownloadItem&) {
        auto changed = [model, job] {
            const auto j = job.lock();
            if (model && j)
                model->itemChanged(*j);
        };
        if (platform::MainThread::isCurrent())
            changed();
        else
            platform::MainThread::post(changed);
    });
}

std::shared_ptr<DownloadItem> DownloadListModel::item(int row) const
{
    return row >= 0 && row < rowCount() ? rows_[static_cast<std::size_t>(row)].item : nullptr;
}

void DownloadListModel::itemChanged(const DownloadItem& item)
{
    for (std::size_t row = 0; row < rows_.size(); ++row) {
        if (rows_[row].item.get() != &item)
            continue;
        const auto value = item.progressValue();
        if (item.state() == State::Downloading && value)
            rows_[row].rate.sample(*value, item.progressMaxValue(), clock_());
        else if (item.state() != State::Downloading)
            rows_[row].rate.reset();
        const QModelIndex changed = index(static_cast<int>(row));
        emit dataChanged(changed, changed);
        const State before = std::exchange(rows_[row].shown, item.state());
        if (before != item.state() && (item.state() == State::Done || item.state() == State::Failed))
            emit jobEnded(rows_[row].item);
        return;
    }
}

int DownloadListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant DownloadListModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Row& row = rows_[static_cast<std::size_t>(index.row())];
    const DownloadItem& job = *row.item;
    const auto optional = [](const auto& value) { return value ? QVariant::fromValue(*value) : QVariant(); };
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleDescriptionRole:
        return job.video()->title();
    case StatusRole:
        return job.statusString();
    case StateRole:
        return static_cast<int>(job.state());
    case ProgressValueRole:
        return optional(job.progressValue());
    case ProgressMaxRole:
        return optional(job.progressMaxValue());
    case FailureReasonRole:
        return job.state() == State::Failed ? job.failureReason() : QString();
    case HasCancelButtonRole:
        return job.hasCancelButton();
    case HasPlayButtonRole:
        return job.hasPlayButton();
    case BytesPerSecondRole:
        return job.state() == State::Downloading ? optional(row.rate.bytesPerSecond()) : QVariant();
    case SecondsLeftRole:
        return job.state() == State::Downloading ? optional(row.rate.secondsLeft()) : QVariant();
    default:
        return {};
    }
}
