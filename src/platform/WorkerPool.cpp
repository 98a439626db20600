#include "platform/WorkerPool.h"

#include <QThreadPool>

#include <algorithm>
#include <deque>
#include <mutex>

namespace platform {

namespace {

// The tasks travel through our own locked queue, not inside Qt's runnables, so
// that the hand-over is one every tool (ThreadSanitizer too) can see.
std::mutex mutex;
std::deque<std::function<void()>> pending;

void runOne()
{
    std::function<void()> task;
    {
        std::lock_guard lock(mutex);
        task = std::move(pending.front());
        pending.pop_front();
    }
    task();
}

} // namespace

void WorkerPool::run(std::function<void()> work)
{
    // The tasks mostly wait on the network, not on a processor: a pool sized to
    // the cores would let two slow servers hold up every other task.
    static const bool sized = [] {
        QThreadPool* pool = QThreadPool::globalInstance();
        pool->setMaxThreadCount(std::max(pool->maxThreadCount(), 16));
        return true;
    }();
    (void)sized;
    {
        std::lock_guard lock(mutex);
        pending.push_back(std::move(work));
    }
    QThreadPool::globalInstance()->start(&runOne);
}

void WorkerPool::waitForDone()
{
    QThreadPool::globalInstance()->waitForDone();
}

} // namespace platform
