#include "platform/SerialQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

// (Order and the thread of its own: the catalogue's search tests, under TSan too.)
TEST(SerialQueue, MayBeDestroyedByItsOwnTask)
{
    auto* queue = new platform::SerialQueue;
    std::promise<void> gate, destroyed;
    std::atomic<bool> laterRan{false};
    // All three are queued before the first runs.
    queue->post([opened = gate.get_future().share()] { opened.wait(); });
    queue->post([queue, &destroyed] {
        delete queue;
        destroyed.set_value();
    });
    queue->post([&laterRan] { laterRan = true; });
    gate.set_value();
    destroyed.get_future().wait();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(laterRan);
}
