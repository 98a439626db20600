#include "downloads/ChildProcess.h"
#include "downloads/Utils.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <thread>

#include <pthread.h>

using namespace std::chrono_literals;
using Capture = ChildProcess::Capture;

namespace {

QStringList shell(const QString& script)
{
    return {"-c", script};
}

} // namespace

TEST(ChildProcess, CapturesOneStreamAndGivesNoInput)
{
    ChildProcess child;
    // stdout is inherited: the captured text must not contain it.
    ASSERT_TRUE(child.start("/bin/bash", shell("echo to-stdout >/dev/null; echo err >&2; read line; echo read=$? >&2"),
                            Capture::StandardError));
    EXPECT_EQ(child.readAll(), "err\nread=1\n");
    const ChildProcess::Exit exit = child.wait();
    EXPECT_TRUE(exit.exited);
    EXPECT_EQ(exit.code, 0);

    ChildProcess out;
    ASSERT_TRUE(out.start("/bin/bash", shell("printf abc; exit 3"), Capture::StandardOutput));
    EXPECT_EQ(out.readAll(), "abc");
    EXPECT_EQ(out.wait().code, 3);
    EXPECT_EQ(out.wait().code, 3); // reaped once, remembered
}

TEST(ChildProcess, ReportsLaunchFailuresAndSignals)
{
    ChildProcess missing;
    EXPECT_FALSE(missing.start("/nonexistent/program", {}, Capture::StandardError));
    EXPECT_TRUE(missing.error().contains("/nonexistent/program")) << missing.error().toStdString();
    EXPECT_FALSE(missing.wait().started);
    EXPECT_TRUE(missing.readChunk().isEmpty());

    ChildProcess killed;
    ASSERT_TRUE(killed.start("/bin/bash", shell("kill -SEGV $$"), Capture::StandardError));
    killed.readAll();
    const ChildProcess::Exit exit = killed.wait();
    EXPECT_FALSE(exit.exited);
    EXPECT_EQ(exit.signal, SIGSEGV);
}

class Termination : public ::testing::Test {
protected:
    // Waits for the child on another thread, as the converter does, and
    // terminates it from this one.
    ChildProcess::Exit terminateWhileReading(ChildProcess& child, std::chrono::milliseconds* took)
    {
        ChildProcess::Exit exit;
        std::thread reader([&] {
            child.readAll();
            exit = child.wait();
        });
        std::this_thread::sleep_for(200ms);
        const auto start = std::chrono::steady_clock::now();
        child.terminate();
        reader.join();
        *took = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
        return exit;
    }
};

TEST_F(Termination, EndsABlockedReadEvenWhenWeBlockTheSignal)
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

    std::chrono::milliseconds took{};
    const ChildProcess::Exit exit = terminateWhileReading(child, &took);
    EXPECT_EQ(exit.signal, SIGTERM);
    EXPECT_LT(took, 2s);
    EXPECT_TRUE(child.terminateRequested());
    child.terminate(); // after the reap: no signal goes anywhere
}

TEST_F(Termination, KillsAChildThatIgnoresTheRequest)
{
    ChildProcess child;
    child.setKillDelay(300ms);
    ASSERT_TRUE(child.start("/bin/bash", shell("trap '' TERM; echo ready >&2; while :; do sleep 0.05; done"),
                            Capture::StandardError));
    std::chrono::milliseconds took{};
    const ChildProcess::Exit exit = terminateWhileReading(child, &took);
    EXPECT_EQ(exit.signal, SIGKILL);
    EXPECT_GE(took, 300ms);
    EXPECT_LT(took, 3s);
}

TEST_F(Termination, BeforeStartKeepsTheProcessFromRunning)
{
    ChildProcess child;
    child.terminate();
    EXPECT_FALSE(child.start("/bin/true", {}, Capture::StandardError));
    EXPECT_FALSE(child.wait().started);
}

TEST(CommandRunner, ReturnsStandardOutputAsUtf8)
{
    EXPECT_EQ(Utils::DoCmdWithResult("printf 'a\\nb'; echo ignored >&2; exit 4"), "a\nb");
    EXPECT_EQ(Utils::DoCmdWithResult("printf 'Gr\\xc3\\xbc\\xc3\\x9fe'"), QString::fromUtf8("Grüße"));
    EXPECT_EQ(Utils::DoCmdWithResult("true"), QString(""));
    EXPECT_EQ(Utils::DoCmdWithResult("printf '\\xff\\xfe'"), std::nullopt);
    // More than a pipe holds: read while it runs, never stuck.
    const std::optional<QString> big = Utils::DoCmdWithResult("head -c 300000 /dev/zero | tr '\\0' x");
    ASSERT_TRUE(big.has_value());
    EXPECT_EQ(big->size(), 300000);
}
