#include "platform/SerialQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>
#include <vector>

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
    ASSERT_EQ(order.size(), 50u);
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
    for (const auto& id : threads)
        EXPECT_EQ(id, threads.front());
    EXPECT_NE(threads.front(), std::this_thread::get_id());
}

TEST(SerialQueue, MayBeDestroyedByItsOwnTask)
{
    auto* queue = new platform::SerialQueue;
    std::promise<void> gate;
    std::promise<void> destroyed;
    std::atomic<bool> later_ran{false};
    // All three are queued before the first runs.
    queue->post([opened = gate.get_future().share()] { opened.wait(); });
    queue->post([queue, &destroyed] {
        delete queue;
        destroyed.set_value();
    });
    queue->post([&later_ran] { later_ran = true; });
    gate.set_value();
    destroyed.get_future().wait();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(later_ran);
}
