#include "catalogue/engine/AutoEngine.h"

#include "catalogue/engine/ClassicEngine.h"
#include "catalogue/engine/YtDlp.h"
#include "catalogue/engine/YtDlpEngine.h"
#include "catalogue/tools/Toolbox.h"
#include "core/youtube_error.h"
#include "platform/MainThread.h"
#include "platform/Property.h"
#include "platform/SerialQueue.h"

#include <atomic>
#include <mutex>
#include <utility>

namespace engine {

namespace {

// A search that hands each start to the engine chosen for it, and passes its
// events on as its own.
class AutoSearch : public VideoSearch, public std::enable_shared_from_this<AutoSearch> {
public:
    explicit AutoSearch(std::shared_ptr<const AutoEngine> engine) : engine_(std::move(engine)) {}
    ~AutoSearch() override { stopInner(); }

    void searchStart() override
    {
        const QString words = searchString();
        // Its own identity: the one a view compares events with.
        const auto started = std::make_shared<const QUrl>(QUrl(QStringLiteral("auto:") + words));
        {
            const std::lock_guard lock(starting_);
            currentUrl_.set(started);
            stopInner();
        }
        downloadOffset_.set(0.5);
        downloadCount_.set(26.0);
        updateEvent(*this);
        queue_.post([self = shared_from_this(), started, words] { self->begin(started, words); });
    }

    void cancel() override
    {
        const std::lock_guard lock(starting_);
        currentUrl_.set(nullptr);
        stopInner();
    }

    void waitForFinish() const override { platform::MainThread::runUntil([this] { return isDone(); }); }
    bool isDone() const override
    {
        if (!currentUrl())
            return true;
        const auto inner = inner_.get();
        return inner && inner->isDone();
    }
    QString searchString() const override { return searchString_.get(); }
    void setSearchString(const QString& words) override { searchString_.set(words); }
    QList<std::shared_ptr<YouTubeVideo>> videos() const override
    {
        const auto inner = inner_.get();
        return inner ? inner->videos() : QList<std::shared_ptr<YouTubeVideo>>();
    }
    std::shared_ptr<const QUrl> currentUrl() const override { return currentUrl_.get(); }
    double downloadOffset() const override
    {
        const auto inner = inner_.get();
        return inner ? inner->downloadOffset() : downloadOffset_.get();
    }
    double downloadCount() const override
    {
        const auto inner = inner_.get();
        return inner ? inner->downloadCount() : downloadCount_.get();
    }

private:
    void stopInner()
    {
        if (const auto inner = inner_.update([](auto& current) { return std::exchange(current, nullptr); }))
            inner->cancel();
    }

    void begin(const std::shared_ptr<const QUrl>& started, const QString& words)
    {
        if (currentUrl() != started)
            return;
        const auto engine = engine_->chosen();
        const bool classic = engine->choice().kind != Kind::ytDlp;
        const auto inner = engine->newSearch();
        const std::weak_ptr<AutoSearch> weak = shared_from_this();
        // Each passed on only while this start is the current one.
        const auto mine = [weak, started]() -> std::shared_ptr<AutoSearch> {
            auto self = weak.lock();
            return self && self->currentUrl() == started ? self : nullptr;
        };
        inner->newVideosEvent.set([mine](VideoSearch&, qulonglong count) {
            if (const auto self = mine())
                self->newVideosEvent(*self, count);
        });
        inner->errorEvent.set([mine, classic](VideoSearch&, const platform::Error& error) {
            const auto self = mine();
            if (!self)
                return;
            // The feed is gone from the real service: the failure says what reads it today.
            platform::Error said = error;
            if (classic)
                said.description += QLatin1Char(' ') + YtDlp::missingNote();
            self->errorEvent(*self, said);
        });
        inner->updateEvent.set([mine](VideoSearch&) {
            if (const auto self = mine())
                self->updateEvent(*self);
        });
        inner->setSearchString(words);
        {
            // A newer start or a cancel that came meanwhile wins; one that comes
            // later finds this search to stop.
            const std::lock_guard lock(starting_);
            if (currentUrl() != started)
                return;
            inner_.set(inner);
        }
        inner->searchStart();
    }

    const std::shared_ptr<const AutoEngine> engine_;
    platform::Property<QString> searchString_;
    platform::Property<std::shared_ptr<const QUrl>> currentUrl_;
    platform::Property<std::shared_ptr<VideoSearch>> inner_;
    platform::Property<double> downloadOffset_;
    platform::Property<double> downloadCount_;
    std::mutex starting_;
    platform::SerialQueue queue_;
};

// A video whose streams the engine chosen at extraction reads; what it finds
// becomes this record's.
class AutoVideo : public YouTubeVideo {
public:
    AutoVideo(std::shared_ptr<const AutoEngine> engine, const QUrl& link, const QUrl& parserService)
        : YouTubeVideo(parserService), engine_(std::move(engine))
    {
        setLink(link);
    }

    void parseUrls() override
    {
        const std::lock_guard once(once_);
        if (extracted_)
            return;
        const auto engine = engine_->chosen();
        const auto inner = engine->videoAt(link());
        inner_.set(inner);
        if (cancelled_)
            throw youtube_error("cancelled");
        inner->setTitle(title());
        setLoading(true);
        struct Loaded {
            AutoVideo& video;
            ~Loaded() { video.setLoading(false); }
        } const loaded{*this};
        try {
            inner->parseUrls();
        } catch (const youtube_error& e) {
            // The watch page is no longer read this way: the failure says what reads it today.
            if (engine->choice().kind == Kind::ytDlp)
                throw;
            throw youtube_error(e.what() + (' ' + YtDlp::missingNote().toStdString()));
        }
        setUrls(inner->Urls());
        setSeparateUrls(inner->separateUrls());
        setSortedUrls(inner->SortedUrls());
        setLocalizedQualitys(inner->localizedQualitys());
        if (!inner->title().isEmpty())
            setTitle(inner->title());
        if (!inner->description().isEmpty())
            setDescription(inner->description());
        if (inner->seconds() > 0)
            setSeconds(inner->seconds());
        if (!thumbnail() && inner->thumbnail())
            setThumbnail(inner->thumbnail());
        extracted_ = true;
    }

    void abortParsing() override
    {
        cancelled_ = true;
        if (const auto inner = inner_.get())
            inner->abortParsing();
    }

private:
    const std::shared_ptr<const AutoEngine> engine_;
    std::mutex once_;
    bool extracted_ = false; // under once_
    std::atomic<bool> cancelled_{false};
    platform::Property<std::shared_ptr<YouTubeVideo>> inner_;
};

} // namespace

AutoEngine::AutoEngine(Choice choice, const platform::ServiceEndpoints& endpoints)
    : Engine(endpoints), choice_(choice), classic_(std::make_shared<ClassicEngine>(endpoints, choice)),
      ytDlp_(std::make_shared<YtDlpEngine>(Choice{Kind::ytDlp, choice.ytDlp, choice.signIn}, endpoints))
{
}

std::shared_ptr<Engine> AutoEngine::chosen() const
{
    return tools::Toolbox().ytDlp(choice_.ytDlp).usable() ? ytDlp_ : classic_;
}

std::shared_ptr<VideoSearch> AutoEngine::newSearch()
{
    return std::make_shared<AutoSearch>(std::static_pointer_cast<const AutoEngine>(shared_from_this()));
}

std::shared_ptr<YouTubeVideo> AutoEngine::videoAt(const QUrl& link)
{
    return std::make_shared<AutoVideo>(std::static_pointer_cast<const AutoEngine>(shared_from_this()), link,
                                       endpoints().parserService);
}

} // namespace engine
