#include "platform/MainThread.h"

#include <QCoreApplication>
#include <QEvent>
#include <QEventLoop>
#include <QThread>
#include <QTimer>

#include <deque>
#include <mutex>

namespace platform {

namespace {

// Runs the queued work on the main thread when its event arrives. The work
// travels through our own locked queue, not inside Qt's event, so that the
// hand-over is one every tool (ThreadSanitizer too) can see.
class Dispatcher : public QObject {
public:
    // Made on the main thread with the application object (see below).
    static Dispatcher& instance()
    {
        static Dispatcher* dispatcher = new Dispatcher(QCoreApplication::instance());
        return *dispatcher;
    }

    void post(std::function<void()> work)
    {
        auto* wake = new QEvent(eventType());
        {
            std::lock_guard lock(mutex_);
            pending_.push_back(std::move(work));
        }
        QCoreApplication::postEvent(this, wake);
    }

protected:
    bool event(QEvent* e) override
    {
        std::function<void()> work;
        {
            std::lock_guard lock(mutex_);
            if (e->type() != eventType())
                return QObject::event(e);
            work = std::move(pending_.front());
            pending_.pop_front();
        }
        work();
        return true;
    }

    // With the application object, after its workers have ended; the lock
    // orders what they posted last before the queue goes.
    ~Dispatcher() override
    {
        std::lock_guard lock(mutex_);
        pending_.clear();
    }

private:
    explicit Dispatcher(QObject* parent) : QObject(parent) {}

    static QEvent::Type eventType()
    {
        static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
        return type;
    }

    std::mutex mutex_;
    std::deque<std::function<void()>> pending_;
};

void makeDispatcher()
{
    Dispatcher::instance();
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(makeDispatcher)

void MainThread::post(std::function<void()> work)
{
    Dispatcher::instance().post(std::move(work));
}

bool MainThread::isCurrent()
{
    const QCoreApplication* app = QCoreApplication::instance();
    return app && QThread::currentThread() == app->thread();
}

void MainThread::runUntil(const std::function<bool()>& done)
{
    QTimer tick;
    tick.start(20);
    while (!done()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        // What an event loop of its own would have deleted on its way out.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

} // namespace platform
