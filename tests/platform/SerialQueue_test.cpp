#include "platform/SerialQueue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <numeric>
#include <thread>

TEST(SerialQueue, RunsTasksInOrderOnOneThreadOfItsOwn)
{
    platform::SerialQueue queue;
    std::vector<int> order;
    std::vector<std::thread::id> threads;
    std::promise<void> finished;
    for (int i = 0; i < 50; ++i)
        queue.post([&, i] {
            order.push_back(i);
            threads.push_back(std::this_thread::get_id());
            if (i == 49)
                finished.set_value();
        });
    finished.get_future().wait();
    std::vector<int> expected(50);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(order, expected);
    EXPECT_EQ(std::count(threads.begin(), threads.end(), threads.front()), 50);
    EXPECT_NE(threads.front(), std::this_thread::get_id());
}

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
