#pragma once

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

    // The configured program when there is one, else yt-dlp on PATH; empty when
    // there is none.
    static QString locate(const QString& configured);
    // What to say when there is none, with what to install.
    static QString missingText(const QString& configured);
    // Its version ("2023.03.04"), or nothing when it cannot be run. Blocks.
    static std::optional<QString> version(const QString& configured);

    // Runs `yt-dlp OPTIONS... arguments` and blocks. cancel (any thread) ends
    // it, or keeps it from starting.
    static Answer run(const QString& configured, const QStringList& arguments,
                      const std::shared_ptr<platform::CancelToken>& cancel = nullptr,
                      std::chrono::milliseconds timeout = defaultTimeout);

    // Ends every run under way and every one waiting (for the program's end).
    static void cancelAll();
    // How many yt-dlp processes run now.
    static int running();
};

} // namespace engine
