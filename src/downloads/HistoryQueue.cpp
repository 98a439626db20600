#include "downloads/HistoryQueue.h"

#include "downloads/DownloadItem.h"
#include "platform/MainThread.h"

#include <QFileInfo>

#include <future>

namespace {

QList<HistoryEntry> lookedAt(QList<HistoryEntry> entries)
{
    for (HistoryEntry& entry : entries)
        entry.fileGone = entry.state == HistoryEntry::State::Done && !QFileInfo::exists(entry.file);
    return entries;
}

} // namespace

HistoryQueue::HistoryQueue(const QString& path) : path_(path), alive_(std::make_shared<std::atomic<bool>>(true)) {}

HistoryQueue::~HistoryQueue()
{
    *alive_ = false;
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

template <typename T>
void HistoryQueue::answer(Answer<T> done, T value)
{
    platform::MainThread::post([alive = alive_, done = std::move(done), value = std::move(value)] {
        if (*alive)
            done(value);
    });
}

HistoryQueue::Ticket HistoryQueue::add(std::shared_ptr<DownloadItem> job)
{
    auto ticket = std::make_shared<qint64>(0);
    post([this, ticket, job = std::move(job)](DownloadHistory& store) {
        HistoryEntry entry = HistoryEntry::of(*job);
        entry.state = HistoryEntry::State::Running;
        *ticket = store.add(entry);
        own_.insert(*ticket);
    });
    return ticket;
}

void HistoryQueue::ended(const Ticket& ticket, std::shared_ptr<DownloadItem> job, Answer<HistoryEntry> done)
{
    post([this, ticket, job = std::move(job), done = std::move(done)](DownloadHistory& store) {
        HistoryEntry entry = HistoryEntry::of(*job);
        entry.id = *ticket;
        entry.ended = QDateTime::currentDateTimeUtc();
        store.update(entry);
        answer(done, entry);
    });
}

void HistoryQueue::remove(const Ticket& ticket)
{
    post([ticket](DownloadHistory& store) { store.remove(*ticket); });
}

void HistoryQueue::remove(qint64 id)
{
    post([id](DownloadHistory& store) { store.remove(id); });
}

void HistoryQueue::removeEnded()
{
    post([](DownloadHistory& store) { store.removeEnded(); });
}

void HistoryQueue::olderThan(qint64 id, int count, Answer<Page> done)
{
    post([this, id, count, done = std::move(done)](DownloadHistory& store) {
        const QList<HistoryEntry> entries = store.olderThan(id, count);
        Page page;
        page.last = entries.size() < count;
        page.oldest = entries.isEmpty() ? id : entries.back().id;
        page.newest = entries.isEmpty() ? 0 : entries.front().id;
        for (const HistoryEntry& entry : entries)
            if (!own_.count(entry.id))
                page.entries.append(entry);
        page.entries = lookedAt(page.entries);
        answer(done, page);
    });
}

void HistoryQueue::newerThan(qint64 id, Answer<QList<HistoryEntry>> done)
{
    post([this, id, done = std::move(done)](DownloadHistory& store) {
        QList<HistoryEntry> others;
        for (const HistoryEntry& entry : store.newerThan(id))
            if (!own_.count(entry.id))
                others.append(entry);
        answer(done, lookedAt(others));
    });
}

void HistoryQueue::filesGone(QStringList files, Answer<QList<bool>> done)
{
    queue_.post([this, files = std::move(files), done = std::move(done)] {
        QList<bool> gone;
        for (const QString& file : files)
            gone.append(!QFileInfo::exists(file));
        answer(done, gone);
    });
}
