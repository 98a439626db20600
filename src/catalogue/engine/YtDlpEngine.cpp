#include "catalogue/engine/YtDlpEngine.h"

#include "catalogue/FeedSource.h"
#include "catalogue/engine/YtDlp.h"
#include "catalogue/engine/YtDlpJson.h"
#include "core/youtube_error.h"
#include "platform/CancelToken.h"
#include "platform/Log.h"
#include "platform/Property.h"
#include "platform/WebAddress.h"

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
        setAbout(extracted.about);
        extracted_ = true;
    }

    void abortParsing() override
    {
        if (const auto cancel = cancel_.get())
            cancel->cancel();
    }

    std::shared_ptr<YouTubeVideo> fresh() const override
    {
        auto again = std::make_shared<YtDlpVideo>(link(), runs_);
        again->setTitle(title());
        return again;
    }

private:
    const Runs runs_;
    std::mutex once_;
    bool extracted_ = false; // under once_
    platform::Property<std::shared_ptr<platform::CancelToken>> cancel_;
};

// yt-dlp's search: its answer's entries as hits, each made into a video whose
// streams yt-dlp extracts.
class YtDlpSource : public SearchSource {
public:
    YtDlpSource(const platform::ServiceEndpoints& endpoints, Runs runs) : endpoints_(endpoints), runs_(std::move(runs)) {}

    SearchAnswer find(const QString& words, const std::shared_ptr<platform::CancelToken>& cancel) override
    {
        const QString target = YtDlpEngine::searchTarget(endpoints_, words);
        const YtDlp::Answer answer = YtDlp::run(
            runs_.choice, {QStringLiteral("--flat-playlist"), QStringLiteral("--"), target}, cancel, runs_.timeout);
        const auto reading = answer.error.isEmpty() ? ytdlp::readSearch(answer.json)
                                                    : ytdlp::Reading<QList<ytdlp::FoundVideo>>{std::nullopt, answer.error};
        if (!reading.value)
            return {{}, platform::Error{QStringLiteral("yt-dlp"), 0, reading.error}};
        SearchAnswer found;
        for (const ytdlp::FoundVideo& video : *reading.value)
            found.hits.append({video.thumbnail, [video, runs = runs_](const platform::Image& picture) {
                                   const auto made = std::make_shared<YtDlpVideo>(video.link, runs);
                                   made->setTitle(video.title);
                                   made->setDescription(video.description);
                                   made->setSeconds(video.seconds);
                                   made->setThumbnail(picture);
                                   return std::static_pointer_cast<YouTubeVideo>(made);
                               }});
        return found;
    }

private:
    const platform::ServiceEndpoints endpoints_;
    const Runs runs_;
};

} // namespace

YtDlpEngine::YtDlpEngine(const Choice& choice, const platform::ServiceEndpoints& endpoints)
    : Engine(endpoints), choice_(choice), timeout_(YtDlp::defaultTimeout)
{
}

QString YtDlpEngine::searchTarget(const platform::ServiceEndpoints& endpoints, const QString& words)
{
    if (endpoints.isStandIn())
        return FeedSource(endpoints).addressText(words);
    return QStringLiteral("ytsearch%1:%2").arg(resultsPerSearch).arg(words);
}

std::shared_ptr<SearchSource> YtDlpEngine::searchSource()
{
    return std::make_shared<YtDlpSource>(endpoints(), Runs{choice_, timeout_});
}

std::shared_ptr<YouTubeVideo> YtDlpEngine::videoAt(const QUrl& link)
{
    return std::make_shared<YtDlpVideo>(link, Runs{choice_, timeout_});
}

} // namespace engine
