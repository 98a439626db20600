#include "route_server.h"

#include "loopback.h"

#include <sys/socket.h>
#include <unistd.h>

route_server::route_server(handler h) : handler_(std::move(h))
{
    listener_ = loopback::listen(port_);
    thread_ = std::thread([this] { serve(); });
}

route_server::~route_server()
{
    stop_ = true;
    thread_.join();
    for (auto& connection : connections_)
        connection.join();
    ::close(listener_);
}

std::string route_server::base() const
{
    return "http://127.0.0.1:" + std::to_string(port_);
}

std::vector<route_server::request> route_server::requests() const
{
    std::lock_guard lock(mutex_);
    return requests_;
}

std::size_t route_server::count(const std::string& prefix) const
{
    std::lock_guard lock(mutex_);
    std::size_t n = 0;
    for (const auto& r : requests_)
        n += r.target.rfind(prefix, 0) == 0;
    return n;
}

void route_server::serve()
{
    while (!stop_) {
        if (!loopback::wait_readable(listener_, 20))
            continue;
        const int fd = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd >= 0)
            connections_.emplace_back([this, fd] {
                answer(fd);
                ::close(fd);
            });
    }
}

void route_server::answer(int fd)
{
    const std::string raw = loopback::read_request(fd, stop_);
    const auto head_end = raw.find("\r\n\r\n");
    if (head_end == std::string::npos)
        return;
    request r;
    r.head = raw.substr(0, head_end);
    r.body = raw.substr(head_end + 4);
    const auto first_blank = r.head.find(' ');
    const auto second_blank = r.head.find(' ', first_blank + 1);
    r.method = r.head.substr(0, first_blank);
    r.target = r.head.substr(first_blank + 1, second_blank - first_blank - 1);
    {
        std::lock_guard lock(mutex_);
        requests_.push_back(r);
    }

    const response reply = handler_(r);
    for (auto waited = std::chrono::milliseconds(0); !stop_ && waited < reply.delay;
         waited += std::chrono::milliseconds(10))
        std::this_thread::sleep_for(std::chrono::milliseconds(10));

    std::string bytes = "HTTP/1.1 " + std::to_string(reply.status) + " Status\r\nContent-Length: " +
                        std::to_string(reply.body.size()) + "\r\nConnection: close\r\n";
    for (const auto& [name, value] : reply.headers)
        bytes += name + ": " + value + "\r\n";
    bytes += "\r\n";
    bytes += reply.body;
    loopback::send_all(fd, bytes, stop_);
}
