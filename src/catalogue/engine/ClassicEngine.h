#pragma once

#include "catalogue/engine/Engine.h"

namespace engine {

// The service's search feed and watch pages, read by Melodrift itself
// (YouTubeSearch, YouTubeVideo as they are).
class ClassicEngine : public Engine {
public:
    // choice: as asked for (classic, or automatic for a stand-in), with the
    // yt-dlp that a switch of engines would run.
    ClassicEngine(const platform::ServiceEndpoints& endpoints, Choice choice)
        : Engine(endpoints), choice_(std::move(choice))
    {
    }

    Choice choice() const override { return choice_; }
    std::shared_ptr<SearchSource> searchSource() override;
    std::shared_ptr<YouTubeVideo> videoAt(const QUrl& link) override;

private:
    const Choice choice_;
};

} // namespace engine
