#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

// A TCP server on 127.0.0.1 at a port of the system's choosing. Each connection
// gets the next scripted reply (the last one again once the script runs out), and
// the request bytes of each are recorded. Connections are served one at a time.
class scripted_server {
public:
    struct reply {
        std::string bytes;
        // Send only this many bytes, then hold the connection open until the
        // client closes it or the server stops.
        std::size_t stall_after = std::string::npos;
        // Sent in pieces of this many bytes with a pause after each (0: at once).
        std::size_t chunk = 0;
        std::chrono::milliseconds pace{0};
    };

    explicit scripted_server(std::vector<reply> replies);
    explicit scripted_server(std::string bytes) : scripted_server(std::vector<reply>{{std::move(bytes)}}) {}
    ~scripted_server();
    scripted_server(const scripted_server&) = delete;
    scripted_server& operator=(const scripted_server&) = delete;

    unsigned short port() const { return port_; }
    std::string url(std::string_view path = "/") const;

    std::vector<std::string> requests() const;

    // A loopback port nothing listens on.
    static unsigned short closed_port();

private:
    void serve();
    void handle(int fd, const reply& r);

    std::vector<reply> replies_;
    int listener_ = -1;
    unsigned short port_ = 0;
    std::atomic<bool> stop_{false};
    mutable std::mutex mutex_;
    std::vector<std::string> requests_;
    std::thread thread_;
};
