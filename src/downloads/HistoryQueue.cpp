#include "downloads/HistoryQueue.h"

#include "downloads/DownloadItem.h"
#include "downloads/PartialJob.h"
#include "platform/MainThread.h"

#include <QFile>
#include <QFileInfo>

#include <future>

namespace {

QList<DownloadRecord> lookedAt(QList<DownloadRecord> entries)
{
    for (DownloadRecord& entry : entries) {
        entry.fileGone = entry.state == DownloadRecord::State::Done && !QFileInfo::exists(entry.file);
        // Not finished, and no program holds its bytes: it was cut off, and can go on.
        if (entry.state != DownloadRecord::State::Running || entry.partial.isEmpty() ||
            !QFileInfo::exists(entry.partial) || PartialJob::isHeld(entry.partial))
            continue;
        if (const auto job = PartialJob::read(entry.partial)) {
            entry.interrupted = true;
            std::tie(entry.doneBytes, entry.totalBytes) = job->progress(entry.partial);
        }
    }
    return entries;
}

} // namespace

HistoryQueue::HistoryQueue(const QString& path) : path_(path) {}

HistoryQueue::~HistoryQueue()
{
    std::promise<void> written;
    queue_.post([this, &written] {
        store_.reset();
        written.set_value();
    });
    written.get_future().wait();
}

void HistoryQueue::post(std::function<void(DownloadHistory&)> task)
{
    queue_.post([this, task = std::move(task)] {
        if (!store_)
            store_ = std::make_unique<DownloadHistory>(path_);
        task(*store_);
    });
}

HistoryQueue::Ticket HistoryQueue::added(const DownloadItem& job)
{
    auto ticket = std::make_shared<qint64>(job.resumedEntry());
    DownloadRecord record = DownloadRecord::of(job);
    record.state = DownloadRecord::State::Running;
    post([this, ticket, record](DownloadHistory& store) mutable {
        // A job that goes on with an interrupted one is that one's entry.
        if (*ticket != 0) {
            record.id = *ticket;
            store.update(record);
        } else {
            *ticket = store.add(record);
        }
        own_.insert(*ticket);
    });
    return ticket;
}

void HistoryQueue::ended(const Ticket& ticket, const DownloadItem& job, const QObject* receiver,
                         Answer<DownloadRecord> done)
{
    DownloadRecord record = DownloadRecord::of(job);
    record.ended = QDateTime::currentDateTimeUtc();
    post([ticket, record, courier = platform::Courier(receiver),
          done = std::move(done)](DownloadHistory& store) mutable {
        record.id = *ticket;
        if (record.state == DownloadRecord::State::Done && record.size < 0)
            record.size = QFileInfo(record.file).size();
        store.update(record);
        if (done)
            courier.post([done, record] { done(record); });
    });
}

void HistoryQueue::remove(const Ticket& ticket)
{
    post([ticket](DownloadHistory& store) { store.remove(*ticket); });
}

void HistoryQueue::remove(qint64 id, const QString& partial)
{
    post([id, partial](DownloadHistory& store) {
        store.remove(id);
        if (partial.isEmpty() || PartialJob::isHeld(partial))
            return;
        const auto job = PartialJob::read(partial);
        for (const QString& file : job ? job->files(partial) : QStringList{partial})
            QFile::remove(file);
    });
}

void HistoryQueue::removeEnded()
{
    post([](DownloadHistory& store) { store.removeEnded(); });
}

void HistoryQueue::olderThan(qint64 id, int count, const QObject* receiver, Answer<Page> done)
{
    post([this, id, count, courier = platform::Courier(receiver), done = std::move(done)](DownloadHistory& store) {
        const QList<DownloadRecord> entries = store.olderThan(id, count);
        Page page;
        page.last = entries.size() < count;
        page.oldest = entries.isEmpty() ? id : entries.back().id;
        page.newest = entries.isEmpty() ? 0 : entries.front().id;
        for (const DownloadRecord& entry : entries)
            if (!own_.count(entry.id))
                page.entries.append(entry);
        page.entries = lookedAt(page.entries);
        courier.post([done, page] { done(page); });
    });
}

void HistoryQueue::newerThan(qint64 id, const QObject* receiver, Answer<QList<DownloadRecord>> done)
{
    post([this, id, courier = platform::Courier(receiver), done = std::move(done)](DownloadHistory& store) {
        QList<DownloadRecord> others;
        for (const DownloadRecord& entry : store.newerThan(id))
            if (!own_.count(entry.id))
                others.append(entry);
        courier.post([done, others = lookedAt(others)] { done(others); });
    });
}

void HistoryQueue::filesGone(QStringList files, const QObject* receiver, Answer<QList<bool>> done)
{
    queue_.post([files = std::move(files), courier = platform::Courier(receiver), done = std::move(done)] {
        QList<bool> gone;
        for (const QString& file : files)
            gone.append(!QFileInfo::exists(file));
        courier.post([done, gone] { done(gone); });
    });
}
