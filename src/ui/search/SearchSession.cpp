#include "ui/search/SearchSession.h"

#include "catalogue/YouTubeSearch.h"
#include "catalogue/YouTubeVideo.h"
#include "catalogue/engine/YtDlp.h"
#include "catalogue/tools/ToolKeeper.h"
#include "catalogue/tools/Toolbox.h"
#include "core/youtube_error.h"
#include "downloads/DownloadItem.h"
#include "downloads/DownloadRecord.h"
#include "downloads/PartialJob.h"
#include "downloads/Settings.h"
#include "platform/Localization.h"
#include "platform/Log.h"
#include "platform/MainThread.h"
#include "platform/WorkerPool.h"

#include <utility>

using platform::Localization;
using platform::Log;

namespace {

// What a failed search offers, by the yt-dlp there is (which may be asked its
// version: off the interface thread).
SearchSession::Offer offerFor(const engine::Choice& choice, bool standIn, const platform::Error& error)
{
    using Offer = SearchSession::Offer;
    const tools::Tool ytDlp = tools::Toolbox().ytDlp(choice.ytDlp);
    if (!ytDlp.usable() && (choice.kind == engine::Kind::ytDlp || !standIn))
        return Offer::getTools; // the real service needs it, or it was asked for
    if (ytDlp.usable() && engine::YtDlp::isOutdatedFailure(error.description))
        return Offer::updateYtDlp;
    // The service could not be reached (not: it answered with a status); yt-dlp may reach today's.
    if (ytDlp.usable() &&
        (choice.kind == engine::Kind::classic || (choice.kind == engine::Kind::automatic && standIn)) &&
        error.domain != QLatin1String("YouTubeSearch::response"))
        return Offer::switchToYtDlp;
    return Offer::nothing;
}

} // namespace

SearchSession::SearchSession(const platform::ServiceEndpoints& endpoints, QObject* parent)
    : QObject(parent), endpoints_(endpoints), engine_(engine::Engine::create({}, endpoints)),
      searcher_(engine_->newSearch())
{
}

SearchSession::~SearchSession()
{
    // Its yt-dlp, if any, ends too.
    searcher_->cancel();
    if (addressVideo_)
        addressVideo_->abortParsing();
}

void SearchSession::setEngine(const engine::Choice& choice)
{
    searcher_->cancel();
    engine_ = engine::Engine::create(choice, endpoints_);
    searcher_ = engine_->newSearch();
}

void SearchSession::storeEngine(const engine::Choice& choice)
{
    // Off the interface thread: the store writes a file.
    platform::WorkerPool::run([choice] { Settings::setEngineChoice(choice); });
}

void SearchSession::search(const QString& text)
{
    // A pasted address still being read is superseded: its yt-dlp ends.
    if (const auto superseded = std::exchange(addressVideo_, nullptr))
        superseded->abortParsing();
    searcher_->cancel();
    searcher_ = engine_->newSearch();
    const QUrl url(text, QUrl::StrictMode);
    if (endpoints_.isWatchPage(url)) {
        Log::line(QStringLiteral("Search URL: ") + url.host());
        const auto video = engine_->videoAt(url);
        addressVideo_ = video;
        video->parseUrlsAsync(this, [this, video](const QString& error) {
            if (video != addressVideo_)
                return;
            addressVideo_.reset();
            if (!error.isEmpty())
                emit addressFailed(error);
            else
                emit found({video});
        });
        return;
    }
    Log::line(QStringLiteral("Search: ") + text);
    listen();
    searcher_->setSearchString(text);
    searcher_->searchStart();
}

void SearchSession::listen()
{
    searcher_->newVideosEvent.set(this, [this](YouTubeSearch& search, qulonglong) {
        if (&search != searcher_.get())
            return;
        const auto videos = search.videos();
        Log::line(QStringLiteral("Found %1 videos.").arg(videos.size()));
        for (qsizetype i = 0; i < videos.size(); ++i)
            Log::line(QStringLiteral("%1: %2").arg(i).arg(videos[i]->title()));
        emit found(videos);
    });
    searcher_->errorEvent.set(this, [this](YouTubeSearch& search, const platform::Error& error) {
        if (&search == searcher_.get())
            searchError(error);
    });
    // Each step of the bar is read when it is made: read later, some would be missed.
    searcher_->updateEvent.set([courier = platform::Courier(this), this](YouTubeSearch& search) {
        courier.post([this, search = search.shared_from_this(), offset = search.downloadOffset(),
                      count = search.downloadCount()] {
            if (search == searcher_)
                emit progressed(offset, count);
        });
    });
}

