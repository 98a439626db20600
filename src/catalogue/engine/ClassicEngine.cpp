#include "catalogue/engine/ClassicEngine.h"

#include "catalogue/FeedSource.h"

namespace engine {

std::shared_ptr<SearchSource> ClassicEngine::searchSource()
{
    return std::make_shared<FeedSource>(endpoints());
}

std::shared_ptr<YouTubeVideo> ClassicEngine::videoAt(const QUrl& link)
{
    return YouTubeVideo::initFromURL(link, endpoints().parserService);
}

} // namespace engine
