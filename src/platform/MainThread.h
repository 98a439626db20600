#pragma once

#include <functional>

namespace platform {

// The main (interface) thread's queue.
class MainThread {
public:
    // Runs work on the main thread later; returns at once.
    static void post(std::function<void()> work);
    static bool isCurrent();
    // Runs the calling thread's events until done() holds, checked after each
    // event and at least every 20 ms: what another thread makes hold is seen at
    // once when it is posted here.
    static void runUntil(const std::function<bool()>& done);
};

} // namespace platform
