#include "service/Socket.h"

#include <boost/asio/error.hpp>

#include <cerrno>
#include <poll.h>
#include <sys/socket.h>

namespace service {

std::size_t Socket::receive(void* data, std::size_t size, boost::system::error_code& error)
{
    for (;;) {
        const ssize_t n = ::recv(fd_, data, size, 0);
        if (n > 0) {
            error = {};
            return static_cast<std::size_t>(n);
        }
        if (n == 0) {
            error = boost::asio::error::eof;
            return 0;
        }
        if (errno != EINTR) {
            error = boost::system::error_code(errno, boost::system::system_category());
            return 0;
        }
    }
}

std::size_t Socket::sendUpTo(std::string_view bytes)
{
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t n = ::send(fd_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            break;
        }
        sent += static_cast<std::size_t>(n);
    }
    return sent;
}

void Socket::drainUntilClosed(std::chrono::milliseconds timeout)
{
    const bool forever = timeout == std::chrono::milliseconds::max();
    const auto deadline = std::chrono::steady_clock::now() + (forever ? std::chrono::milliseconds(0) : timeout);
    char sink[16384];
    for (;;) {
        int wait = -1;
        if (!forever) {
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0)
                return;
            wait = static_cast<int>(left.count());
        }
        pollfd entry{fd_, POLLIN, 0};
        const int ready = ::poll(&entry, 1, wait);
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            return;
        const ssize_t n = ::recv(fd_, sink, sizeof sink, 0);
        if (n == 0 || (n < 0 && errno != EINTR))
            return;
    }
}

} // namespace service
