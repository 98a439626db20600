#pragma once

#include "platform/MainThread.h"

#include <functional>
#include <utility>

namespace platform {

// The shared pool of worker threads for background work of any part of the program.
class WorkerPool {
public:
    static void run(std::function<void()> work);
    // Runs work on the pool, then done with what it gave on the receiver's
    // thread (the interface thread), unless the receiver is gone by then.
    template <typename Work, typename Done>
    static void run(const QObject* receiver, Work work, Done done)
    {
        run([courier = Courier(receiver), work = std::move(work), done = std::move(done)]() mutable {
            if constexpr (std::is_void_v<decltype(work())>) {
                work();
                courier.post(std::move(done));
            } else {
                courier.post([done = std::move(done), result = work()]() mutable { done(std::move(result)); });
            }
        });
    }
    // Blocks until every task handed to the pool has ended (for an orderly exit).
    static void waitForDone();
};

} // namespace platform
