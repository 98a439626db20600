#pragma once

#include "platform/BlockingHttp.h"
#include "platform/CancelToken.h"

#include <QUrl>

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace platform {

// Blocking GETs on threads of its own, at most `width` at a time; the others
// wait their turn in the order they came.
class FetchPool {
public:
    using Done = std::function<void(const HttpResponse&)>;

    explicit FetchPool(std::size_t width);
    // Drops the GETs not yet begun and waits for those under way.
    ~FetchPool();
    FetchPool(const FetchPool&) = delete;
    FetchPool& operator=(const FetchPool&) = delete;

    // The program's pool for pictures.
    static FetchPool& shared();

    // done runs on a pool thread with what came back. Once cancel is cancelled,
    // a GET under way is aborted and one whose turn comes later is not made:
    // done then gets an error. A body beyond maxBytes is an error too.
    void get(const QUrl& url, std::shared_ptr<CancelToken> cancel, qint64 maxBytes, Done done);

private:
    struct Task {
        QUrl url;
        std::shared_ptr<CancelToken> cancel;
        qint64 maxBytes;
        Done done;
    };

    void serve();

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Task> tasks_;
    bool stopping_ = false;
    std::vector<std::thread> threads_;
};

} // namespace platform
