#include "ui/downloads/DownloadListModel.h"

#include "platform/Localization.h"

#include <QFileInfo>
#include <QHash>
#include <QLocale>

#include <utility>

using platform::Localization;
using State = DownloadItem::State;

namespace {

bool hasEnded(State state)
{
    return state == State::Done || state == State::Failed || state == State::Canceled;
}

State stateOf(DownloadRecord::State state)
{
    switch (state) {
    case DownloadRecord::State::Done: return State::Done;
    case DownloadRecord::State::Failed: return State::Failed;
    case DownloadRecord::State::Canceled: return State::Canceled;
    case DownloadRecord::State::Running: break;
    }
    return State::Waiting;
}

// "Interrupted · 45 % · 50 MB of 110 MB": a download cut off with its program.
QString interruptedText(const DownloadRecord& record)
{
    const QLocale locale;
    QStringList parts{Localization::string("Downloads.Interrupted")};
    if (record.totalBytes > 0)
        parts << QStringLiteral("%1 %").arg(record.doneBytes * 100 / record.totalBytes)
              << Localization::string("Downloads.BytesOfTotal")
                     .arg(locale.formattedDataSize(record.doneBytes, 1, QLocale::DataSizeSIFormat),
                          locale.formattedDataSize(record.totalBytes, 1, QLocale::DataSizeSIFormat));
    return parts.join(QStringLiteral(" \u00b7 "));
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
    // One that goes on with an interrupted download takes that one's row.
    if (const qint64 entry = item->resumedEntry()) {
        const auto it = std::find_if(past_.begin(), past_.end(), [entry](const DownloadRecord& e) { return e.id == entry; });
        if (it != past_.end()) {
            const int row = static_cast<int>(rows_.size() + (it - past_.begin()));
            beginRemoveRows(QModelIndex(), row, row);
            past_.erase(it);
            endRemoveRows();
        }
    }
    DownloadRecord record = DownloadRecord::of(*item);
    record.added = QDateTime::currentDateTimeUtc();
    beginInsertRows(QModelIndex(), 0, 0);
    rows_.insert(rows_.begin(),
                 Row{std::move(record), item, {}, history_ ? history_->added(*item) : nullptr, State::Waiting});
    endInsertRows();

    // The model holds the job; the job's event only watches the model.
    item->newDataEvent.set(this, [this](DownloadItem& job) { itemChanged(job); });
}

std::shared_ptr<DownloadItem> DownloadListModel::item(int row) const
{
    return row >= 0 && row < static_cast<int>(rows_.size()) ? rows_[static_cast<std::size_t>(row)].job : nullptr;
}

void DownloadListModel::itemChanged(const DownloadItem& item)
{
    for (std::size_t r = 0; r < rows_.size(); ++r) {
        Row& row = rows_[r];
        if (row.job.get() != &item)
            continue;
        const auto value = item.progressValue();
        if (item.state() == State::Downloading && value)
            row.rate.sample(*value, item.progressMaxValue(), clock_());
        else if (item.state() != State::Downloading)
            row.rate.reset();
        const State before = std::exchange(row.shown, item.state());
        if (before != item.state() && hasEnded(item.state()))
            ended(row);
        const QModelIndex changed = index(static_cast<int>(r));
        emit dataChanged(changed, changed);
        return;
    }
}

void DownloadListModel::ended(Row& row)
{
    // From now on the row is its record: the job lets go.
    const std::shared_ptr<DownloadItem> job = std::exchange(row.job, nullptr);
    const QDateTime added = row.record.added;
    row.record = DownloadRecord::of(*job);
    row.record.added = added;
    row.record.ended = QDateTime::currentDateTimeUtc();
    if (history_)
        // The store reads the saved file's size.
        history_->ended(row.ticket, *job, this, [this, ticket = row.ticket](const DownloadRecord& written) {
            for (std::size_t r = 0; r < rows_.size(); ++r)
                if (rows_[r].ticket == ticket) {
                    rows_[r].record.size = written.size;
                    const QModelIndex saved = index(static_cast<int>(r));
                    emit dataChanged(saved, saved);
                }
        });
    if (job->state() != State::Canceled)
        emit jobEnded(job);
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
    history_->olderThan(oldest_, pageSize, this, [this](const HistoryQueue::Page& page) { pageArrived(page); });
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
    for (const DownloadRecord& entry : std::as_const(past_))
        if (!entry.hasEnded())
            since = std::min(since, entry.id - 1);
    history_->newerThan(since, this, [this](const QList<DownloadRecord>& entries) { newerArrived(entries); });
    QStringList files;
    for (const Row& row : rows_)
        if (!row.job && row.record.state == DownloadRecord::State::Done)
            files.append(row.record.file);
    for (const DownloadRecord& entry : std::as_const(past_))
        if (entry.state == DownloadRecord::State::Done)
            files.append(entry.file);
    history_->filesGone(files, this, [this, files](const QList<bool>& gone) { filesLookedAt(files, gone); });
}

void DownloadListModel::newerArrived(const QList<DownloadRecord>& entries)
{
    refreshing_ = false;
    const int jobs = static_cast<int>(rows_.size());
    QList<DownloadRecord> fresh;
    for (const DownloadRecord& entry : entries) {
        const auto known =
            std::find_if(past_.begin(), past_.end(), [&](const DownloadRecord& e) { return e.id == entry.id; });
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
            rows_[static_cast<std::size_t>(row)].record.fileGone = *there;
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
        const DownloadRecord& entry = past_[row - jobs];
        if (history_)
            history_->remove(entry.id, entry.interrupted ? entry.partial : QString());
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
    // A row is its record; a job of this run that still runs speaks for itself.
    const int jobs = static_cast<int>(rows_.size());
    const Row* row = index.row() < jobs ? &rows_[static_cast<std::size_t>(index.row())] : nullptr;
    const DownloadRecord& record = row ? row->record : past_[index.row() - jobs];
    const DownloadItem* job = row ? row->job.get() : nullptr;
    const auto optional = [](const auto& value) { return value ? QVariant::fromValue(*value) : QVariant(); };
    const State state = job ? job->state() : stateOf(record.state);
    const bool there = !job && record.state == DownloadRecord::State::Done && !record.fileGone;
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleDescriptionRole: return record.title;
    case StatusRole:
        if (job)
            return job->statusString();
        switch (record.state) {
        case DownloadRecord::State::Done:
            return Localization::string(record.fileGone ? "Downloads.FileGone" : "DownloadItem.Done");
        case DownloadRecord::State::Failed: return Localization::string("DownloadItem.Failed");
        case DownloadRecord::State::Canceled: return Localization::string("DownloadItem.Canceled");
        case DownloadRecord::State::Running:
            if (record.interrupted)
                return interruptedText(record);
            return Localization::string("Downloads.NotFinished");
        }
        return {};
    case StateRole: return static_cast<int>(record.interrupted ? State::Paused : state);
    case ProgressValueRole: return job ? optional(job->progressValue()) : QVariant();
    case ProgressMaxRole: return job ? optional(job->progressMaxValue()) : QVariant();
    case FailureReasonRole: return record.state == DownloadRecord::State::Failed ? record.reason : QString();
    case HasCancelButtonRole: return job && job->hasCancelButton();
    case HasPlayButtonRole:
    case HasShowInFolderRole: return there;
    case BytesPerSecondRole:
        return row && state == State::Downloading ? optional(row->rate.bytesPerSecond()) : QVariant();
    case SecondsLeftRole: return row && state == State::Downloading ? optional(row->rate.secondsLeft()) : QVariant();
    case EndedRole: return !job && record.hasEnded();
    case HasRemoveRole:
        // An earlier run's entry that never ended (its program was killed,
        // or the command line still runs it) can go from the list too.
        return !job;
    case HasRetryRole:
        return !job &&
               (record.state == DownloadRecord::State::Failed || record.state == DownloadRecord::State::Canceled);
    case KindRole: return job ? QVariant() : QVariant(record.kind);
    case FileRole: return !job && record.state == DownloadRecord::State::Done ? record.file : QString();
    case SizeRole: return record.size >= 0 ? QVariant(record.size) : QVariant();
    case DateRole: return (record.ended.isValid() ? record.ended : record.added).toLocalTime();
    case FileGoneRole: return record.fileGone;
    case LinkRole: return record.link;
    case AudioRole: return record.audio;
    case HasPauseRole: return job && job->state() == State::Downloading;
    case HasResumeRole: return job ? job->state() == State::Paused : record.interrupted;
    case RecordRole: return QVariant::fromValue(record);
    default: return {};
    }
}
