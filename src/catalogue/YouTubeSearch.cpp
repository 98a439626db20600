#include "catalogue/YouTubeSearch.h"

#include "catalogue/FeedSource.h"
#include "catalogue/ThumbnailBatch.h"
#include "platform/Log.h"
#include "platform/MainThread.h"

#include <optional>
#include <utility>
#include <vector>

using platform::Log;

std::shared_ptr<YouTubeSearch> YouTubeSearch::create(std::shared_ptr<SearchSource> source)
{
    return std::shared_ptr<YouTubeSearch>(new YouTubeSearch(std::move(source)));
}

std::shared_ptr<YouTubeSearch> YouTubeSearch::create(const platform::ServiceEndpoints& endpoints)
{
    return create(std::make_shared<FeedSource>(endpoints));
}

QString YouTubeSearch::escapeSearchWords(const QString& words)
{
    return FeedSource::escapeSearchWords(words);
}

void YouTubeSearch::searchStart()
{
    videos_.set({});
    done_ = false;
    // After the number: a run woken by its cancel already finds itself stale.
    const quint64 number = ++number_;
    const auto cancel = std::make_shared<platform::CancelToken>();
    if (const auto superseded = cancel_.update([&](auto& current) { return std::exchange(current, cancel); }))
        superseded->cancel();

    downloadOffset_.set(0.5);
    downloadCount_.set(26.0);
    updateEvent(*this);
    queue_.post(
        [self = shared_from_this(), number, words = searchString(), cancel] { self->run(number, words, cancel); });
}

void YouTubeSearch::cancel()
{
    ++number_;
    if (const auto cancel = cancel_.get())
        cancel->cancel();
    newVideosEvent.reset();
    errorEvent.reset();
    updateEvent.reset();
    done_ = true;
}

void YouTubeSearch::run(quint64 number, const QString& words, const std::shared_ptr<platform::CancelToken>& cancel)
{
    if (isStale(number))
        return;
    const SearchAnswer answer = source_->find(words, cancel);
    if (isStale(number))
        return; // the newer search owns done
    downloadOffset_.set(0.75);
    updateEvent(*this);

    if (answer.error) {
        Log::line(QStringLiteral("Error(%1): %2").arg(answer.error->code).arg(answer.error->description));
        errorEvent(*this, *answer.error);
        finish(number);
        return;
    }
    // Every thumbnail is asked for now; each video below waits for its own only.
    std::vector<std::optional<QUrl>> addresses;
    addresses.reserve(static_cast<std::size_t>(answer.hits.size()));
    for (const SearchHit& hit : answer.hits)
        addresses.push_back(hit.thumbnail);
    const ThumbnailBatch pictures(addresses, cancel);

    downloadCount_.set(static_cast<double>(answer.hits.size()));
    downloadOffset_.set(1.0);
    updateEvent(*this);
    for (qsizetype i = 0; i < answer.hits.size(); ++i) {
        if (isStale(number))
            return;
        const std::optional<platform::Image> picture = pictures.wait(static_cast<std::size_t>(i));
        if (!picture)
            return; // called off by a newer search
        const std::shared_ptr<YouTubeVideo> video = answer.hits[i].make(*picture);
        videos_.update([&](auto& videos) { videos.append(video); });
        if (isStale(number))
            return;
        downloadOffset_.update([](double& offset) { offset += 1.0; });
        updateEvent(*this);
    }
    if (isStale(number))
        return;
    newVideosEvent(*this, static_cast<qulonglong>(videos().size()));
    finish(number);
}

void YouTubeSearch::finish(quint64 number)
{
    // Marked on the main thread, where searches start: one waiting there in
    // waitForFinish sees it at once, the program never ends under this thread's
    // feet, and a search started in between is not marked by this one.
    platform::MainThread::post([self = shared_from_this(), number] {
        if (!self->isStale(number))
            self->done_ = true;
    });
}

void YouTubeSearch::waitForFinish() const
{
    platform::MainThread::runUntil([this] { return isDone(); });
}
