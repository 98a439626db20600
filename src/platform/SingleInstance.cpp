#include "platform/SingleInstance.h"

#include "platform/Log.h"

#include <QDir>
#include <QFile>
#include <QSocketNotifier>
#include <QStandardPaths>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace platform {

namespace {

constexpr int waitMilliseconds = 1000;
constexpr qsizetype longestLine = 4096;
const QByteArray taken = QByteArrayLiteral("ok\n");

// False when the path does not fit a socket address.
bool address(const QByteArray& path, sockaddr_un& into)
{
    std::memset(&into, 0, sizeof into);
    into.sun_family = AF_UNIX;
    if (path.isEmpty() || static_cast<std::size_t>(path.size()) >= sizeof into.sun_path)
        return false;
    std::memcpy(into.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
    return true;
}

// Waits at most the usual while for fd to be ready for events.
bool ready(int fd, short events)
{
    pollfd entry{fd, events, 0};
    int n;
    while ((n = ::poll(&entry, 1, waitMilliseconds)) < 0 && errno == EINTR) {
    }
    return n > 0;
}

bool writeAll(int fd, QByteArray bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t n = ::send(fd, bytes.constData(), static_cast<std::size_t>(bytes.size()), MSG_NOSIGNAL);
        if (n < 0 && (errno == EINTR || ((errno == EAGAIN || errno == EWOULDBLOCK) && ready(fd, POLLOUT))))
            continue;
        if (n <= 0)
            return false;
        bytes.remove(0, n);
    }
    return true;
}

} // namespace

SingleInstance::SingleInstance(const QString& name, QObject* parent) : QObject(parent)
{
    QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (folder.isEmpty())
        folder = QDir::tempPath();
    path_ = QDir(folder).filePath(name);
}

SingleInstance::~SingleInstance()
{
    if (server_ < 0)
        return;
    delete serverNotifier_;
    ::close(server_);
    ::unlink(QFile::encodeName(path_).constData());
}

bool SingleInstance::send(const QByteArray& message) const
{
    sockaddr_un to;
    if (!address(QFile::encodeName(path_), to))
        return false;
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return false;
    // A program that hangs holds the next start up for no longer than this,
    // connecting included.
    const timeval limit{waitMilliseconds / 1000, (waitMilliseconds % 1000) * 1000};
    ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    bool handed = false;
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0 && writeAll(fd, message + '\n')) {
        // Taken only when the other side said so: a program that is ending may
        // still accept a connection.
        QByteArray answer;
        char chunk[16];
        ssize_t n;
        while (!answer.contains('\n') && answer.size() < taken.size() &&
               ((n = ::recv(fd, chunk, sizeof chunk, 0)) > 0 || (n < 0 && errno == EINTR)))
            if (n > 0)
                answer.append(chunk, n);
        handed = answer == taken;
    }
    ::close(fd);
    return handed;
}

bool SingleInstance::handOver(const QByteArray& message)
{
    // Two programs started at once must not both find the socket unused. An
    // flock() goes with the process that held it, so a killed one leaves none.
    const QByteArray lockPath = QFile::encodeName(path_ + QStringLiteral(".lock"));
    const int lock = ::open(lockPath.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    for (int waited = 0; lock >= 0 && ::flock(lock, LOCK_EX | LOCK_NB) != 0 && waited < 5 * waitMilliseconds; waited += 10)
        ::usleep(10 * 1000);
    const bool handed = send(message);
    if (!handed && !listen())
        Log::line(QStringLiteral("Cannot listen for later starts at %1: %2").arg(path_, QString::fromLocal8Bit(std::strerror(errno))));
    if (lock >= 0)
        ::close(lock);
    return handed;
}

bool SingleInstance::listen()
{
    const QByteArray path = QFile::encodeName(path_);
    sockaddr_un at;
    if (!address(path, at)) {
        errno = ENAMETOOLONG;
        return false;
    }
    // Nobody answered on it: what is there is left by a program that died.
    ::unlink(path.constData());
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0)
        return false;
    // The user's alone, like the folder it is in.
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&at), sizeof at) != 0 || ::chmod(path.constData(), 0600) != 0 ||
        ::listen(fd, 8) != 0) {
        const int reason = errno;
        ::close(fd);
        errno = reason;
        return false;
    }
    server_ = fd;
    serverNotifier_ = new QSocketNotifier(fd, QSocketNotifier::Read, this);
    connect(serverNotifier_, &QSocketNotifier::activated, this, &SingleInstance::accept);
    return true;
}

void SingleInstance::accept()
{
    int connection;
    while ((connection = ::accept4(server_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK)) >= 0)
        receive(connection);
}

void SingleInstance::receive(int connection)
{
    struct Pending {
        explicit Pending(int socket) : fd(socket) {}
        Pending(const Pending&) = delete;
        Pending& operator=(const Pending&) = delete;
        ~Pending() { ::close(fd); }
        const int fd;
        QByteArray line;
    };
    // Closed with its notifier, which owns the handler below.
    const auto pending = std::make_shared<Pending>(connection);
    auto* notifier = new QSocketNotifier(connection, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this, notifier, pending] {
        char chunk[1024];
        const ssize_t n = ::recv(pending->fd, chunk, sizeof chunk, 0);
        if (n < 0 && (errno == EINTR || errno == EAGAIN))
            return;
        if (n > 0)
            pending->line.append(chunk, n);
        // A line, and nothing unreasonable: whoever connects gets no more than a line's worth.
        const qsizetype end = n > 0 ? pending->line.indexOf('\n') : -1;
        if (n > 0 && end < 0 && pending->line.size() <= longestLine)
            return;
        notifier->setEnabled(false);
        notifier->deleteLater();
        if (end < 0)
            return; // closed, failed or too long
        const QByteArray message = pending->line.left(std::min(end, longestLine)).trimmed();
        writeAll(pending->fd, taken);
        emit messageReceived(message);
    });
}

} // namespace platform
