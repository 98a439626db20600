#pragma once

#include "platform/CancelToken.h"
#include "platform/FetchPool.h"
#include "platform/ImageDecoder.h"

#include <QUrl>

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

// Pictures asked for all at once through the fetch pool, each waited for on its
// own: whoever needs picture i waits for that one only.
class ThumbnailBatch {
public:
    // No address stands for no picture. Once cancel is cancelled, the fetches
    // still to come are not made and those under way are aborted.
    explicit ThumbnailBatch(const std::vector<std::optional<QUrl>>& addresses,
                            std::shared_ptr<platform::CancelToken> cancel = nullptr,
                            platform::FetchPool& pool = platform::FetchPool::shared());
    ~ThumbnailBatch();
    ThumbnailBatch(const ThumbnailBatch&) = delete;
    ThumbnailBatch& operator=(const ThumbnailBatch&) = delete;

    // Picture i, empty when it could not be had or decoded; nothing once the
    // batch is cancelled. Once only: the fetched body is let go.
    std::optional<platform::Image> wait(std::size_t i) const;

private:
    struct State;
    std::shared_ptr<State> state_; // shared with the fetches, which may outlive the batch
    std::shared_ptr<platform::CancelToken> cancel_;
    platform::CancelToken::Hook hook_ = 0;
};
