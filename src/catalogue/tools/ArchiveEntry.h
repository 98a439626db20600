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
};

} // namespace tools
