#pragma once

#include "catalogue/engine/Engine.h"

#include <chrono>

namespace engine {

// Searches and extractions through yt-dlp: `yt-dlp -J --flat-playlist
// "ytsearch25:WORDS"` (or the stand-in's feed, which yt-dlp reads as RSS) and
// `yt-dlp -J ADDRESS`, their formats made into the same stream records.
class YtDlpEngine : public Engine {
public:
    YtDlpEngine(const Choice& choice, const platform::ServiceEndpoints& endpoints);

    Choice choice() const override { return choice_; }
    std::shared_ptr<SearchSource> searchSource() override;
    std::shared_ptr<YouTubeVideo> videoAt(const QUrl& link) override;

    // What yt-dlp is given to search for words: the service's feed when the
    // endpoints point at a stand-in, else the real service's search.
    static QString searchTarget(const platform::ServiceEndpoints& endpoints, const QString& words);

    static constexpr int resultsPerSearch = 25;

    // How long one run may take (tests shorten it).
    void setTimeout(std::chrono::milliseconds timeout) { timeout_ = timeout; }

private:
    const Choice choice_;
    std::chrono::milliseconds timeout_;
};

} // namespace engine
