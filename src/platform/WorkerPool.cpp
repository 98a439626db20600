#include "platform/WorkerPool.h"

#include "platform/ThreadHandoff.h"

#include <QThreadPool>

namespace platform {

void WorkerPool::run(std::function<void()> work)
{
    std::function<void()> task = [work = std::move(work)] {
        handoff::received();
        work();
    };
    handoff::sent();
    QThreadPool::globalInstance()->start(std::move(task));
}

void WorkerPool::waitForDone()
{
    QThreadPool::globalInstance()->waitForDone();
}

} // namespace platform
