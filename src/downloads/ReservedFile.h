#pragma once

#include <QString>

#include <optional>

// An output name taken for one job. It is created, empty and exclusively, the
// moment it is chosen, so that no two jobs pick it and no file the user has is
// overwritten; the job writes beside it and renames into place only on success.
class ReservedFile {
public:
    // The first of "base.suffix", "base (1).suffix", "base (2).suffix", ... that
    // could be created. The folder is made when missing. error says why not.
    static std::optional<ReservedFile> reserve(const QString& base, const QString& suffix, QString* error);

    const QString& path() const { return path_; }
    // Where the writer writes: hidden, in the same folder, with the same suffix.
    const QString& partialPath() const { return partial_; }

    // Moves the written file over the reservation.
    bool commit(QString* error) const;
    // Removes what was written and the reservation, if it is still empty.
    void abandon() const;

private:
    ReservedFile(QString path, QString partial) : path_(std::move(path)), partial_(std::move(partial)) {}

    QString path_;
    QString partial_;
};
