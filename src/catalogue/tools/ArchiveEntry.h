#pragma once

#include <QString>

class QIODevice;

namespace tools {

// One program out of a release's zip, read by libarchive: only the regular
// file of that exact name is taken, never a path the archive names, and at
// most maxBytes of it.
class ArchiveEntry {
public:
    // Writes the entry's bytes into `into`. Empty when done; else why not
    // (no such entry, two of them, larger than maxBytes, a damaged archive).
    static QString extract(const QString& zipFile, const QString& name, QIODevice& into, qint64 maxBytes);

    // Every file and folder of the zip (a zip application's too, behind its
    // first line) into the folder, which must be empty: only plain relative
    // names, no link, at most maxBytes in all and maxEntries entries. Empty when
    // done; else why not, with a part of the folder perhaps written.
    static QString extractAll(const QString& zipFile, const QString& folder, qint64 maxBytes, int maxEntries);
};

} // namespace tools
