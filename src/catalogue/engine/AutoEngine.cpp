#include "catalogue/engine/AutoEngine.h"

#include "catalogue/engine/ClassicEngine.h"
#include "catalogue/engine/YtDlp.h"
#include "catalogue/engine/YtDlpEngine.h"
#include "catalogue/tools/Toolbox.h"
#include "core/youtube_error.h"
#include "platform/Property.h"

#include <atomic>
#include <mutex>
#include <utility>

namespace engine {

namespace {

// Each search through the engine chosen for it.
class AutoSource : public SearchSource {
public:
    explicit AutoSource(std::shared_ptr<const AutoEngine> engine) : engine_(std::move(engine)) {}

    SearchAnswer find(const QString& words, const std::shared_ptr<platform::CancelToken>& cancel) override
    {
        const auto engine = engine_->chosen();
        SearchAnswer answer = engine->searchSource()->find(words, cancel);
        // The feed is gone from the real service: the failure says what reads it today.
        if (answer.error && engine->choice().kind != Kind::ytDlp)
            answer.error->description += QLatin1Char(' ') + YtDlp::missingNote();
        return answer;
    }

private:
    const std::shared_ptr<const AutoEngine> engine_;
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
        // The classic engine's reading of the page says nothing of this: the search's stays.
        if (const About about = inner->about(); !about.channel.isEmpty() || about.cover || !about.subtitles.isEmpty())
            setAbout(about);
        extracted_ = true;
    }

    std::shared_ptr<YouTubeVideo> fresh() const override
    {
        auto again = std::make_shared<AutoVideo>(engine_, link(), parserService());
        again->setTitle(title());
        return again;
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

std::shared_ptr<SearchSource> AutoEngine::searchSource()
{
    return std::make_shared<AutoSource>(std::static_pointer_cast<const AutoEngine>(shared_from_this()));
}

std::shared_ptr<YouTubeVideo> AutoEngine::videoAt(const QUrl& link)
{
    return std::make_shared<AutoVideo>(std::static_pointer_cast<const AutoEngine>(shared_from_this()), link,
                                       endpoints().parserService);
}

} // namespace engine
