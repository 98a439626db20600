#include "platform/MainThread.h"

#include "platform/ThreadHandoff.h"

#include <QCoreApplication>
#include <QThread>

namespace platform {

void MainThread::post(std::function<void()> work)
{
    std::function<void()> task = [work = std::move(work)] {
        handoff::received();
        work();
    };
    handoff::sent();
    QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(task), Qt::QueuedConnection);
}

void MainThread::invokeAndWait(const std::function<void()>& work)
{
    if (isCurrent()) {
        work();
        return;
    }
    std::function<void()> task = [&work] {
        handoff::received();
        work();
        handoff::sent();
    };
    handoff::sent();
    QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(task), Qt::BlockingQueuedConnection);
    handoff::received();
}

bool MainThread::isCurrent()
{
    const QCoreApplication* app = QCoreApplication::instance();
    return app && QThread::currentThread() == app->thread();
}

} // namespace platform
