#include "platform/ChildProcess.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

// What is kept of standard error: the reason of a failure is at its end.
constexpr qsizetype errorTailBytes = 64 * 1024;

// How long a busy program file is waited for: a few launches' worth.
constexpr int busyRetries = 10;
constexpr std::chrono::milliseconds busyPause{25};

QString errnoText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

// The child and whatever it started: it leads a process group of its own, and
// a grandchild left holding our pipe would keep its reader waiting.
void signalAll(pid_t pid, int sig)
{
    ::kill(-pid, sig);
    ::kill(pid, sig); // one that left its group
}

void closeFd(int& fd)
{
    if (fd >= 0)
        ::close(fd);
    fd = -1;
}

// RAII for the spawn attribute objects.
struct SpawnSetup {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    SpawnSetup()
    {
        posix_spawn_file_actions_init(&actions);
        posix_spawnattr_init(&attributes);
    }
    ~SpawnSetup()
    {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    SpawnSetup(const SpawnSetup&) = delete;
    SpawnSetup& operator=(const SpawnSetup&) = delete;
};

} // namespace

ChildProcess::ChildProcess() = default;

ChildProcess::~ChildProcess()
{
    {
        std::lock_guard lock(mutex_);
        if (started_ && !reaped_) {
            signalAll(pid_, SIGKILL);
            int status = 0;
            while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
            }
            reaped_ = true;
        }
    }
    closeFd(readFd_);
    closeFd(errorFd_);
    closeFd(wakeFd_);
}

bool ChildProcess::start(const QString& program, const QStringList& arguments, Capture capture)
{
    std::lock_guard lock(mutex_);
    if (started_ || !error_.isEmpty()) {
        error_ = QStringLiteral("process already started");
        return false;
    }
    if (terminateRequested_) {
        error_ = QStringLiteral("cancelled before start");
        return false;
    }

    // Close-on-exec on our ends, so that a child another thread launches at the
    // same time cannot hold this pipe open (its reader would never see the end).
    int pipeFds[2];
    if (::pipe2(pipeFds, O_CLOEXEC) != 0) {
        error_ = QStringLiteral("cannot create a pipe: %1").arg(errnoText(errno));
        return false;
    }
    int errorFds[2] = {-1, -1};
    if (capture == Capture::StandardOutputKeepingErrors && ::pipe2(errorFds, O_CLOEXEC) != 0) {
        error_ = QStringLiteral("cannot create a pipe: %1").arg(errnoText(errno));
        ::close(pipeFds[0]);
        ::close(pipeFds[1]);
        return false;
    }
    wakeFd_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeFd_ < 0) {
        error_ = QStringLiteral("cannot create an eventfd: %1").arg(errnoText(errno));
        for (int fd : {pipeFds[0], pipeFds[1], errorFds[0], errorFds[1]})
            if (fd >= 0)
                ::close(fd);
        return false;
    }

    SpawnSetup setup;
    const int target = capture == Capture::StandardError ? STDERR_FILENO : STDOUT_FILENO;
    posix_spawn_file_actions_addopen(&setup.actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&setup.actions, pipeFds[1], target);
    if (errorFds[1] >= 0)
        posix_spawn_file_actions_adddup2(&setup.actions, errorFds[1], STDERR_FILENO);

    // The child must be able to receive the termination request whatever this
    // process blocks or ignores.
    sigset_t mask;
    sigemptyset(&mask);
    posix_spawnattr_setsigmask(&setup.attributes, &mask);
    sigset_t defaults;
    sigemptyset(&defaults);
    for (int sig : {SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGPIPE, SIGCHLD})
        sigaddset(&defaults, sig);
    posix_spawnattr_setsigdefault(&setup.attributes, &defaults);
    // A group of its own, so that ending it ends what it started too.
    posix_spawnattr_setpgroup(&setup.attributes, 0);
    posix_spawnattr_setflags(&setup.attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);

    const QByteArray path = QFile::encodeName(program);
    std::vector<QByteArray> storage;
    storage.reserve(static_cast<size_t>(arguments.size()) + 1);
    storage.push_back(path);
    for (const QString& argument : arguments)
        storage.push_back(argument.toLocal8Bit());
    std::vector<char*> argv;
    for (QByteArray& item : storage)
        argv.push_back(item.data());
    argv.push_back(nullptr);

    // "Text file busy": a program that was just written (a fresh yt-dlp, or one
    // updating itself) can still be open for writing in a child another thread
    // is launching at this moment; that child lets go when it execs.
    pid_t pid = -1;
    int rc = ETXTBSY;
    for (int attempt = 0; rc == ETXTBSY && attempt < busyRetries; ++attempt) {
        if (attempt > 0)
            std::this_thread::sleep_for(busyPause);
        rc = ::posix_spawn(&pid, path.constData(), &setup.actions, &setup.attributes, argv.data(), environ);
    }
    ::close(pipeFds[1]);
    if (errorFds[1] >= 0)
        ::close(errorFds[1]);
    if (rc != 0) {
        ::close(pipeFds[0]);
        if (errorFds[0] >= 0)
            ::close(errorFds[0]);
        error_ = QStringLiteral("cannot run %1: %2").arg(program, errnoText(rc));
        return false;
    }
    pid_ = pid;
    readFd_ = pipeFds[0];
    errorFd_ = errorFds[0];
    started_ = true;
    exit_.started = true;
    return true;
}

