#pragma once

#include <functional>

namespace platform {

// The shared pool of worker threads for background work of any part of the program.
class WorkerPool {
public:
    static void run(std::function<void()> work);
    // Blocks until every task handed to the pool has ended (for an orderly exit).
    static void waitForDone();
};

} // namespace platform
