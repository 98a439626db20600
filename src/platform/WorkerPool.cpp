#include "platform/WorkerPool.h"

#include <QThreadPool>

namespace platform {

void WorkerPool::run(std::function<void()> work)
{
    QThreadPool::globalInstance()->start(std::move(work));
}

void WorkerPool::waitForDone()
{
    QThreadPool::globalInstance()->waitForDone();
}

} // namespace platform
