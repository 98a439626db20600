#pragma once

#include <QObject>
#include <QPointer>

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

// Carries work from any thread to one receiver on the interface thread: the
// work runs there later, and not at all when the receiver is gone by then.
// Made where the receiver lives (it is watched from then on); copied anywhere.
class Courier {
public:
    explicit Courier(const QObject* receiver) : receiver_(receiver) {}

    void post(std::function<void()> work) const
    {
        MainThread::post([receiver = receiver_, work = std::move(work)] {
            if (receiver)
                work();
        });
    }

private:
    QPointer<const QObject> receiver_;
};

} // namespace platform
