#pragma once

#include "catalogue/tools/ToolUpdater.h"

#include <QList>
#include <QObject>

#include <memory>
#include <optional>

namespace platform {
class CancelToken;
}

namespace tools {

// The window's side of the tools updater: one update at a time on a worker,
// its progress and end told as signals on the interface thread.
class ToolKeeper : public QObject {
    Q_OBJECT
public:
    explicit ToolKeeper(ToolFolder folder = ToolFolder(), Sources sources = Sources::standard(),
                        QObject* parent = nullptr);
    // An update under way is called off; it leaves the tools as they were.
    ~ToolKeeper() override;

    bool isUpdating() const { return updating_; }
    // Fetches whatever is not current of both tools; nothing while one runs.
    void update();
    // The same when the last complete check is a day old or more.
    void updateIfDue();
    // Asks the release servers what the two downloads weigh (sizesKnown).
    void askSizes();

    static constexpr int hoursBetweenChecks = 24;

signals:
    void updateStarted();
    // tool: "yt-dlp" or "Deno"; total -1 when the server does not say.
    void progressed(const QString& tool, qint64 done, qint64 total);
    void updateEnded(const QList<tools::Outcome>& outcomes);
    // -1 where the server does not say.
    void sizesKnown(qint64 ytDlp, qint64 deno);

private:
    ToolFolder folder_;
    Sources sources_;
    std::shared_ptr<platform::CancelToken> cancel_;
    bool updating_ = false;
};

} // namespace tools
