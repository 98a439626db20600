#pragma once

#include <mutex>
#include <utility>

namespace platform {

// A field that one thread may write while others read it: each read and each
// write is whole. No lock spans two calls.
template <typename T>
class Property {
public:
    Property() = default;
    explicit Property(T value) : value_(std::move(value)) {}

    T get() const
    {
        std::lock_guard lock(mutex_);
        return value_;
    }
    void set(T value)
    {
        std::lock_guard lock(mutex_);
        value_ = std::move(value);
    }
    // Runs f on the value under the lock, for a change that reads it first.
    template <typename F>
    auto update(F&& f)
    {
        std::lock_guard lock(mutex_);
        return f(value_);
    }

private:
    mutable std::mutex mutex_;
    T value_{};
};

} // namespace platform
