#pragma once

#include <QDateTime>
#include <QString>

class DownloadItem;

// One download as a value: what the downloads list shows of an ended job and
// what the history keeps. A job's record is taken on the interface thread, where
// the job lives; the store gets records only.
struct DownloadRecord {
    enum class State { Running, Done, Failed, Canceled };

    qint64 id = 0; // the store's; 0 until added
    QDateTime added;
    QDateTime ended; // invalid while it runs
    bool audio = false;
    QString kind; // "MP3", "MP4", or the container kept ("WEBM", "FLV", "3GP")
    QString title;
    QString link;     // the video's watch page, for Retry
    QString file;     // where it was saved (or was to be)
    qint64 size = -1; // bytes, once saved: the store reads it when it writes the end
    State state = State::Running;
    QString reason; // why it failed
    // While it runs, or when it was cut off: where its bytes are (the stream's partial file).
    QString partial;
    bool fileGone = false; // not kept: whether a saved file was missing when last looked at
    // Not kept: an unfinished one whose program is gone, and what its partial files hold.
    bool interrupted = false;
    qint64 doneBytes = 0;
    qint64 totalBytes = -1;

    bool hasEnded() const { return state != State::Running; }

    // What a job is now: its kind, title, file, state and reason (the size is
    // the store's to read). Touches no disk.
    static DownloadRecord of(const DownloadItem& job);
};
