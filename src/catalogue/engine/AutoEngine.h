#pragma once

#include "catalogue/engine/Engine.h"

namespace engine {

// The automatic choice for the real service: each search and extraction runs
// through yt-dlp when a usable one is there, else through the classic engine.
// The choice is made on the worker that runs it (finding yt-dlp may ask it
// for its version), so a yt-dlp got meanwhile counts at once.
class AutoEngine : public Engine {
public:
    AutoEngine(Choice choice, const platform::ServiceEndpoints& endpoints);

    Choice choice() const override { return choice_; }
    std::shared_ptr<SearchSource> searchSource() override;
    std::shared_ptr<YouTubeVideo> videoAt(const QUrl& link) override;

    // The engine a run takes now. Blocks.
    std::shared_ptr<Engine> chosen() const;


private:
    const Choice choice_;
    const std::shared_ptr<Engine> classic_;
    const std::shared_ptr<Engine> ytDlp_;
};

} // namespace engine
