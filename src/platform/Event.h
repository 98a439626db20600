#pragma once

#include <functional>
#include <mutex>
#include <utility>

namespace platform {

// One event of a producer: the receiver's handler, fired on the producer's thread.
// Firing an event that nobody set does nothing.
template <typename... Args>
class Event {
public:
    using Handler = std::function<void(Args...)>;

    void set(Handler handler)
    {
        std::lock_guard lock(mutex_);
        handler_ = std::move(handler);
    }
    void reset() { set(nullptr); }
    bool isSet() const
    {
        std::lock_guard lock(mutex_);
        return static_cast<bool>(handler_);
    }

    void operator()(Args... args) const
    {
        Handler handler;
        {
            std::lock_guard lock(mutex_);
            handler = handler_;
        }
        if (handler)
            handler(std::forward<Args>(args)...);
    }

private:
    mutable std::mutex mutex_;
    Handler handler_;
};

} // namespace platform
