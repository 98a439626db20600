// The child processes that run ffmpeg and yt-dlp.
#include "platform/ChildProcess.h"

#include <gtest/gtest.h>

#include <csignal>
#include <thread>

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

using namespace std::chrono_literals;
using Capture = ChildProcess::Capture;

// The two ways of capturing: stderr alone (ffmpeg), or stdout with stderr's tail
// kept apart (yt-dlp); neither gives the child any input.
TEST(ChildProcess, CapturesEachWayEndsAtItsDeadlineAndReportsLaunchFailures)
{
    ChildProcess child;
    // stdout is inherited: the captured text must not contain it.
    ASSERT_TRUE(child.start("/bin/bash", {"-c", "echo out >/dev/null; echo err >&2; read line; echo read=$? >&2; exit 3"},
                            Capture::StandardError));
    EXPECT_EQ(child.readAll(), "err\nread=1\n");
    EXPECT_EQ(child.wait().code, 3);
    EXPECT_EQ(child.wait().code, 3); // reaped once, remembered

    ChildProcess apart;
    ASSERT_TRUE(apart.start("/bin/bash", {"-c", "echo json; head -c 100000 /dev/zero | tr '\\0' x >&2; echo ERROR: why >&2; exit 1"},
                            Capture::StandardOutputKeepingErrors));
    EXPECT_EQ(apart.readAll(), "json\n");
    EXPECT_EQ(apart.wait().code, 1);
    EXPECT_EQ(apart.errorOutput().size(), 64 * 1024); // the tail only
    EXPECT_TRUE(apart.errorOutput().endsWith("xERROR: why\n"));

    ChildProcess stalled;
    stalled.setDeadline(std::chrono::steady_clock::now() + 300ms);
    ASSERT_TRUE(stalled.start("/bin/sleep", {"30"}, Capture::StandardOutputKeepingErrors));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(stalled.readAll().isEmpty());
    EXPECT_EQ(stalled.wait().signal, SIGTERM);
    EXPECT_TRUE(stalled.timedOut());
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);

    ChildProcess missing;
    EXPECT_FALSE(missing.start("/nonexistent/program", {}, Capture::StandardError));
    EXPECT_TRUE(missing.error().contains("/nonexistent/program")) << missing.error().toStdString();
    EXPECT_FALSE(missing.wait().started);

    // A program still open for writing (another child not yet past exec holds
    // it) is waited for a moment; one that stays so fails as busy.
    char dir[] = "/tmp/childprocess-XXXXXX";
    ASSERT_NE(::mkdtemp(dir), nullptr);
    const std::string program = std::string(dir) + "/busy";
    int writer = ::open(program.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0700);
    ASSERT_GE(writer, 0);
    ASSERT_EQ(::write(writer, "#!/bin/sh\necho ran\n", 19), 19);
    ChildProcess busy;
    EXPECT_FALSE(busy.start(QString::fromStdString(program), {}, Capture::StandardOutputKeepingErrors));
    EXPECT_TRUE(busy.error().contains("busy")) << busy.error().toStdString();
    std::thread release([writer] {
        std::this_thread::sleep_for(60ms);
        ::close(writer);
    });
    ChildProcess waited;
    const bool ran = waited.start(QString::fromStdString(program), {}, Capture::StandardOutputKeepingErrors);
    release.join();
    ASSERT_TRUE(ran) << waited.error().toStdString();
    EXPECT_EQ(waited.readAll(), "ran\n");
    ::unlink(program.c_str());
    ::rmdir(dir);

    ChildProcess early;
    early.terminate();
    EXPECT_FALSE(early.start("/bin/true", {}, Capture::StandardError));
}

// Each child is waited for on another thread, as the converter does, and
// terminated from this one.
TEST(Termination, EndsABlockedReadWhenWeBlockTheSignalAndKillsAChildThatIgnoresIt)
{
    ChildProcess polite, stubborn;
    stubborn.setKillDelay(300ms);
    // The child must not inherit a blocked SIGTERM from the thread that starts it.
    sigset_t term, old;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &term, &old);
    const bool started =
        polite.start("/bin/sleep", {"30"}, Capture::StandardError) &&
        stubborn.start("/bin/bash", {"-c", "trap '' TERM; while :; do sleep 0.05; done"}, Capture::StandardError);
    pthread_sigmask(SIG_SETMASK, &old, nullptr);
    ASSERT_TRUE(started);

    for (const auto& [which, signal] : {std::pair{&polite, SIGTERM}, {&stubborn, SIGKILL}}) {
        ChildProcess* child = which; // (clang captures no structured binding)
        ChildProcess::Exit exit;
        std::thread reader([&] {
            child->readAll();
            exit = child->wait();
        });
        std::this_thread::sleep_for(200ms);
        const auto start = std::chrono::steady_clock::now();
        child->terminate();
        reader.join();
        EXPECT_EQ(exit.signal, signal);
        EXPECT_GE(std::chrono::steady_clock::now() - start, signal == SIGKILL ? 300ms : 0ms);
    }
    EXPECT_TRUE(polite.terminateRequested());
    polite.terminate(); // after the reap: no signal goes anywhere

    // What the child started goes with it: a grandchild holding the pipe
    // does not keep the reader waiting, in the group or out of it.
    for (const char* script : {"sleep 5 & sleep 5", "setsid sleep 5 & sleep 5"}) {
        ChildProcess parent;
        parent.setKillDelay(200ms);
        parent.setDeadline(std::chrono::steady_clock::now() + 200ms);
        ASSERT_TRUE(parent.start("/bin/sh", {"-c", script}, Capture::StandardOutput));
        const auto start = std::chrono::steady_clock::now();
        parent.readAll();
        parent.wait();
        EXPECT_LT(std::chrono::steady_clock::now() - start, 5s) << script;
        EXPECT_TRUE(parent.timedOut());
    }
}
