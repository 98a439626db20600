#pragma once

#include "downloads/DownloadHistory.h"
#include "platform/SerialQueue.h"

#include <QList>
#include <QStringList>

#include <atomic>
#include <functional>
#include <memory>
#include <set>

class DownloadItem;

// The download history for a program with a window: the store lives on a thread
// of its own, opened there on first use, so that the interface thread never
// waits on the disk. Calls return at once; answers come back on the main thread
// (and not at all once the queue is gone). Writes are done in the order made.
class HistoryQueue {
public:
    // The store's id of an entry this program added, known on the queue only.
    using Ticket = std::shared_ptr<qint64>;
    template <typename T>
    using Answer = std::function<void(T)>;

    explicit HistoryQueue(const QString& path = DownloadHistory::defaultPath());
    // Waits for the writes already asked for: a job that ended is never lost.
    ~HistoryQueue();
    HistoryQueue(const HistoryQueue&) = delete;
    HistoryQueue& operator=(const HistoryQueue&) = delete;

    // A new job's entry.
    Ticket add(std::shared_ptr<DownloadItem> job);
    // The job's end as it is now (kind, file, size, reason); the entry written comes back.
    void ended(const Ticket& ticket, std::shared_ptr<DownloadItem> job, Answer<HistoryEntry> done);
    void remove(const Ticket& ticket);
    void remove(qint64 id);
    // Every ended entry goes, this program's and others'; the files stay.
    void removeEnded();

    struct Page {
        QList<HistoryEntry> entries;
        qint64 newest = 0; // the newest entry read, 0 for none
        qint64 oldest = 0; // where the next page starts
        bool last = false;
    };
    // Entries of others (earlier runs, other programs), newest first; each
    // finished one says whether its file is still there. A page holds at most
    // count entries older than the entry id (0: the newest).
    void olderThan(qint64 id, int count, Answer<Page> done);
    void newerThan(qint64 id, Answer<QList<HistoryEntry>> done);
    // Which of these files are gone.
    void filesGone(QStringList files, Answer<QList<bool>> done);

private:
    void post(std::function<void(DownloadHistory&)> task);
    template <typename T>
    void answer(Answer<T> done, T value);

    const QString path_;
    const std::shared_ptr<std::atomic<bool>> alive_;
    // Touched on the queue's thread only.
    std::unique_ptr<DownloadHistory> store_;
    std::set<qint64> own_;
    platform::SerialQueue queue_;
};
