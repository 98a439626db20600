#include "loopback.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace loopback {

int listen(unsigned short& port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = 0;
    socklen_t len = sizeof addr;
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 || ::listen(fd, 64) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len) != 0)
        throw std::runtime_error("cannot listen on 127.0.0.1");
    port = ntohs(addr.sin_port);
    return fd;
}

unsigned short closed_port()
{
    unsigned short port = 0;
    ::close(listen(port));
    return port;
}

bool wait_readable(int fd, int timeout_ms)
{
    pollfd p{fd, POLLIN, 0};
    return ::poll(&p, 1, timeout_ms) > 0;
}

std::string read_request(int fd, const std::atomic<bool>& stop)
{
    std::string request;
    std::size_t wanted = std::string::npos;
    char chunk[65536];
    while (!stop && request.size() < wanted) {
        if (!wait_readable(fd, 20))
            continue;
        const ssize_t n = ::recv(fd, chunk, sizeof chunk, 0);
        if (n <= 0)
            break;
        request.append(chunk, static_cast<std::size_t>(n));
        const auto head_end = request.find("\r\n\r\n");
        if (wanted == std::string::npos && head_end != std::string::npos) {
            std::size_t length = 0;
            for (const char* field : {"Content-Length: ", "content-length: "}) {
                const auto at = request.find(field);
                if (at != std::string::npos && at < head_end)
                    length = std::stoul(request.substr(at + 16));
            }
            wanted = head_end + 4 + length;
        }
    }
    return request;
}

bool send_all(int fd, std::string_view bytes, const std::atomic<bool>& stop)
{
    for (std::size_t sent = 0; sent < bytes.size();) {
        if (stop)
            return false;
        const ssize_t n = ::send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (n <= 0)
            return false;
        sent += static_cast<std::size_t>(n);
    }
    return true;
}

} // namespace loopback
