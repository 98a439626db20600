#pragma once

#include "service/HttpServer.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

// The service's HTTP server on 127.0.0.1 at a port of the system's choosing,
// answering every request through a handler and recording the requests.
class route_server {
public:
    struct request {
        std::string method;
        std::string target; // path and query as sent
        std::string body;
    };
    struct response {
        int status = 200;
        std::string body;
        std::vector<std::pair<std::string, std::string>> headers{};
        // Half the body, then the connection held until the client gives up.
        bool stall = false;
    };
    using handler = std::function<response(const request&)>;

    explicit route_server(handler h) : handler_(std::move(h))
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
            if (reply.stall)
                out.delivery = service::Delivery::stall;
            return out;
        });
    }
    route_server(const route_server&) = delete;
    route_server& operator=(const route_server&) = delete;

    // "http://127.0.0.1:PORT"
    std::string base() const { return server_.base(); }
    std::vector<request> requests() const
    {
        std::lock_guard lock(mutex_);
        return requests_;
    }
    // Requests whose target starts with prefix.
    std::size_t count(const std::string& prefix) const
    {
        std::lock_guard lock(mutex_);
        return std::count_if(requests_.begin(), requests_.end(),
                             [&](const request& r) { return r.target.starts_with(prefix); });
    }
    // Connections not yet closed, by either side.
    std::size_t open_connections() const { return server_.openConnections(); }

private:
    handler handler_;
    mutable std::mutex mutex_;
    std::vector<request> requests_;
    service::HttpServer server_{0};
};
