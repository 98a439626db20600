#include "scripted_server.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

scripted_server::scripted_server(std::vector<reply> replies) : replies_(std::move(replies))
{
    if (replies_.empty())
        replies_.push_back({});
    listener_ = loopback::listen(port_);
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

void scripted_server::serve()
{
    std::size_t next = 0;
    while (!stop_) {
        if (!loopback::wait_readable(listener_, 20))
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
    const std::string request = loopback::read_request(fd, stop_);
    {
        std::lock_guard lock(mutex_);
        requests_.push_back(request);
    }

    const std::string_view bytes = std::string_view(r.bytes).substr(0, r.stall_after);
    const std::size_t piece = r.chunk == 0 ? bytes.size() : r.chunk;
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
        if (!loopback::send_all(fd, bytes.substr(at, piece), stop_))
            return;
        if (r.pace.count() > 0)
            std::this_thread::sleep_for(r.pace);
    }

    if (r.stall_after != std::string::npos) {
        // Hold on until the client gives up.
        char chunk[4096];
        while (!stop_) {
            if (loopback::wait_readable(fd, 20) && ::recv(fd, chunk, sizeof chunk, 0) <= 0)
                return;
        }
    }
}
