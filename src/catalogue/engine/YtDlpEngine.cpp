#include "catalogue/engine/YtDlpEngine.h"

#include "catalogue/ThumbnailBatch.h"
#include "catalogue/YouTubeSearch.h"
#include "catalogue/engine/YtDlp.h"
#include "catalogue/engine/YtDlpJson.h"
#include "core/youtube_error.h"
#include "platform/CancelToken.h"
#include "platform/Log.h"
#include "platform/MainThread.h"
#include "platform/Property.h"
#include "platform/SerialQueue.h"
#include "platform/WebAddress.h"

#include <atomic>
#include <mutex>
#include <utility>

using platform::Log;

namespace engine {

namespace {

struct Runs {
    Choice choice; // the program and the sign-in
    std::chrono::milliseconds timeout;
};

// A video whose streams yt-dlp extracts.
class YtDlpVideo : public YouTubeVideo {
public:
    YtDlpVideo(const QUrl& link, Runs runs) : YouTubeVideo(QUrl()), runs_(std::move(runs)) { setLink(link); }

    void parseUrls() override
    {
        setLoading(true);
        struct Loaded {
            YtDlpVideo& video;
            ~Loaded() { video.setLoading(false); }
        } const loaded{*this};
        const std::lock_guard once(once_);
        if (extracted_)
            return;
        const QUrl address = link();
        if (!platform::isWebAddress(address))
            throw youtube_error(platform::refusalOf(address).toStdString());

        const auto cancel = std::make_shared<platform::CancelToken>();
        cancel_.set(cancel);
        const YtDlp::Answer answer = YtDlp::run(
            runs_.choice, {QStringLiteral("--no-playlist"), QStringLiteral("--"), address.toString(QUrl::FullyEncoded)},
            cancel, runs_.timeout);
        cancel_.set(nullptr);
        if (!answer.error.isEmpty())
            throw youtube_error(answer.error.toStdString());
        const auto reading = ytdlp::readVideo(answer.json);
        if (!reading.value)
            throw youtube_error(reading.error.toStdString());
        const ytdlp::ExtractedVideo& extracted = *reading.value;

        StreamList urls, separate;
        QStringList labels;
        QMap<QString, StreamList> sorted;
        for (const ytdlp::Format& format : extracted.formats) {
            const auto stream = ytdlp::streamOf(format);
            if (format.media != ytdlp::Format::Media::PictureAndSound) {
                separate.append(stream);
                continue;
            }
            urls.append(stream);
            const QString label = stream->localizedQuality();
            if (!labels.contains(label))
                labels.append(label);
            sorted[label].append(stream);
        }
        if (urls.isEmpty() && separate.isEmpty()) {
            if (extracted.refusedSchemes.isEmpty())
                throw youtube_error("yt-dlp found no stream of this video.");
            throw youtube_error(QStringLiteral("None of this video's streams can be fetched over http or https "
                                               "(it offers %1).")
                                    .arg(extracted.refusedSchemes.join(QStringLiteral(", ")))
                                    .toStdString());
        }
        setUrls(urls);
        setLocalizedQualitys(labels);
        setSortedUrls(sorted);
        setSeparateUrls(separate);
        // What the extraction does not say stays as the search had it.
        if (!extracted.title.isEmpty())
            setTitle(extracted.title);
        if (!extracted.description.isEmpty())
            setDescription(extracted.description);
        if (extracted.seconds > 0)
            setSeconds(extracted.seconds);
        if (!thumbnail() && extracted.thumbnail)
            setThumbnail(fetchImage(*extracted.thumbnail));
        extracted_ = true;
    }

    void abortParsing() override
    {
        if (const auto cancel = cancel_.get())
            cancel->cancel();
    }

private:
    const Runs runs_;
    std::mutex once_;
    bool extracted_ = false; // under once_
    platform::Property<std::shared_ptr<platform::CancelToken>> cancel_;
};

class YtDlpSearch : public VideoSearch, public std::enable_shared_from_this<YtDlpSearch> {
public:
    YtDlpSearch(const platform::ServiceEndpoints& endpoints, Runs runs) : endpoints_(endpoints), runs_(std::move(runs)) {}
    ~YtDlpSearch() override { stop(); }

    void searchStart() override
    {
        videos_.set({});
        done_ = false;
        const QString target = YtDlpEngine::searchTarget(endpoints_, searchString());
        const auto started = std::make_shared<const QUrl>(QUrl(target));
        currentUrl_.set(started);
        // After the identity: a run woken by its cancel already finds itself stale.
        const auto cancel = std::make_shared<platform::CancelToken>();
        if (const auto superseded = cancel_.update([&](auto& current) { return std::exchange(current, cancel); }))
            superseded->cancel();

        downloadOffset_.set(0.5);
        downloadCount_.set(26.0);
        updateEvent(*this);
        queue_.post([self = shared_from_this(), started, cancel, target] { self->run(started, cancel, target); });
    }

    void cancel() override
    {
        cancelled_ = true;
        stop();
        currentUrl_.set(nullptr);
        done_ = true;
    }

