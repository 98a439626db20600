#pragma once

#include <functional>
#include <memory>
#include <thread>

namespace platform {

// One thread of its own that runs the tasks posted to it, one after the other.
// It may be destroyed from one of its own tasks: the thread then finishes that
// task and ends by itself.
class SerialQueue {
public:
    SerialQueue();
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    void post(std::function<void()> task);

private:
    struct State;
    std::shared_ptr<State> state_;
    std::thread thread_;
};

} // namespace platform
