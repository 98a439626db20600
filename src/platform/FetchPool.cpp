#include "platform/FetchPool.h"

namespace platform {

FetchPool::FetchPool(std::size_t width)
{
    threads_.reserve(width);
    for (std::size_t i = 0; i < width; ++i)
        threads_.emplace_back([this] { serve(); });
}

FetchPool::~FetchPool()
{
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
        tasks_.clear();
    }
    wake_.notify_all();
    for (auto& thread : threads_)
        thread.join();
}

FetchPool& FetchPool::shared()
{
    // Never destroyed: a transfer under way at exit must not hold the exit up.
    // Eight at once keeps a page of thumbnails to a few round trips without
    // crowding the service.
    static FetchPool* const pool = new FetchPool(8);
    return *pool;
}

void FetchPool::get(const QUrl& url, std::shared_ptr<CancelToken> cancel, qint64 maxBytes, Done done)
{
    {
        std::lock_guard lock(mutex_);
        tasks_.push_back({url, std::move(cancel), maxBytes, std::move(done)});
    }
    wake_.notify_one();
}

void FetchPool::serve()
{
    for (;;) {
        Task task;
        {
            std::unique_lock lock(mutex_);
            wake_.wait(lock, [this] { return stopping_ || !tasks_.empty(); });
            if (stopping_)
                return;
            task = std::move(tasks_.front());
            tasks_.pop_front();
        }
        BlockingHttp::Options options;
        options.cancel = std::move(task.cancel);
        options.maxBytes = task.maxBytes;
        task.done(BlockingHttp::get(task.url, options));
    }
}

} // namespace platform
