#include "ui/downloads/DownloadListModel.h"

#include "downloads/AudioDownloadItem.h"
#include "platform/Localization.h"
#include "platform/MainThread.h"

#include <QFileInfo>
#include <QHash>
#include <QPointer>

#include <utility>

using platform::Localization;
using State = DownloadItem::State;

namespace {

bool hasEnded(State state)
{
    return state == State::Done || state == State::Failed || state == State::Canceled;
}

State stateOf(HistoryEntry::State state)
{
    switch (state) {
    case HistoryEntry::State::Done: return State::Done;
    case HistoryEntry::State::Failed: return State::Failed;
    case HistoryEntry::State::Canceled: return State::Canceled;
    case HistoryEntry::State::Running: break;
    }
    return State::Waiting;
}

} // namespace

DownloadListModel::DownloadListModel(std::shared_ptr<HistoryQueue> history, QObject* parent)
    : QAbstractListModel(parent), clock_([] { return TransferRate::Clock::now(); }), history_(std::move(history))
{
    exhausted_ = !history_;
}

void DownloadListModel::start()
{
    if (started_ || !history_)
        return;
    started_ = true;
    fetchMore(QModelIndex());
}

void DownloadListModel::addDownload(const std::shared_ptr<DownloadItem>& item)
{
    // The history's first page is asked for before this job's entry is written.
    start();
    beginInsertRows(QModelIndex(), 0, 0);
    rows_.insert(rows_.begin(), Row{item, {}, State::Waiting, history_ ? history_->add(item) : nullptr,
                                    QDateTime::currentDateTime(), std::nullopt});
    endInsertRows();

    // The model holds the job; the job's event only watches the model.
    item->newDataEvent.set(this, [this](DownloadItem& job) { itemChanged(job); });
}

std::shared_ptr<DownloadItem> DownloadListModel::item(int row) const
{
    return row >= 0 && row < static_cast<int>(rows_.size()) ? rows_[static_cast<std::size_t>(row)].item : nullptr;
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
        if (before == item.state() || !hasEnded(item.state()))
            return;
        if (history_)
            history_->ended(rows_[row].ticket, rows_[row].item,
                            [model = QPointer<DownloadListModel>(this), job = rows_[row].item.get()](HistoryEntry entry) {
                                if (!model)
                                    return;
                                for (std::size_t r = 0; r < model->rows_.size(); ++r)
                                    if (model->rows_[r].item.get() == job) {
                                        model->rows_[r].saved = std::move(entry);
                                        const QModelIndex saved = model->index(static_cast<int>(r));
                                        emit model->dataChanged(saved, saved);
                                    }
                            });
        if (item.state() != State::Canceled)
            emit jobEnded(rows_[row].item);
        return;
    }
}

bool DownloadListModel::canFetchMore(const QModelIndex& parent) const
{
    return !parent.isValid() && history_ && !exhausted_;
}

void DownloadListModel::fetchMore(const QModelIndex& parent)
{
    if (parent.isValid() || !history_ || exhausted_ || loading_)
        return;
    started_ = true;
    loading_ = true;
    history_->olderThan(oldest_, pageSize, [model = QPointer<DownloadListModel>(this)](HistoryQueue::Page page) {
        if (model)
            model->pageArrived(page);
    });
}

void DownloadListModel::pageArrived(const HistoryQueue::Page& page)
{
    loading_ = false;
    if (oldest_ == 0)
        newest_ = std::max(newest_, page.newest);
    oldest_ = page.oldest;
    exhausted_ = page.last;
    if (page.entries.isEmpty())
        return;
    const int first = rowCount();
    beginInsertRows(QModelIndex(), first, first + static_cast<int>(page.entries.size()) - 1);
    past_.append(page.entries);
    endInsertRows();
}

