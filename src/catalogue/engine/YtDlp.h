#pragma once

#include "catalogue/engine/Engine.h"
#include "platform/CancelToken.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <chrono>
#include <memory>
#include <optional>

namespace engine {

// yt-dlp as a child process: an argument list, never a shell; its JSON answer
// read from standard output (bounded), its reason from standard error. At most
// two run at once, so that a search and a row's extraction never wait for a
// third; a cancelled or stalled one is ended, never left running.
class YtDlp {
public:
    struct Answer {
        QByteArray json;
        QString error; // empty when json is yt-dlp's answer
        bool cancelled = false;
    };

    static constexpr int mostAtOnce = 2;
    static constexpr std::chrono::seconds defaultTimeout{60};

    // What to say when there is none, with what to do.
    static QString missingText(const QString& chosen);

    // Runs `yt-dlp OPTIONS... arguments` and blocks: the program the choice
    // names, else the newer of Melodrift's own and PATH's, with its JavaScript
    // runtime and the choice's browser sign-in. cancel (any thread) ends it, or
    // keeps it from starting.
    static Answer run(const Choice& choice, const QStringList& arguments,
                      const std::shared_ptr<platform::CancelToken>& cancel = nullptr,
                      std::chrono::milliseconds timeout = defaultTimeout);

    // A reason an out-of-date yt-dlp gives for the service; "Unsupported URL"
    // counts only when it was the service's address it read.
    static bool soundsOutdated(const QString& reason, bool serviceAddress);
    // Whether an error's text says that the yt-dlp that gave it may be too old.
    static bool isOutdatedFailure(const QString& text);
    // What a failure of the real service adds when there is no yt-dlp to read it.
    static QString missingNote();
    // Whether an error's text says there is no yt-dlp (missingText, missingNote).
    static bool isMissingFailure(const QString& text);

    // Ends every run under way and every one waiting (for the program's end).
    static void cancelAll();
    // How many yt-dlp processes run now.
    static int running();
};

} // namespace engine
