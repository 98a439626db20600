#include "downloads/ChildProcess.h"

#include <QFile>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

QString errnoText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
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
            ::kill(pid_, SIGKILL);
            int status = 0;
            while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
            }
            reaped_ = true;
        }
    }
    closeFd(readFd_);
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
    wakeFd_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeFd_ < 0) {
        error_ = QStringLiteral("cannot create an eventfd: %1").arg(errnoText(errno));
        ::close(pipeFds[0]);
        ::close(pipeFds[1]);
        return false;
    }

    SpawnSetup setup;
    const int target = capture == Capture::StandardError ? STDERR_FILENO : STDOUT_FILENO;
    posix_spawn_file_actions_addopen(&setup.actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&setup.actions, pipeFds[1], target);

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
    posix_spawnattr_setflags(&setup.attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

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

    pid_t pid = -1;
    const int rc = ::posix_spawn(&pid, path.constData(), &setup.actions, &setup.attributes, argv.data(), environ);
    ::close(pipeFds[1]);
    if (rc != 0) {
        ::close(pipeFds[0]);
        error_ = QStringLiteral("cannot run %1: %2").arg(program, errnoText(rc));
        return false;
    }
    pid_ = pid;
    readFd_ = pipeFds[0];
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
    if (readFd_ < 0)
        return {};
    for (;;) {
        int timeout = -1;
        {
            std::lock_guard lock(mutex_);
            if (terminateRequested_ && !killed_) {
                const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                    terminateTime_ + killDelay_ - std::chrono::steady_clock::now());
                if (left.count() <= 0) {
                    killed_ = true;
                    if (!reaped_)
                        ::kill(pid_, SIGKILL);
                } else {
                    timeout = static_cast<int>(left.count());
                }
            }
        }
        pollfd fds[2] = {{readFd_, POLLIN, 0}, {wakeFd_, POLLIN, 0}};
        const int ready = ::poll(fds, 2, timeout);
        if (ready < 0) {
            if (errno == EINTR)
                continue;
            return {};
        }
        if (fds[1].revents & POLLIN) {
            eventfd_t ignored;
            eventfd_read(wakeFd_, &ignored);
        }
        if (fds[0].revents & (POLLIN | POLLHUP | POLLERR)) {
            QByteArray chunk(64 * 1024, Qt::Uninitialized);
            ssize_t n;
            do {
                n = ::read(readFd_, chunk.data(), static_cast<size_t>(chunk.size()));
            } while (n < 0 && errno == EINTR);
            if (n <= 0)
                return {};
            chunk.truncate(n);
            return chunk;
        }
    }
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
        ::kill(pid_, SIGTERM);
        eventfd_write(wakeFd_, 1);
    }
}

bool ChildProcess::terminateRequested() const
{
    std::lock_guard lock(mutex_);
    return terminateRequested_;
}
