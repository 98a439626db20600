#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <atomic>
#include <chrono>
#include <mutex>
#include <optional>
#include <sys/types.h>

// One child process with one of its output streams on a pipe. Standard input
// reads /dev/null (the child never takes over our terminal); the other output
// stream is inherited, or kept apart (its last bytes) for the reason of a failure.
//
// One thread starts, reads and waits; terminate() may come from any thread at
// any time. The process is reaped only under the lock that terminate() takes, so
// a signal never reaches a pid the system may have handed to someone else.
class ChildProcess {
public:
    enum class Capture {
        StandardOutput,
        StandardError,
        // Standard output is read; standard error is kept apart, its tail in errorOutput().
        StandardOutputKeepingErrors
    };

    struct Exit {
        bool started = false;
        bool exited = false; // ended through exit(); else by a signal (or unknown)
        int code = -1;       // exit status when exited
        int signal = 0;      // terminating signal when not exited
    };

    ChildProcess();
    // A process still running when its handle goes is killed and reaped.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Launches program (a path, not looked up on PATH). False when it could
    // not be launched, or when terminate() came first; error() says why.
    bool start(const QString& program, const QStringList& arguments, Capture capture);
    QString error() const;

    // Blocks until output arrives and returns what is there; empty at the end
    // (with errors kept apart: once both streams have ended).
    QByteArray readChunk();
    QByteArray readAll();
    // The last bytes of standard error, with StandardOutputKeepingErrors.
    QByteArray errorOutput() const;

    // Waits for the process to end and reaps it; later calls return the same.
    Exit wait();

    // Asks the process to end (SIGTERM); one that has not ended killDelay after
    // the request, while its output is being read, gets SIGKILL. Before start()
    // it keeps the process from being launched.
    void terminate();
    bool terminateRequested() const;
    // Ends it at once (SIGKILL), as a crash or the system would: nothing of it runs on.
    void kill();
    void setKillDelay(std::chrono::milliseconds delay) { killDelay_ = delay; }
    // A process still running at this time, while its output is being read, is
    // terminated as above; timedOut() tells so afterwards.
    void setDeadline(std::chrono::steady_clock::time_point deadline) { deadline_ = deadline; }
    bool timedOut() const { return timedOut_; }

private:
    mutable std::mutex mutex_;
    pid_t pid_ = -1;
    bool started_ = false;
    bool reaped_ = false;
    bool terminateRequested_ = false;
    std::chrono::steady_clock::time_point terminateTime_;
    QString error_;
    Exit exit_;

    int readFd_ = -1;
    int errorFd_ = -1; // standard error kept apart; -1 when not, or at its end
    QByteArray errorTail_;
    std::optional<std::chrono::steady_clock::time_point> deadline_;
    std::atomic<bool> timedOut_{false};
    int wakeFd_ = -1; // eventfd: wakes a reader blocked in poll() when terminate() comes
    bool killed_ = false;
    std::chrono::milliseconds killDelay_{5000};
};
