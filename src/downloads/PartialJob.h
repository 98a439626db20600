#pragma once

#include "downloads/Settings.h"

#include <QString>

#include <optional>
#include <utility>

// What a download that stopped before its end needs to go on, kept beside its
// partial file in the cache: the video, the streams by format, and where it goes.
struct PartialJob {
    QString link;
    QString title;
    bool audio = false;
    QString format;       // the (picture's) stream's format id
    QString soundFormat;  // a joined video's sound's; empty otherwise
    QString soundPartial; // where the sound's bytes are
    QString folder;       // the Downloads folder it saves into
    std::optional<bool> convert;
    // How it saves; none in a record of an earlier version: the settings then.
    std::optional<Settings::Sound> sound;
    std::optional<bool> tags;
    std::optional<QString> subtitles;
    // What the saved file is titled with that a page read again may not say.
    QString channel;
    QString uploadDate;
    QString cover;

    static QString pathOf(const QString& partial) { return partial + QStringLiteral(".job"); }
    bool write(const QString& partial) const;
    // Nothing when there is no such record, or it is not one.
    static std::optional<PartialJob> read(const QString& partial);
    // What the partial files hold, and of how much (-1 while a size is unknown).
    std::pair<qint64, qint64> progress(const QString& partial) const;
    // Every file of it in the cache: the partials, their byte records, this record.
    QStringList files(const QString& partial) const;
    // Whether a running job (of any program) holds the partial file.
    static bool isHeld(const QString& partial);
};