    void waitForFinish() const override { platform::MainThread::runUntil([this] { return isDone(); }); }
    bool isDone() const override { return done_; }
    QString searchString() const override { return searchString_.get(); }
    void setSearchString(const QString& words) override { searchString_.set(words); }
    QList<std::shared_ptr<YouTubeVideo>> videos() const override { return videos_.get(); }
    std::shared_ptr<const QUrl> currentUrl() const override { return currentUrl_.get(); }
    double downloadOffset() const override { return downloadOffset_.get(); }
    double downloadCount() const override { return downloadCount_.get(); }

private:
    void stop()
    {
        if (const auto cancel = cancel_.get())
            cancel->cancel();
    }

    bool isStale(const std::shared_ptr<const QUrl>& started) const
    {
        return cancelled_ || currentUrl() != started;
    }

    void run(const std::shared_ptr<const QUrl>& started, const std::shared_ptr<platform::CancelToken>& cancel,
             const QString& target)
    {
        if (isStale(started))
            return;
        const YtDlp::Answer answer = YtDlp::run(
            runs_.choice, {QStringLiteral("--flat-playlist"), QStringLiteral("--"), target}, cancel, runs_.timeout);
        if (isStale(started))
            return;
        downloadOffset_.set(0.75);
        updateEvent(*this);

        const auto reading = answer.error.isEmpty() ? ytdlp::readSearch(answer.json)
                                                    : ytdlp::Reading<QList<ytdlp::FoundVideo>>{std::nullopt, answer.error};
        if (!reading.value) {
            Log::line(QStringLiteral("Error: ") + reading.error);
            errorEvent(*this, {QStringLiteral("yt-dlp"), 0, reading.error});
            finish(started);
            return;
        }
        const QList<ytdlp::FoundVideo>& found = *reading.value;
        std::vector<std::optional<QUrl>> addresses;
        addresses.reserve(static_cast<std::size_t>(found.size()));
        for (const auto& video : found)
            addresses.push_back(video.thumbnail);
        const ThumbnailBatch pictures(addresses, cancel);

        downloadCount_.set(static_cast<double>(found.size()));
        downloadOffset_.set(1.0);
        updateEvent(*this);
        for (qsizetype i = 0; i < found.size(); ++i) {
            if (isStale(started))
                return;
            const std::optional<platform::Image> picture = pictures.wait(static_cast<std::size_t>(i));
            if (!picture)
                return; // called off by a newer search
            const auto video = std::make_shared<YtDlpVideo>(found[i].link, runs_);
            video->setTitle(found[i].title);
            video->setDescription(found[i].description);
            video->setSeconds(found[i].seconds);
            video->setThumbnail(*picture);
            videos_.update([&](auto& videos) { videos.append(video); });
            if (isStale(started))
                return;
            downloadOffset_.update([](double& offset) { offset += 1.0; });
            updateEvent(*this);
        }
        if (isStale(started))
            return;
        newVideosEvent(*this, static_cast<qulonglong>(videos().size()));
        finish(started);
    }

    void finish(const std::shared_ptr<const QUrl>& started)
    {
        // As the classic search: marked on the main thread, where searches start.
        platform::MainThread::post([self = shared_from_this(), started] {
            if (!self->isStale(started))
                self->done_ = true;
        });
    }

    const platform::ServiceEndpoints endpoints_;
    const Runs runs_;
    std::atomic<bool> cancelled_{false};
    std::atomic<bool> done_{true};
    platform::Property<QString> searchString_;
    platform::Property<QList<std::shared_ptr<YouTubeVideo>>> videos_;
    platform::Property<std::shared_ptr<const QUrl>> currentUrl_;
    platform::Property<double> downloadOffset_;
    platform::Property<double> downloadCount_;
    platform::Property<std::shared_ptr<platform::CancelToken>> cancel_;
    platform::SerialQueue queue_;
};

} // namespace

YtDlpEngine::YtDlpEngine(const Choice& choice, const platform::ServiceEndpoints& endpoints)
    : Engine(endpoints), choice_(choice), timeout_(YtDlp::defaultTimeout)
{
}

QString YtDlpEngine::searchTarget(const platform::ServiceEndpoints& endpoints, const QString& words)
{
    if (endpoints.isStandIn()) {
        QUrl feed = endpoints.feed;
        feed.setPath(QStringLiteral("/feeds/api/videos"));
        return feed.toString() + QStringLiteral("?alt=rss&q=") + YouTubeSearch::escapeSearchWords(words);
    }
    return QStringLiteral("ytsearch%1:%2").arg(resultsPerSearch).arg(words);
}

std::shared_ptr<VideoSearch> YtDlpEngine::newSearch()
{
    return std::make_shared<YtDlpSearch>(endpoints(), Runs{choice_, timeout_});
}

std::shared_ptr<YouTubeVideo> YtDlpEngine::videoAt(const QUrl& link)
{
    return std::make_shared<YtDlpVideo>(link, Runs{choice_, timeout_});
}

} // namespace engine
