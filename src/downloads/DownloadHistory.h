#pragma once

#include "downloads/DownloadRecord.h"

#include <QList>
#include <QString>
#include <QVariantList>

#include <optional>

// Every download of every run, per user: an SQLite file in the data folder,
// written by both programs when a job is added and when it ends, so that a
// crash or a kill loses nothing that had ended. Newest first. One connection,
// used on the thread that made the store (a thread of its own in the window).
// A file that cannot be read as a store of this program is set aside, renamed
// beside itself and never deleted, and a new one is begun.
class DownloadHistory {
public:
    static constexpr int schemaVersion = 2;

    // The store at path; the default is history.sqlite in the user's data folder.
    explicit DownloadHistory(const QString& path = defaultPath());
    ~DownloadHistory();
    DownloadHistory(const DownloadHistory&) = delete;
    DownloadHistory& operator=(const DownloadHistory&) = delete;

    static QString defaultPath();

    // False when not even a new store could be made; every call then does nothing.
    bool isOpen() const { return open_; }
    // Where a damaged store was put, if this one set one aside.
    const QString& setAside() const { return setAside_; }

    // The new entry's id (0 when it could not be written).
    qint64 add(const DownloadRecord& entry);
    // Writes an entry's end: its state, end, kind, file, size and reason.
    void update(const DownloadRecord& entry);
    void remove(qint64 id);
    // Every ended entry goes; the files stay.
    void removeEnded();

    int count() const;
    // count entries from offset on, newest first.
    QList<DownloadRecord> page(int offset, int count) const;
    // Pages that removals between them do not shift: at most count entries
    // older than the entry id (every entry for 0), newest first.
    QList<DownloadRecord> olderThan(qint64 id, int count) const;
    // Every entry newer than the entry id, newest first.
    QList<DownloadRecord> newerThan(qint64 id) const;
    // The downloads not finished whose bytes are still kept, oldest first.
    QList<DownloadRecord> unfinished() const;
    // Those added before then keep their bytes no longer.
    void forgetPartials(const QDateTime& addedBefore);

private:
    QList<DownloadRecord> select(const QString& where, const QVariantList& values) const;
    // Opens the store and brings it to this schema; why not, or nothing.
    QString openAt(const QString& path);
    void setAsideAndStartAgain(const QString& why);

    const QString path_;
    const QString connection_;
    bool open_ = false;
    QString setAside_;
};
