#include "catalogue/engine/ClassicEngine.h"

#include "catalogue/YouTubeSearch.h"

namespace engine {

namespace {

// YouTubeSearch behind the seam: its events, passed on as this search's.
class ClassicSearch : public VideoSearch, public std::enable_shared_from_this<ClassicSearch> {
public:
    explicit ClassicSearch(const platform::ServiceEndpoints& endpoints) : search_(YouTubeSearch::create(endpoints)) {}
    ~ClassicSearch() override { cancel(); }

    void listen()
    {
        const std::weak_ptr<ClassicSearch> self = shared_from_this();
        search_->newVideosEvent.set([self](YouTubeSearch&, qulonglong count) {
            if (const auto search = self.lock())
                search->newVideosEvent(*search, count);
        });
        search_->errorEvent.set([self](YouTubeSearch&, const platform::Error& error) {
            if (const auto search = self.lock())
                search->errorEvent(*search, error);
        });
        search_->updateEvent.set([self](YouTubeSearch&) {
            if (const auto search = self.lock())
                search->updateEvent(*search);
        });
    }

    void searchStart() override { search_->searchStart(); }
    void cancel() override
    {
        // The feed's reading ends by itself; its answer then finds no one.
        search_->newVideosEvent.reset();
        search_->errorEvent.reset();
        search_->updateEvent.reset();
    }
    void waitForFinish() const override { search_->waitForFinish(); }
    bool isDone() const override { return search_->isDone(); }
    QString searchString() const override { return search_->searchString(); }
    void setSearchString(const QString& words) override { search_->setSearchString(words); }
    QList<std::shared_ptr<YouTubeVideo>> videos() const override { return search_->videos(); }
    std::shared_ptr<const QUrl> currentUrl() const override { return search_->currentUrl(); }
    double downloadOffset() const override { return search_->downloadOffset(); }
    double downloadCount() const override { return search_->downloadCount(); }

private:
    const std::shared_ptr<YouTubeSearch> search_;
};

} // namespace

std::shared_ptr<VideoSearch> ClassicEngine::newSearch()
{
    auto search = std::make_shared<ClassicSearch>(endpoints());
    search->listen();
    return search;
}

std::shared_ptr<YouTubeVideo> ClassicEngine::videoAt(const QUrl& link)
{
    return YouTubeVideo::initFromURL(link, endpoints().parserService);
}

} // namespace engine
