#pragma once

#include "catalogue/tools/ReleaseFiles.h"
#include "catalogue/tools/Toolbox.h"
#include "platform/CancelToken.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

namespace tools {

// Where releases come from, and the key that signs yt-dlp's.
struct Sources {
    QUrl ytDlp;          // a folder holding yt-dlp, SHA2-256SUMS and SHA2-256SUMS.sig
    QUrl deno;           // a folder holding the Deno zip and its .sha256sum
    QByteArray key;      // armored public key of yt-dlp's releases
    QString fingerprint; // of that key's primary key; empty: any key in `key`

    static constexpr const char* ytDlpVariable = "MELODRIFT_YTDLP_RELEASES";
    static constexpr const char* denoVariable = "MELODRIFT_DENO_RELEASES";
    static constexpr const char* keyVariable = "MELODRIFT_YTDLP_KEY";

    // The projects' latest releases and the shipped key, each overridden by
    // its variable (a mirror's folder; a key file).
    static Sources standard();
};

// What one tool's update came to.
struct Outcome {
    enum class State { current, installed, failed };
    QString tool; // "yt-dlp", "Deno"
    State state = State::failed;
    QString version;    // installed now (the old one, when nothing changed)
    QString reason;     // failed: the check that failed, and why
    qint64 fetched = 0; // bytes fetched from the release server

    bool ok() const { return state != State::failed; }
};

// Fetches a tool's latest release into the tools folder, checked before it
// replaces anything: the yt-dlp release's SHA2-256SUMS by its signature, the
// program by its line there; Deno's zip by its SHA-256. The new program is
// written beside the old one, run once with --version, and only then renamed
// over it, so a failure of any kind leaves the folder as it was. Blocks; one
// update of a folder runs at a time, across processes.
class ToolUpdater {
public:
    // (tool, bytes so far, bytes in all when known) while a program downloads.
    using Progress = std::function<void(const QString&, qint64, std::optional<qint64>)>;

    static constexpr qint64 largestYtDlp = 64LL << 20;
    static constexpr qint64 largestDenoZip = 200LL << 20;
    static constexpr qint64 largestDeno = 512LL << 20;
    static constexpr qint64 largestListing = 1LL << 20;
    static constexpr const char* denoZip = "deno-x86_64-unknown-linux-gnu.zip";

    ToolUpdater(ToolFolder folder, Sources sources, std::shared_ptr<platform::CancelToken> cancel = nullptr);

    void setProgress(Progress progress) { progress_ = std::move(progress); }

    Outcome updateYtDlp();
    Outcome updateDeno();

    // What the two programs' downloads weigh, as the release servers say
    // (yt-dlp, the Deno zip); nothing where one does not say.
    std::pair<std::optional<qint64>, std::optional<qint64>> sizes() const;

    // Whether an address may be fetched for a release: https, or http to this
    // machine (a mirror in tests). Redirects are held to the same.
    static bool isReleaseAddress(const QUrl& url);

private:
    struct Fetched;
    class Beside;
    Fetched fetchSmall(const QUrl& url) const;
    // Downloads url into a new file beside a program, under the cap, and checks
    // it against the digest that listing gave: why not, or nothing.
    QString fetchChecked(const QString& tool, const QUrl& url, Beside& into, qint64 maxBytes, const QByteArray& digest,
                         const QString& listing, qint64& received) const;
    // Runs the new program once with --version and, when it gives one, puts
    // it in the place of installed: its version, or nothing after saying why.
    std::optional<QString> runAndPlace(Beside& next, const QString& installed,
                                       std::optional<QString> (*versionIn)(const QByteArray&), QString& why) const;
    // The installed yt-dlp unpacked beside it, its modules compiled (best
    // effort: without it the zip application runs as it is).
    void unpack(const QString& installed) const;

    ToolFolder folder_;
    Toolbox toolbox_;
    Sources sources_;
    std::shared_ptr<platform::CancelToken> cancel_;
    Progress progress_;
};

} // namespace tools
