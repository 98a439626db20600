#pragma once

#include "catalogue/tools/ToolFolder.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <optional>

namespace tools {

// One program found: where, which version, and whose.
struct Tool {
    enum class Origin {
        own,    // Melodrift's, in its tools folder
        path,   // the system's, on PATH
        chosen, // the one the user chose
    };

    QString name; // "yt-dlp", "deno", "node"
    QString path; // empty: none found
    // What runs it, when that is not path alone: Melodrift's own yt-dlp runs
    // unpacked by python3, its modules compiled once rather than each run.
    QStringList command;
    QString version; // empty: it gave no version
    Origin origin = Origin::path;
    // yt-dlp's versions are its release dates; of the others, the file's time.
    std::optional<QDate> since;

    bool found() const { return !path.isEmpty(); }
    // As people write it: "yt-dlp", "Deno", "Node.js".
    QString displayName() const;
    // Found and answering --version (one the user chose counts when found).
    bool usable() const { return found() && (!version.isEmpty() || origin == Origin::chosen); }
    // Whole days since `since`, on today's date.
    std::optional<qint64> ageDays() const;
};

// Which yt-dlp runs and which JavaScript runtime it gets. Any thread; the
// programs' --version answers are remembered per file (path, size, time,
// inode), across runs in the tools folder, so that each is asked once.
class Toolbox {
public:
    // The first yt-dlp that reads the service only with a JavaScript runtime.
    static constexpr const char* firstNeedingRuntime = "2025.11.12";
    // Older ones are said to be old.
    static constexpr qint64 oldAfterDays = 90;

    explicit Toolbox(ToolFolder folder = ToolFolder());

    // The program the user chose when there is one (a path); else the newer
    // of Melodrift's own and PATH's (Melodrift's among equals). Blocks the
    // first time each file is asked.
    Tool ytDlp(const QString& chosen) const;
    // The runtime yt-dlp gets: Melodrift's own Deno, else a Deno 2 or later on
    // PATH, else a Node 20 or later on PATH; not found when none.
    Tool jsRuntime() const;
    // What tells yt-dlp of the runtime: "--js-runtimes deno:PATH" for a yt-dlp
    // of 2025.11.12 or later; nothing for an older one, or without a runtime.
    static QStringList runtimeOptions(const Tool& ytDlp, const Tool& runtime);

    // One of Melodrift's own, at its place in the folder (not found when missing).
    Tool own(const QString& name) const;

    // Where Melodrift's own yt-dlp is kept unpacked, and whether what is there
    // was unpacked from the zip application as it is now.
    QString unpacked() const { return folder_.file(QStringLiteral("yt-dlp.d")); }
    bool isUnpackedFrom(const QString& zipApplication) const;
    // What ties an unpacked yt-dlp to its zip application.
    static QByteArray stampOf(const FileIdentity& zipApplication);

    // What the program at path answers to --version, read as a `name`'s
    // version; nothing when it does not run or says something else.
    std::optional<QString> versionOf(const QString& name, const QString& path) const;
    // The version of a file just installed, so that it is not asked again.
    void remember(const QString& name, const QString& path, const QString& version) const;

    const ToolFolder& folder() const { return folder_; }

private:
    Tool found(const QString& name, const QString& path, Tool::Origin origin) const;
    Tool onPath(const QString& name) const;

    ToolFolder folder_;
};

} // namespace tools