QString ChildProcess::error() const
{
    std::lock_guard lock(mutex_);
    return error_;
}

QByteArray ChildProcess::readChunk()
{
    for (;;) {
        if (readFd_ < 0 && errorFd_ < 0)
            return {};
        int timeout = -1;
        {
            std::lock_guard lock(mutex_);
            const auto now = std::chrono::steady_clock::now();
            if (deadline_ && !terminateRequested_ && now >= *deadline_) {
                timedOut_ = true;
                terminateRequested_ = true;
                terminateTime_ = now;
                if (!reaped_)
                    signalAll(pid_, SIGTERM);
            }
            const auto until = [&now](std::chrono::steady_clock::time_point when) {
                return static_cast<int>(
                    std::max<long long>(0, std::chrono::duration_cast<std::chrono::milliseconds>(when - now).count() + 1));
            };
            if (terminateRequested_ && !killed_) {
                if (now >= terminateTime_ + killDelay_) {
                    killed_ = true;
                    if (!reaped_)
                        signalAll(pid_, SIGKILL);
                } else {
                    timeout = until(terminateTime_ + killDelay_);
                }
            }
            if (killed_) {
                // Killed, and still someone holds the pipe (one that left the
                // group): the output is over all the same.
                const auto giveUp = terminateTime_ + 2 * killDelay_ + std::chrono::milliseconds(100);
                if (now >= giveUp) {
                    closeFd(readFd_);
                    closeFd(errorFd_);
                    return {};
                }
                timeout = until(giveUp);
            } else if (deadline_ && !terminateRequested_) {
                timeout = until(*deadline_);
            }
        }
        pollfd fds[3] = {{readFd_, POLLIN, 0}, {errorFd_, POLLIN, 0}, {wakeFd_, POLLIN, 0}};
        const int ready = ::poll(fds, 3, timeout);
        if (ready < 0) {
            if (errno == EINTR)
                continue;
            return {};
        }
        if (fds[2].revents & POLLIN) {
            eventfd_t ignored;
            eventfd_read(wakeFd_, &ignored);
        }
        if (fds[1].revents & (POLLIN | POLLHUP | POLLERR)) {
            char chunk[16 * 1024];
            ssize_t n;
            do {
                n = ::read(errorFd_, chunk, sizeof chunk);
            } while (n < 0 && errno == EINTR);
            std::lock_guard lock(mutex_);
            if (n <= 0) {
                closeFd(errorFd_);
            } else {
                errorTail_.append(chunk, n);
                if (errorTail_.size() > errorTailBytes)
                    errorTail_.remove(0, errorTail_.size() - errorTailBytes);
            }
        }
        if (fds[0].revents & (POLLIN | POLLHUP | POLLERR)) {
            QByteArray chunk(64 * 1024, Qt::Uninitialized);
            ssize_t n;
            do {
                n = ::read(readFd_, chunk.data(), static_cast<size_t>(chunk.size()));
            } while (n < 0 && errno == EINTR);
            if (n <= 0) {
                // The end of the output; what is still to come on standard error is read above.
                closeFd(readFd_);
                continue;
            }
            chunk.truncate(n);
            return chunk;
        }
    }
}

QByteArray ChildProcess::errorOutput() const
{
    std::lock_guard lock(mutex_);
    return errorTail_;
}

QByteArray ChildProcess::readAll()
{
    QByteArray all;
    for (QByteArray chunk = readChunk(); !chunk.isEmpty(); chunk = readChunk())
        all += chunk;
    return all;
}

ChildProcess::Exit ChildProcess::wait()
{
    {
        std::lock_guard lock(mutex_);
        if (!started_ || reaped_)
            return exit_;
    }
    // Wait without reaping: until the reap below, the pid stays this child's
    // (a zombie at worst), so terminate() can signal it safely.
    siginfo_t info{};
    while (::waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOWAIT) < 0 && errno == EINTR) {
    }

    std::lock_guard lock(mutex_);
    int status = 0;
    pid_t rc;
    do {
        rc = ::waitpid(pid_, &status, 0);
    } while (rc < 0 && errno == EINTR);
    reaped_ = true;
    if (rc == pid_) {
        if (WIFEXITED(status)) {
            exit_.exited = true;
            exit_.code = WEXITSTATUS(status);
        } else if (WIFSIGNALED(status)) {
            exit_.signal = WTERMSIG(status);
        }
    }
    // Else someone else reaped it (SIGCHLD ignored): the status is unknown.
    return exit_;
}

void ChildProcess::terminate()
{
    std::lock_guard lock(mutex_);
    if (terminateRequested_)
        return;
    terminateRequested_ = true;
    terminateTime_ = std::chrono::steady_clock::now();
    if (started_ && !reaped_) {
        signalAll(pid_, SIGTERM);
        eventfd_write(wakeFd_, 1);
    }
}

void ChildProcess::kill()
{
    std::lock_guard lock(mutex_);
    if (started_ && !reaped_)
        signalAll(pid_, SIGKILL);
}

bool ChildProcess::terminateRequested() const
{
    std::lock_guard lock(mutex_);
    return terminateRequested_;
}
