#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

// An HTTP server on 127.0.0.1 at a port of the system's choosing that answers
// every request through a handler, each connection on its own thread, and
// records the requests. Replies close their connection.
class route_server {
public:
    struct request {
        std::string method;
        std::string target; // path and query as sent
        std::string head;   // request line and headers
        std::string body;
    };
    struct response {
        int status = 200;
        std::string body;
        std::vector<std::pair<std::string, std::string>> headers;
        std::chrono::milliseconds delay{0};
    };
    using handler = std::function<response(const request&)>;

    explicit route_server(handler h);
    ~route_server();
    route_server(const route_server&) = delete;
    route_server& operator=(const route_server&) = delete;

    unsigned short port() const { return port_; }
    // "http://127.0.0.1:PORT"
    std::string base() const;
    std::vector<request> requests() const;
    // Requests whose target starts with prefix.
    std::size_t count(const std::string& prefix) const;

private:
    void serve();
    void answer(int fd);

    handler handler_;
    int listener_ = -1;
    unsigned short port_ = 0;
    std::atomic<bool> stop_{false};
    mutable std::mutex mutex_;
    std::vector<request> requests_;
    std::vector<std::thread> connections_;
    std::thread thread_;
};