void SearchSession::searchError(const platform::Error& error)
{
    Log::line(QStringLiteral("Error: ") + error.description);
    platform::WorkerPool::run(
        this,
        [choice = engine_->choice(), standIn = endpoints_.isStandIn(), error] {
            return offerFor(choice, standIn, error);
        },
        [this, search = searcher_, error](Offer offer) {
            if (search != searcher_)
                return;
            if (!keeper_ && (offer == Offer::getTools || offer == Offer::updateYtDlp))
                offer = Offer::nothing;
            if (offer == Offer::getTools)
                keeper_->askSizes();
            emit searchFailed(error.description, offer);
        });
}

void SearchSession::download(const std::shared_ptr<YouTubeVideo>& video, bool audio)
{
    // Started at once: under yt-dlp this is the row's whole wait.
    video->parseUrlsAsync(this, [this, video, audio](const QString& error) {
        emit loadingChanged(video);
        if (!error.isEmpty()) {
            emit downloadFailed(video, error);
            return;
        }
        if (const auto job = DownloadItem::initBest(video, audio))
            emit jobMade(job);
        else
            emit downloadFailed(video, Localization::string("Search.NoStream"));
    });
    emit loadingChanged(video);
}

void SearchSession::downloadAgain(const QUrl& link, bool audio)
{
    download(engine_->videoAt(link), audio);
}

void SearchSession::resumeEntry(const DownloadRecord& entry)
{
    const auto video = engine_->videoAt(QUrl(entry.link));
    video->setTitle(entry.title);
    // Its streams are read and its partial job looked at: off this thread.
    platform::WorkerPool::run(
        this,
        [video, partial = entry.partial]() -> std::pair<QString, std::optional<PartialJob>> {
            try {
                video->parseUrls();
            } catch (const youtube_error& e) {
                return {QString::fromUtf8(e.what()), std::nullopt};
            }
            return {QString(), PartialJob::read(partial)};
        },
        [this, video, entry](const std::pair<QString, std::optional<PartialJob>>& found) {
            if (!found.first.isEmpty()) {
                emit downloadFailed(video, found.first);
                return;
            }
            auto job = found.second ? DownloadItem::initResumed(video, *found.second, entry.partial) : nullptr;
            if (!job) // its streams are no longer offered: begun anew, its old bytes left for the wipe
                job = DownloadItem::initBest(video, entry.audio);
            if (!job) {
                emit downloadFailed(video, Localization::string("Search.NoStream"));
                return;
            }
            job->setResumedEntry(entry.id);
            emit jobMade(job);
        });
}

void SearchSession::downloadStream(const std::shared_ptr<YouTubeVideo>& video,
                                   const std::shared_ptr<YouTubeUrl>& stream, bool audio)
{
    emit jobMade(DownloadItem::initWithStream(video, stream, audio));
}

void SearchSession::downloadQuality(const std::shared_ptr<YouTubeVideo>& video, const YouTubeVideo::Quality& quality,
                                    bool audio)
{
    if (const auto job = audio ? DownloadItem::initBest(video, true) : DownloadItem::initWithQuality(video, quality))
        emit jobMade(job);
    else
        emit downloadFailed(video, Localization::string("Search.NoStream"));
}

void SearchSession::switchToYtDlp()
{
    engine::Choice choice = engineChoice();
    choice.kind = engine::Kind::ytDlp;
    setEngine(choice);
    storeEngine(choice);
}

void SearchSession::setToolKeeper(tools::ToolKeeper* keeper)
{
    keeper_ = keeper;
    connect(keeper, &tools::ToolKeeper::sizesKnown, this, &SearchSession::toolSizes);
    connect(keeper, &tools::ToolKeeper::progressed, this, [this](const QString& tool, qint64 done, qint64 total) {
        if (awaitingTools_)
            emit toolsProgressed(tool, done, total);
    });
    connect(keeper, &tools::ToolKeeper::updateEnded, this, &SearchSession::toolsUpdated);
}

void SearchSession::getTools()
{
    if (!keeper_)
        return;
    awaitingTools_ = true;
    keeper_->update();
}

void SearchSession::toolsUpdated(const QList<tools::Outcome>& outcomes)
{
    if (!std::exchange(awaitingTools_, false))
        return;
    QStringList failures;
    for (const tools::Outcome& outcome : outcomes)
        if (!outcome.ok())
            failures.append(outcome.tool + QStringLiteral(": ") + outcome.reason);
    if (!failures.isEmpty()) {
        emit toolsEnded(failures.join(QLatin1Char(' ')));
        return;
    }
    // Asked for by the user: the classic engine they had gives way to the automatic choice.
    if (engineChoice().kind == engine::Kind::classic) {
        engine::Choice choice = engineChoice();
        choice.kind = engine::Kind::automatic;
        setEngine(choice);
        storeEngine(choice);
    }
    emit toolsEnded({});
}