void DownloadListModel::refresh()
{
    // Before the first page there is nothing to compare with.
    if (!history_ || !started_ || (oldest_ == 0 && !exhausted_) || refreshing_)
        return;
    refreshing_ = true;
    // An entry another program was still writing is read again with the new ones.
    qint64 since = newest_;
    for (const HistoryEntry& entry : std::as_const(past_))
        if (!entry.hasEnded())
            since = std::min(since, entry.id - 1);
    history_->newerThan(since, [model = QPointer<DownloadListModel>(this)](QList<HistoryEntry> entries) {
        if (model)
            model->newerArrived(entries);
    });
    QStringList files;
    for (const Row& row : rows_)
        if (row.item->state() == State::Done)
            files.append(row.item->fileToPlay());
    for (const HistoryEntry& entry : std::as_const(past_))
        if (entry.state == HistoryEntry::State::Done)
            files.append(entry.file);
    history_->filesGone(files, [model = QPointer<DownloadListModel>(this), files](QList<bool> gone) {
        if (model)
            model->filesLookedAt(files, gone);
    });
}

void DownloadListModel::newerArrived(const QList<HistoryEntry>& entries)
{
    refreshing_ = false;
    const int jobs = static_cast<int>(rows_.size());
    QList<HistoryEntry> fresh;
    for (const HistoryEntry& entry : entries) {
        const auto known = std::find_if(past_.begin(), past_.end(), [&](const HistoryEntry& e) { return e.id == entry.id; });
        if (known == past_.end()) {
            if (entry.id > newest_)
                fresh.append(entry);
            continue;
        }
        *known = entry;
        const QModelIndex changed = index(jobs + static_cast<int>(known - past_.begin()));
        emit dataChanged(changed, changed);
    }
    if (fresh.isEmpty())
        return;
    newest_ = fresh.front().id;
    beginInsertRows(QModelIndex(), jobs, jobs + static_cast<int>(fresh.size()) - 1);
    past_ = fresh + past_;
    endInsertRows();
}

void DownloadListModel::filesLookedAt(const QStringList& files, const QList<bool>& gone)
{
    QHash<QString, bool> goneByFile;
    for (qsizetype i = 0; i < files.size() && i < gone.size(); ++i)
        goneByFile.insert(files[i], gone[i]);
    for (int row = 0; row < rowCount(); ++row) {
        const auto there = goneByFile.find(index(row).data(FileRole).toString());
        if (there == goneByFile.end() || index(row).data(FileGoneRole).toBool() == *there)
            continue;
        if (row < static_cast<int>(rows_.size())) {
            Row& job = rows_[static_cast<std::size_t>(row)];
            if (!job.saved)
                job.saved = HistoryEntry{};
            job.saved->fileGone = *there;
        } else {
            past_[row - static_cast<int>(rows_.size())].fileGone = *there;
        }
        emit dataChanged(index(row), index(row));
    }
}

void DownloadListModel::removeEndedRow(int row)
{
    if (!index(row).data(HasRemoveRole).toBool())
        return;
    beginRemoveRows(QModelIndex(), row, row);
    const int jobs = static_cast<int>(rows_.size());
    if (row < jobs) {
        if (history_)
            history_->remove(rows_[static_cast<std::size_t>(row)].ticket);
        rows_.erase(rows_.begin() + row);
    } else {
        if (history_)
            history_->remove(past_[row - jobs].id);
        past_.removeAt(row - jobs);
    }
    endRemoveRows();
}

void DownloadListModel::clearEnded()
{
    if (history_)
        history_->removeEnded();
    // From the bottom, so that rows above keep their numbers; a run of ended rows goes at once.
    for (int last = rowCount() - 1; last >= 0;) {
        if (!index(last).data(EndedRole).toBool()) {
            --last;
            continue;
        }
        int first = last;
        while (first > 0 && index(first - 1).data(EndedRole).toBool())
            --first;
        beginRemoveRows(QModelIndex(), first, last);
        const int jobs = static_cast<int>(rows_.size());
        for (int row = last; row >= first; --row) {
            if (row < jobs)
                rows_.erase(rows_.begin() + row);
            else
                past_.removeAt(row - jobs);
        }
        endRemoveRows();
        last = first - 1;
    }
}

int DownloadListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(rows_.size() + past_.size());
}

QVariant DownloadListModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const int jobs = static_cast<int>(rows_.size());
    return index.row() < jobs ? jobData(index.row(), role) : pastData(index.row() - jobs, role);
}

QVariant DownloadListModel::jobData(int index, int role) const
{
    const Row& row = rows_[static_cast<std::size_t>(index)];
    const DownloadItem& job = *row.item;
    const auto optional = [](const auto& value) { return value ? QVariant::fromValue(*value) : QVariant(); };
    const bool gone = row.saved && row.saved->fileGone;
    const bool done = job.state() == State::Done;
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleDescriptionRole:
        return job.video()->title();
    case StatusRole:
        return done && gone ? Localization::string("Downloads.FileGone") : job.statusString();
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
    case HasShowInFolderRole:
        return job.hasPlayButton() && !gone;
    case BytesPerSecondRole:
        return job.state() == State::Downloading ? optional(row.rate.bytesPerSecond()) : QVariant();
    case SecondsLeftRole:
        return job.state() == State::Downloading ? optional(row.rate.secondsLeft()) : QVariant();
    case EndedRole:
    case HasRemoveRole:
        return hasEnded(job.state());
    case HasRetryRole:
        return job.state() == State::Failed || job.state() == State::Canceled;
    case KindRole:
        return row.saved && !row.saved->kind.isEmpty() ? row.saved->kind : QVariant();
    case FileRole:
        return done ? job.fileToPlay() : QString();
    case SizeRole:
        return row.saved && row.saved->size >= 0 ? QVariant(row.saved->size) : QVariant();
    case DateRole:
        return row.saved && row.saved->ended.isValid() ? row.saved->ended.toLocalTime() : row.added;
    case FileGoneRole:
        return gone;
    case LinkRole:
        return job.video()->link().toString();
    case AudioRole:
        return dynamic_cast<const AudioDownloadItem*>(&job) != nullptr;
    default:
        return {};
    }
}

QVariant DownloadListModel::pastData(int index, int role) const
{
    const HistoryEntry& entry = past_[index];
    const State state = stateOf(entry.state);
    const bool there = entry.state == HistoryEntry::State::Done && !entry.fileGone;
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleDescriptionRole:
        return entry.title;
    case StatusRole:
        switch (entry.state) {
        case HistoryEntry::State::Done:
            return Localization::string(entry.fileGone ? "Downloads.FileGone" : "DownloadItem.Done");
        case HistoryEntry::State::Failed: return Localization::string("DownloadItem.Failed");
        case HistoryEntry::State::Canceled: return Localization::string("DownloadItem.Canceled");
        case HistoryEntry::State::Running: return Localization::string("Downloads.NotFinished");
        }
        return {};
    case StateRole:
        return static_cast<int>(state);
    case FailureReasonRole:
        return entry.reason;
    case HasCancelButtonRole:
        return false;
    case HasPlayButtonRole:
    case HasShowInFolderRole:
        return there;
    case EndedRole:
        return entry.hasEnded();
    case HasRemoveRole:
        // An earlier run's entry that never ended (its program was killed,
        // or the command line still runs it) can go from the list too.
        return true;
    case HasRetryRole:
        return entry.state == HistoryEntry::State::Failed || entry.state == HistoryEntry::State::Canceled;
    case KindRole:
        return entry.kind;
    case FileRole:
        return entry.state == HistoryEntry::State::Done ? entry.file : QString();
    case SizeRole:
        return entry.size >= 0 ? QVariant(entry.size) : QVariant();
    case DateRole:
        return (entry.ended.isValid() ? entry.ended : entry.added).toLocalTime();
    case FileGoneRole:
        return entry.fileGone;
    case LinkRole:
        return entry.link;
    case AudioRole:
        return entry.audio;
    default:
        return {};
    }
}
