#pragma once

#include "service/HttpMessage.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>

namespace service {

// An HTTP/1.0 and 1.1 server on 127.0.0.1, a thread per connection, one request
// per connection (answers close it) unless connections are kept: then an HTTP/1.1
// client may send the next request on the connection of a whole answer. Request heads are capped at 64 KiB (400
// beyond) and bodies at 64 MiB (413). Bodies go out in pieces of at most 64 KiB,
// paced when the response asks for it.
class HttpServer {
public:
    using Handler = std::function<HttpResponse(const HttpRequest&)>;

    static constexpr std::size_t headerLimit = 64 * 1024;
    static constexpr std::uint64_t bodyLimit = 64ull * 1024 * 1024;

    // Listens at once on the port (0: one the system chooses); connections wait
    // until start. Throws std::system_error when it cannot listen.
    explicit HttpServer(unsigned short port);
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    unsigned short port() const { return port_; }
    // "http://127.0.0.1:PORT"
    std::string base() const;

    // Before start: whole answers leave the connection open for the next request.
    void keepConnections() { keepConnections_ = true; }
    // Serves every connection with handler until stop. Once only.
    void start(Handler handler);

    // Closes every connection, a stalled or delayed one too, and waits for their
    // threads. Safe to call more than once.
    void stop();

    // Connections taken and not yet over: answered and closed, or given up by the
    // client.
    std::size_t openConnections() const { return open_; }

private:
    struct Connection {
        int fd = -1;
        std::thread thread;
        std::atomic<bool> finished{false};
    };

    void acceptLoop();
    void reapFinished();
    void serve(int fd, std::uint64_t serial);
    // False when the connection is over.
    bool deliver(int fd, const HttpRequest& request, const HttpResponse& response, bool keep);
    bool sendBody(int fd, const HttpResponse& response, std::uint64_t bytes, std::uint64_t& written);
    // Waits, unless the server stops first; false then.
    bool pause(std::chrono::milliseconds delay) { return pauseUntil(std::chrono::steady_clock::now() + delay); }
    bool pauseUntil(std::chrono::steady_clock::time_point until);
    void logRequest(const HttpRequest& request, int status) const;

    Handler handler_;
    int listener_ = -1;
    int wakeup_ = -1;
    unsigned short port_ = 0;
    std::thread acceptThread_;
    std::list<Connection> connections_; // the accept thread's, until it has ended
    std::atomic<std::size_t> open_{0};
    std::uint64_t accepted_ = 0; // the accept thread's
    bool keepConnections_ = false;

    std::mutex mutex_;
    std::condition_variable stopped_;
    bool stopping_ = false;
    std::once_flag stopOnce_;
};

} // namespace service
