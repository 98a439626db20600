#pragma once

#include "catalogue/engine/Engine.h"

namespace engine {

// The service's search feed and watch pages, read by Melodrift itself
// (YouTubeSearch, YouTubeVideo as they are).
class ClassicEngine : public Engine {
public:
    explicit ClassicEngine(const platform::ServiceEndpoints& endpoints) : Engine(endpoints) {}

    Choice choice() const override { return {Kind::classic, {}}; }
    std::shared_ptr<VideoSearch> newSearch() override;
    std::shared_ptr<YouTubeVideo> videoAt(const QUrl& link) override;
};

} // namespace engine
