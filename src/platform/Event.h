#pragma once

#include "platform/MainThread.h"

#include <QObject>
#include <QPointer>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <tuple>
#include <type_traits>
#include <utility>

namespace platform {

namespace detail {

template <typename T>
concept SharedObject = requires(T& t)
{
    t.weak_from_this();
};

template <typename A>
constexpr bool isShared = std::is_lvalue_reference_v<A>&& SharedObject<std::remove_cvref_t<A>>;
template <typename A>
constexpr bool isWatched =
    std::is_lvalue_reference_v<A> && !isShared<A> && std::is_base_of_v<QObject, std::remove_cvref_t<A>>;
template <typename A>
constexpr bool isCarriable = isShared<A> || isWatched<A> || std::is_copy_constructible_v<std::decay_t<A>>;

template <typename A, bool = isShared<A>, bool = isWatched<A>>
struct HeldOf {
    using type = std::decay_t<A>;
};
template <typename A, bool watched>
struct HeldOf<A, true, watched> {
    using type = decltype(std::declval<std::remove_cvref_t<A>&>().weak_from_this().lock());
};
template <typename A>
struct HeldOf<A, false, true> {
    using type = QPointer<std::remove_reference_t<A>>;
};

// How one argument of an event travels to a handler on another thread: a
// sender kept alive while the call waits (one of a shared object), or watched
// (a QObject: the call is dropped once it is gone), anything else copied.
template <typename A>
class Carried {
    using T = std::remove_cvref_t<A>;
    static constexpr bool shared = isShared<A>;
    static constexpr bool watched = isWatched<A>;
    using Held = typename HeldOf<A>::type;

public:
    explicit Carried(A a) : held_(hold(std::forward<A>(a))) {}

    bool isThere() const
    {
        if constexpr (shared || watched)
            return static_cast<bool>(held_);
        else
            return true;
    }
    A get()
    {
        if constexpr (shared)
            return static_cast<A>(static_cast<T&>(*held_));
        else if constexpr (watched)
            return static_cast<A>(*held_.data());
        else
            return static_cast<A>(held_);
    }

private:
    static Held hold(A a)
    {
        if constexpr (shared)
            return a.weak_from_this().lock();
        else if constexpr (watched)
            return Held(&a);
        else
            return Held(std::forward<A>(a));
    }

    Held held_;
};

// Where a context-bound handler is delivered, and whether it still is.
struct Binding {
    QPointer<const QObject> context;
    std::atomic<bool> current{true}; // not reset, not set anew, the event not gone
};

} // namespace detail

// One event of a producer and the receiver's handler. Set plainly, the handler
// runs on the producer's thread, at once. Set with a context (a QObject of the
// interface thread), it runs on the context's thread: at once when the event
// is fired there, else queued; a queued call is dropped when the context is
// gone by then, or the event was reset or set anew on that thread since, or an
// argument it watches is gone. Firing an event that nobody set does nothing.
template <typename... Args>
class Event {
public:
    using Handler = std::function<void(Args...)>;

    Event() = default;
    ~Event() { unbind(); }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    void set(Handler handler)
    {
        std::lock_guard lock(mutex_);
        unbindLocked();
        handler_ = std::move(handler);
    }
    // context must live on the interface thread, and outlive nothing here:
    // the event only watches it.
    void set(const QObject* context, Handler handler)
    {
        static_assert(carriable, "an argument that can neither be shared, watched nor copied cannot travel");
        auto binding = std::make_shared<detail::Binding>();
        binding->context = context;
        std::lock_guard lock(mutex_);
        unbindLocked();
        handler_ = std::move(handler);
        binding_ = std::move(binding);
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
        std::shared_ptr<detail::Binding> binding;
        {
            std::lock_guard lock(mutex_);
            handler = handler_;
            binding = binding_;
        }
        if (!handler)
            return;
        if (!binding) {
            handler(std::forward<Args>(args)...);
            return;
        }
        if (MainThread::isCurrent()) {
            if (binding->current && binding->context)
                handler(std::forward<Args>(args)...);
            return;
        }
        if constexpr (carriable)
            post(std::move(handler), std::move(binding), std::forward<Args>(args)...);
    }

private:
    static constexpr bool carriable = (detail::isCarriable<Args> && ...);

    static void post(Handler handler, std::shared_ptr<detail::Binding> binding, Args... args)
    {
        auto carried = std::make_shared<std::tuple<detail::Carried<Args>...>>(std::forward<Args>(args)...);
        MainThread::post([handler = std::move(handler), binding = std::move(binding), carried = std::move(carried)] {
            if (!binding->current || !binding->context)
                return;
            std::apply(
                [&handler](auto&... each) {
                    if ((each.isThere() && ...))
                        handler(each.get()...);
                },
                *carried);
        });
    }

    void unbind()
    {
        std::lock_guard lock(mutex_);
        unbindLocked();
    }
    void unbindLocked()
    {
        if (binding_)
            binding_->current = false;
        binding_.reset();
    }

    mutable std::mutex mutex_;
    Handler handler_;
    std::shared_ptr<detail::Binding> binding_;
};

} // namespace platform
