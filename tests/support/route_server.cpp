#include "route_server.h"

route_server::route_server(handler h) : handler_(std::move(h))
{
    server_.start([this](const service::HttpRequest& in) {
        const request r{in.method, in.target, in.body};
        {
            std::lock_guard lock(mutex_);
            requests_.push_back(r);
        }
        const response reply = handler_(r);
        service::HttpResponse out = service::HttpResponse::text(reply.status, reply.body);
        out.headers = reply.headers;
        out.delay = reply.delay;
        if (reply.stall)
            out.delivery = service::Delivery::stall;
        return out;
    });
}

route_server::~route_server() = default;

std::string route_server::base() const
{
    return server_.base();
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
