#pragma once

#include "catalogue/engine/Engine.h"

namespace engine {

// The service's search feed and watch pages, read by Melodrift itself
// (YouTubeSearch, YouTubeVideo as they are).
class ClassicEngine : public Engine {
public:
    // ytDlp: the yt-dlp program that a switch of engines would run.
    ClassicEngine(const platform::ServiceEndpoints& endpoints, QString ytDlp)
        : Engine(endpoints), ytDlp_(std::move(ytDlp))
    {
    }

    Choice choice() const override { return {Kind::classic, ytDlp_}; }
    std::shared_ptr<VideoSearch> newSearch() override;
    std::shared_ptr<YouTubeVideo> videoAt(const QUrl& link) override;

private:
    const QString ytDlp_;
};

} // namespace engine
