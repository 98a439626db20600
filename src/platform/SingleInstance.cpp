#include "platform/SingleInstance.h"

#include "platform/Log.h"

#include <QDir>
#include <QLocalSocket>
#include <QFile>
#include <QStandardPaths>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace platform {

namespace {

constexpr int waitMilliseconds = 1000;
const QByteArray taken = QByteArrayLiteral("ok\n");

} // namespace

SingleInstance::SingleInstance(const QString& name, QObject* parent) : QObject(parent)
{
    QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (folder.isEmpty())
        folder = QDir::tempPath();
    path_ = QDir(folder).filePath(name);
    server_.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&server_, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = server_.nextPendingConnection())
            receive(socket);
    });
}

bool SingleInstance::send(const QByteArray& message) const
{
    QLocalSocket socket;
    socket.connectToServer(path_);
    if (!socket.waitForConnected(waitMilliseconds))
        return false;
    socket.write(message + '\n');
    socket.flush();
    // Taken only when the other side said so: a program that is ending may
    // still accept a connection.
    while (!socket.canReadLine() && socket.waitForReadyRead(waitMilliseconds)) {
    }
    return socket.canReadLine() && socket.readLine() == taken;
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
    if (!handed) {
        QLocalServer::removeServer(path_);
        if (!server_.listen(path_))
            Log::line(QStringLiteral("Cannot listen for later starts at %1: %2").arg(path_, server_.errorString()));
    }
    if (lock >= 0)
        ::close(lock);
    return handed;
}

void SingleInstance::receive(QLocalSocket* socket)
{
    connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
        // A line, and nothing unreasonable: whoever connects gets no more than a line's worth.
        if (!socket->canReadLine()) {
            if (socket->bytesAvailable() > 4096)
                socket->abort();
            return;
        }
        const QByteArray message = socket->readLine(4096).trimmed();
        socket->write(taken);
        socket->flush();
        emit messageReceived(message);
    });
}

} // namespace platform
