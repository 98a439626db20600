#include "platform/SerialQueue.h"

#include <condition_variable>
#include <deque>
#include <mutex>

namespace platform {

struct SerialQueue::State {
    std::mutex mutex;
    std::condition_variable wake;
    std::deque<std::function<void()>> tasks;
    bool stopping = false;
};

SerialQueue::SerialQueue() : state_(std::make_shared<State>())
{
    // The thread holds the state, so that it may outlive the queue object.
    thread_ = std::thread([state = state_] {
        for (;;) {
            std::function<void()> task;
            {
                std::unique_lock lock(state->mutex);
                state->wake.wait(lock, [&] { return state->stopping || !state->tasks.empty(); });
                if (state->stopping)
                    return;
                task = std::move(state->tasks.front());
                state->tasks.pop_front();
            }
            task();
        }
    });
}

SerialQueue::~SerialQueue()
{
    std::deque<std::function<void()>> dropped;
    {
        std::lock_guard lock(state_->mutex);
        state_->stopping = true;
        dropped.swap(state_->tasks);
    }
    state_->wake.notify_all();
    if (thread_.get_id() == std::this_thread::get_id())
        thread_.detach();
    else
        thread_.join();
}

void SerialQueue::post(std::function<void()> task)
{
    {
        std::lock_guard lock(state_->mutex);
        state_->tasks.push_back(std::move(task));
    }
    state_->wake.notify_one();
}

} // namespace platform
