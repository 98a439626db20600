#include "platform/MainThread.h"

#include <QCoreApplication>
#include <QThread>

namespace platform {

void MainThread::post(std::function<void()> work)
{
    QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(work), Qt::QueuedConnection);
}

void MainThread::invokeAndWait(const std::function<void()>& work)
{
    if (isCurrent())
        work();
    else
        QMetaObject::invokeMethod(QCoreApplication::instance(), work, Qt::BlockingQueuedConnection);
}

bool MainThread::isCurrent()
{
    const QCoreApplication* app = QCoreApplication::instance();
    return app && QThread::currentThread() == app->thread();
}

} // namespace platform
