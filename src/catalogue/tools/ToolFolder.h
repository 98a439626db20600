#pragma once

#include <QString>

#include <optional>

namespace tools {

// A file as it is now: a new file in its place, or the same one changed, is
// another.
struct FileIdentity {
    qint64 size = 0;
    qint64 modified = 0; // nanoseconds since the epoch
    quint64 inode = 0;

    static std::optional<FileIdentity> of(const QString& path);
    bool operator==(const FileIdentity&) const = default;
};

// The folder of the programs Melodrift keeps current itself ("tools" in the
// user's data folder). Only its owner may write it: a managed program is run
// from nowhere else, and never from a folder someone else could write into.
class ToolFolder {
public:
    // tools/ under the program's local data folder.
    static QString standardPath();

    explicit ToolFolder(QString path = standardPath());

    QString path() const { return path_; }
    QString file(const QString& name) const { return path_ + QLatin1Char('/') + name; }

    // Empty when the folder is there (made, if create), a real folder of this
    // user's that no one else may write to (such rights it had are taken away);
    // else why it cannot be used.
    QString whyUnusable(bool create) const;

private:
    QString path_;
};

} // namespace tools
