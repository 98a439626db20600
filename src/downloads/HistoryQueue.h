#pragma once

#include "downloads/DownloadHistory.h"
#include "platform/SerialQueue.h"

#include <QList>
#include <QObject>
#include <QStringList>

#include <functional>
#include <memory>
#include <set>

class DownloadItem;

// The download history as the programs record their jobs: the store lives on a
// thread of its own, opened there on first use, so that the interface thread
// never waits on the disk; it is handed records of the jobs, taken on the
// calling thread. Calls return at once; answers come back to their receiver on
// the interface thread (and not at all once it is gone). Writes are done in the
// order made.
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

    // A new job's entry, as it is now.
    Ticket added(const DownloadItem& job);
    // The job's end as it is now (kind, file, reason, and the file's size);
    // the record written comes back to the receiver, when there is one.
    void ended(const Ticket& ticket, const DownloadItem& job, const QObject* receiver = nullptr,
               Answer<DownloadRecord> done = nullptr);
    void remove(const Ticket& ticket);
    // An earlier entry goes; with partial, the bytes of that interrupted download too.
    void remove(qint64 id, const QString& partial = {});
    // Every ended entry goes, this program's and others'; the files stay.
    void removeEnded();

    struct Page {
        QList<DownloadRecord> entries;
        qint64 newest = 0; // the newest entry read, 0 for none
        qint64 oldest = 0; // where the next page starts
        bool last = false;
    };
    // Entries of others (earlier runs, other programs), newest first; each
    // finished one says whether its file is still there. A page holds at most
    // count entries older than the entry id (0: the newest).
    void olderThan(qint64 id, int count, const QObject* receiver, Answer<Page> done);
    void newerThan(qint64 id, const QObject* receiver, Answer<QList<DownloadRecord>> done);
    // Which of these files are gone.
    void filesGone(QStringList files, const QObject* receiver, Answer<QList<bool>> done);

private:
    void post(std::function<void(DownloadHistory&)> task);

    const QString path_;
    // Touched on the queue's thread only.
    std::unique_ptr<DownloadHistory> store_;
    std::set<qint64> own_;
    platform::SerialQueue queue_;
};
