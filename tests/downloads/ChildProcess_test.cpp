#include "downloads/ChildProcess.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <thread>

#include <pthread.h>

using namespace std::chrono_literals;
using Capture = ChildProcess::Capture;

TEST(ChildProcess, CapturesOneStreamAndGivesNoInput)
{
    ChildProcess child;
    // stdout is inherited: the captured text must not contain it.
    ASSERT_TRUE(child.start("/bin/bash", {"-c", "echo out >/dev/null; echo err >&2; read line; echo read=$? >&2"},
                            Capture::StandardError));
    EXPECT_EQ(child.readAll(), "err\nread=1\n");
    EXPECT_TRUE(child.wait().exited);

    ChildProcess out;
    ASSERT_TRUE(out.start("/bin/bash", {"-c", "printf abc; exit 3"}, Capture::StandardOutput));
    EXPECT_EQ(out.readAll(), "abc");
    EXPECT_EQ(out.wait().code, 3);
    EXPECT_EQ(out.wait().code, 3); // reaped once, remembered
}

// (A signal's end: the converter's failure reasons.)
TEST(ChildProcess, ReportsLaunchFailuresAndNeverRunsOnceTerminated)
{
    ChildProcess missing;
    EXPECT_FALSE(missing.start("/nonexistent/program", {}, Capture::StandardError));
    EXPECT_TRUE(missing.error().contains("/nonexistent/program")) << missing.error().toStdString();
    EXPECT_FALSE(missing.wait().started);

    ChildProcess early;
    early.terminate();
    EXPECT_FALSE(early.start("/bin/true", {}, Capture::StandardError));
    EXPECT_FALSE(early.wait().started);
}

namespace {

// Waits for the child on another thread, as the converter does, terminates it
// from this one, and says how long the end took.
std::chrono::milliseconds terminateWhileReading(ChildProcess& child, ChildProcess::Exit& exit)
{
    std::thread reader([&] {
        child.readAll();
        exit = child.wait();
    });
    std::this_thread::sleep_for(200ms);
    const auto start = std::chrono::steady_clock::now();
    child.terminate();
    reader.join();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
}

} // namespace

TEST(Termination, EndsABlockedReadEvenWhenWeBlockTheSignal)
{
    // The child must not inherit a blocked SIGTERM from the thread that starts it.
    sigset_t term, old;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &term, &old);
    ChildProcess child;
    const bool started = child.start("/bin/sleep", {"30"}, Capture::StandardError);
    pthread_sigmask(SIG_SETMASK, &old, nullptr);
    ASSERT_TRUE(started);

    ChildProcess::Exit exit;
    EXPECT_LT(terminateWhileReading(child, exit), 2s);
    EXPECT_EQ(exit.signal, SIGTERM);
    EXPECT_TRUE(child.terminateRequested());
    child.terminate(); // after the reap: no signal goes anywhere
}

TEST(Termination, KillsAChildThatIgnoresTheRequest)
{
    ChildProcess child;
    child.setKillDelay(300ms);
    ASSERT_TRUE(child.start("/bin/bash", {"-c", "trap '' TERM; while :; do sleep 0.05; done"}, Capture::StandardError));
    ChildProcess::Exit exit;
    const auto took = terminateWhileReading(child, exit);
    EXPECT_EQ(exit.signal, SIGKILL);
    EXPECT_GE(took, 300ms);
    EXPECT_LT(took, 3s);
}
