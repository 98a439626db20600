#pragma once

#include "catalogue/YouTubeVideo.h"
#include "catalogue/engine/Engine.h"
#include "platform/ServiceEndpoints.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>

#include <memory>

class DownloadItem;
struct DownloadRecord;
class YouTubeSearch;
class YouTubeUrl;
namespace platform {
struct Error;
}
namespace tools {
class ToolKeeper;
struct Outcome;
} // namespace tools

// What the search view is doing, apart from how it looks: the engine, the
// search or pasted address under way (only the latest one's answer counts),
// what a failure offers, and the jobs asked for. Its signals come on the
// interface thread.
class SearchSession : public QObject {
    Q_OBJECT
public:
    // What a failed search offers beside its reason.
    enum class Offer { nothing, switchToYtDlp, getTools, updateYtDlp };

    explicit SearchSession(const platform::ServiceEndpoints& endpoints, QObject* parent = nullptr);
    // A search or an address still being read ends without answer.
    ~SearchSession() override;

    // Searches from now on go through this engine (default: the automatic choice).
    void setEngine(const engine::Choice& choice);
    engine::Choice engineChoice() const { return engine_->choice(); }
    const platform::ServiceEndpoints& endpoints() const { return endpoints_; }
    // What gets and updates the tools; without one, none is offered.
    void setToolKeeper(tools::ToolKeeper* keeper);

    // Words run a search; a watch-page address loads that one video. What was
    // under way no longer counts.
    void search(const QString& text);
    // The job of the video's best stream once its streams are read.
    void download(const std::shared_ptr<YouTubeVideo>& video, bool audio);
    // A new job for the video at the watch page (Retry): its streams read again, the best taken.
    void downloadAgain(const QUrl& link, bool audio);
    // The job of one stream the user chose.
    void downloadStream(const std::shared_ptr<YouTubeVideo>& video, const std::shared_ptr<YouTubeUrl>& stream,
                        bool audio);
    // The job of one quality the user chose; audio: the video's sound, as the settings say.
    void downloadQuality(const std::shared_ptr<YouTubeVideo>& video, const YouTubeVideo::Quality& quality, bool audio);
    // A new job going on with an interrupted download of an earlier run: its
    // streams read again and its bytes kept (begun anew when its streams are gone).
    void resumeEntry(const DownloadRecord& entry);
    // yt-dlp from now on (stored too); the last search runs again.
    void switchToYtDlp();
    // Gets yt-dlp and Deno; the last search runs again once they are there.
    void getTools();

signals:
    void progressed(double offset, double count);
    // The search's videos, or the pasted address's one.
    void found(const QList<std::shared_ptr<YouTubeVideo>>& videos);
    void searchFailed(const QString& reason, SearchSession::Offer offer);
    // A pasted address that could not be read; the search is over.
    void addressFailed(const QString& reason);
    // A video whose streams could not be read for a job, or that has none.
    void downloadFailed(const std::shared_ptr<YouTubeVideo>& video, const QString& reason);
    // Its streams are being read, or no longer.
    void loadingChanged(const std::shared_ptr<YouTubeVideo>& video);
    void jobMade(const std::shared_ptr<DownloadItem>& job);
    // The tools this session asked for: how far ("yt-dlp", bytes, -1 or bytes in all), and how it ended.
    void toolsProgressed(const QString& tool, qint64 done, qint64 total);
    void toolsEnded(const QString& failure);
    // What "Get yt-dlp and Deno" would fetch; -1 where the server does not say.
    void toolSizes(qint64 ytDlp, qint64 deno);

private:
    void listen();
    void searchError(const platform::Error& error);
    void toolsUpdated(const QList<tools::Outcome>& outcomes);
    void storeEngine(const engine::Choice& choice);

    const platform::ServiceEndpoints endpoints_;
    std::shared_ptr<engine::Engine> engine_;
    // One search object per search: an event of another one is no longer wanted.
    std::shared_ptr<YouTubeSearch> searcher_;
    // The pasted address's video while its streams are extracted.
    std::shared_ptr<YouTubeVideo> addressVideo_;
    QString lastText_;
    QPointer<tools::ToolKeeper> keeper_;
    // This session asked for the tools: their end searches again.
    bool awaitingTools_ = false;
};
