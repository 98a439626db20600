#include "scripted_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int listen_on_loopback(unsigned short& port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = 0;
    socklen_t len = sizeof addr;
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 || ::listen(fd, 16) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len) != 0)
        throw std::runtime_error("scripted_server: cannot listen on 127.0.0.1");
    port = ntohs(addr.sin_port);
    return fd;
}

} // namespace

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

std::size_t scripted_server::connections() const
{
    std::lock_guard lock(mutex_);
    return requests_.size();
}

unsigned short scripted_server::closed_port()
{
    unsigned short port = 0;
    ::close(listen_on_loopback(port));
    return port;
}

bool scripted_server::wait_readable(int fd, int timeout_ms) const
{
    pollfd p{fd, POLLIN, 0};
    return ::poll(&p, 1, timeout_ms) > 0;
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
        handle(fd, replies_[std::min(next++, replies_.size() - 1)]);
        ::close(fd);
    }
}

void scripted_server::handle(int fd, const reply& r)
{
    // The request: its head, then as many body bytes as Content-Length says.
    std::string request;
    std::size_t wanted = std::string::npos;
    char chunk[65536];
    while (!stop_ && request.size() < wanted) {
        if (!wait_readable(fd, 20))
            continue;
        const ssize_t n = ::recv(fd, chunk, sizeof chunk, 0);
        if (n <= 0)
            break;
        request.append(chunk, static_cast<std::size_t>(n));
        const auto head_end = request.find("\r\n\r\n");
        if (wanted == std::string::npos && head_end != std::string::npos) {
            std::size_t length = 0;
            const auto field = request.find("Content-Length: ");
            if (field != std::string::npos && field < head_end)
                length = std::stoul(request.substr(field + 16));
            wanted = head_end + 4 + length;
        }
    }
    {
        std::lock_guard lock(mutex_);
        requests_.push_back(request);
    }

    for (auto waited = std::chrono::milliseconds(0); !stop_ && waited < r.delay;
         waited += std::chrono::milliseconds(10))
        std::this_thread::sleep_for(std::chrono::milliseconds(10));

    const std::string_view bytes = std::string_view(r.bytes).substr(0, r.stall_after);
    for (std::size_t sent = 0; sent < bytes.size() && !stop_;) {
        const ssize_t n = ::send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (n <= 0)
            return;
        sent += static_cast<std::size_t>(n);
    }

    if (r.stall_after != std::string::npos) {
        // Hold on until the client gives up.
        while (!stop_) {
            if (wait_readable(fd, 20) && ::recv(fd, chunk, sizeof chunk, 0) <= 0)
                return;
        }
    }
}
