#include "catalogue/ThumbnailBatch.h"

#include <condition_variable>
#include <mutex>
#include <utility>

namespace {

// A thumbnail is tens of kilobytes; a body beyond this is no thumbnail, and
// a page of 25 of them must not hold much memory while it waits.
constexpr qint64 largestPictureBytes = 2 * 1024 * 1024;

} // namespace

struct ThumbnailBatch::State {
    std::mutex mutex;
    std::condition_variable ready;
    std::vector<std::optional<QByteArray>> pictures; // as fetched; empty: none came
    bool cancelled = false;
};

ThumbnailBatch::ThumbnailBatch(const std::vector<std::optional<QUrl>>& addresses,
                               std::shared_ptr<platform::CancelToken> cancel, platform::FetchPool& pool)
    : state_(std::make_shared<State>()), cancel_(std::move(cancel))
{
    state_->pictures.resize(addresses.size());
    if (cancel_) {
        hook_ = cancel_->watch([state = state_] {
            std::lock_guard lock(state->mutex);
            state->cancelled = true;
            state->ready.notify_all();
        });
    }
    for (std::size_t i = 0; i < addresses.size(); ++i) {
        if (!addresses[i]) {
            state_->pictures[i] = QByteArray();
            continue;
        }
        pool.get(*addresses[i], cancel_, largestPictureBytes, [state = state_, i](const platform::HttpResponse& response) {
            // Decoded by the waiter, not here: the pool's thread is free for the
            // next fetch at once.
            std::lock_guard lock(state->mutex);
            state->pictures[i] = response.error ? QByteArray() : response.body;
            state->ready.notify_all();
        });
    }
}

ThumbnailBatch::~ThumbnailBatch()
{
    if (cancel_)
        cancel_->forget(hook_);
}

std::optional<platform::Image> ThumbnailBatch::wait(std::size_t i) const
{
    QByteArray bytes;
    {
        std::unique_lock lock(state_->mutex);
        state_->ready.wait(lock, [&] { return state_->cancelled || state_->pictures[i].has_value(); });
        if (state_->cancelled)
            return std::nullopt;
        // Taken, not copied: the body goes as soon as its picture is made.
        bytes = std::exchange(*state_->pictures[i], QByteArray());
    }
    return platform::ImageDecoder::decode(bytes);
}
