#include "scripted_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// A listening socket on 127.0.0.1 at a port of the system's choosing; port receives it.
int listen_on_loopback(unsigned short& port)
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

bool wait_readable(int fd, int timeout_ms)
{
    pollfd p{fd, POLLIN, 0};
    return ::poll(&p, 1, timeout_ms) > 0;
}

// An HTTP request: its head, then as many body bytes as Content-Length says.
// Gives up when the peer closes or stop is set.
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

} // namespace

unsigned short scripted_server::closed_port()
{
    unsigned short port = 0;
    ::close(listen_on_loopback(port));
    return port;
}

scripted_server::scripted_server(std::vector<reply> replies) : replies_(std::move(replies))
{
    if (replies_.empty())
        replies_.push_back({});
    listener_ = listen_on_loopback(port_);
    thread_ = std::thread([this] { serve(); });
}

scripted_server::~scripted_server()
{
    stop_ = true;
    thread_.join();
    ::close(listener_);
}

std::string scripted_server::url(std::string_view path) const
{
    return "http://127.0.0.1:" + std::to_string(port_) + std::string(path);
}

std::vector<std::string> scripted_server::requests() const
{
    std::lock_guard lock(mutex_);
    return requests_;
}

void scripted_server::serve()
{
    std::size_t next = 0;
    while (!stop_) {
        if (!wait_readable(listener_, 20))
            continue;
        const int fd = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0)
            continue;
        // Small pieces go out as they are written, not gathered.
        const int one = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
        handle(fd, replies_[std::min(next++, replies_.size() - 1)]);
        ::close(fd);
    }
}

void scripted_server::handle(int fd, const reply& r)
{
    const std::string request = read_request(fd, stop_);
    {
        std::lock_guard lock(mutex_);
        requests_.push_back(request);
    }

    const std::string_view bytes = std::string_view(r.bytes).substr(0, r.stall_after);
    const std::size_t piece = r.chunk == 0 ? bytes.size() : r.chunk;
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
        if (!send_all(fd, bytes.substr(at, piece), stop_))
            return;
        if (r.pace.count() > 0)
            std::this_thread::sleep_for(r.pace);
    }

    if (r.stall_after != std::string::npos) {
        // Hold on until the client gives up.
        char chunk[4096];
        while (!stop_) {
            if (wait_readable(fd, 20) && ::recv(fd, chunk, sizeof chunk, 0) <= 0)
                return;
        }
    }
}
