// An event bound to a context: delivered on the context's thread, at once when
// fired there; dropped once the context is gone, the event reset, or a sender
// it keeps no more; a shared sender kept alive until its call.
#include "platform/Event.h"

#include <QCoreApplication>
#include <QObject>
#include <QTest>
#include <QThread>
#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace {

struct Producer : std::enable_shared_from_this<Producer> {
    platform::Event<Producer&, int, const QString&> changed;
    int state = 0;
};

bool onInterfaceThread()
{
    return QThread::currentThread() == QCoreApplication::instance()->thread();
}

// Fires from a thread of its own, and waits for it.
void fireElsewhere(const std::function<void()>& fire)
{
    std::thread(fire).join();
}

} // namespace

TEST(ContextEvent, DeliveredOnTheContextsThreadAndAtOnceWhenFiredThere)
{
    auto producer = std::make_shared<Producer>();
    QObject context;
    std::vector<std::pair<int, QString>> seen;
    bool alwaysHere = true;
    producer->changed.set(&context, [&](Producer& p, int n, const QString& text) {
        alwaysHere = alwaysHere && onInterfaceThread();
        seen.emplace_back(n + p.state, text);
    });
    producer->changed(*producer, 1, "here");
    EXPECT_EQ(seen.size(), 1u); // at once
    fireElsewhere([&] { producer->changed(*producer, 2, "there"); });
    EXPECT_EQ(seen.size(), 1u); // queued
    // The sender stays while its call waits.
    const std::weak_ptr<Producer> weak = producer;
    producer.reset();
    ASSERT_TRUE(QTest::qWaitFor([&] { return seen.size() == 2; }, 5000));
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(seen, (std::vector<std::pair<int, QString>>{{1, "here"}, {2, "there"}}));
    EXPECT_TRUE(alwaysHere);
}

TEST(ContextEvent, NoCallOnceTheContextIsGoneOrTheEventResetOrSetAnew)
{
    const auto producer = std::make_shared<Producer>();
    int calls = 0;
    const auto count = [&calls](Producer&, int, const QString&) { ++calls; };

    auto context = std::make_unique<QObject>();
    producer->changed.set(context.get(), count);
    fireElsewhere([&] { producer->changed(*producer, 1, "a"); });
    context.reset();
    producer->changed(*producer, 2, "b"); // here, with the context gone
    QObject other;
    producer->changed.set(&other, count);
    fireElsewhere([&] { producer->changed(*producer, 3, "c"); });
    producer->changed.reset();
    fireElsewhere([&] { producer->changed(*producer, 4, "d"); });
    producer->changed.set(&other, count);
    fireElsewhere([&] { producer->changed(*producer, 5, "e"); });
    producer->changed.set(&other, count); // set anew: the call of 5 is dropped too
    fireElsewhere([&] { producer->changed(*producer, 6, "f"); });
    ASSERT_TRUE(QTest::qWaitFor([&] { return calls == 1; }, 5000));
    QCoreApplication::processEvents();
    EXPECT_EQ(calls, 1); // only 6

    // A watched QObject sender gone before its call: dropped.
    platform::Event<QObject&> fromObject;
    auto sender = std::make_unique<QObject>();
    fromObject.set(&other, [&calls](QObject&) { ++calls; });
    fireElsewhere([&] { fromObject(*sender); });
    sender.reset();
    QCoreApplication::processEvents();
    EXPECT_EQ(calls, 1);
}
