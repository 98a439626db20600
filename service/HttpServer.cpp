#include "service/HttpServer.h"

#include "service/Socket.h"

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace service {

namespace http = boost::beast::http;

namespace {

std::string_view reason(int status)
{
    switch (status) {
    case 100: return "Continue";
    case 200: return "OK";
    case 206: return "Partial Content";
    case 400: return "Bad Request";
    case 403: return "Forbidden";
    case 404: return "Not Found";
    case 405: return "Method Not Allowed";
    case 410: return "Gone";
    case 413: return "Payload Too Large";
    case 416: return "Range Not Satisfiable";
    case 429: return "Too Many Requests";
    case 500: return "Internal Server Error";
    case 502: return "Bad Gateway";
    case 503: return "Service Unavailable";
    default: return status < 400 ? "OK" : status < 500 ? "Client Error" : "Server Error";
    }
}

[[noreturn]] void throwErrno(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

std::string head(const HttpResponse& response, bool keep)
{
    std::string out = "HTTP/1.1 " + std::to_string(response.status) + " " + std::string(reason(response.status)) +
                      "\r\nContent-Type: " + response.contentType +
                      "\r\nContent-Length: " + std::to_string(response.contentLength()) + "\r\n";
    for (const auto& [name, value] : response.headers)
        out += name + ": " + value + "\r\n";
    out += keep ? "Connection: keep-alive\r\n\r\n" : "Connection: close\r\n\r\n";
    return out;
}

} // namespace

HttpServer::HttpServer(unsigned short port)
{
    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listener_ < 0)
        throwErrno("socket");
    const int on = 1;
    ::setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    socklen_t length = sizeof address;
    if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener_, SOMAXCONN) != 0 ||
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        const int error = errno;
        ::close(listener_);
        throw std::system_error(error, std::generic_category(), "listen on 127.0.0.1:" + std::to_string(port));
    }
    port_ = ntohs(address.sin_port);
    wakeup_ = ::eventfd(0, EFD_CLOEXEC);
    if (wakeup_ < 0) {
        const int error = errno;
        ::close(listener_);
        throw std::system_error(error, std::generic_category(), "eventfd");
    }
}

void HttpServer::start(Handler handler)
{
    handler_ = std::move(handler);
    acceptThread_ = std::thread([this] { acceptLoop(); });
}

HttpServer::~HttpServer()
{
    stop();
}

std::string HttpServer::base() const
{
    return "http://127.0.0.1:" + std::to_string(port_);
}

void HttpServer::stop()
{
    std::call_once(stopOnce_, [this] {
        {
            std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        stopped_.notify_all();
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written = ::write(wakeup_, &one, sizeof one);
        if (acceptThread_.joinable())
            acceptThread_.join();

        // Wakes every connection blocked in a read or a write; none closes its
        // descriptor itself, so none of these can have been reused.
        for (auto& connection : connections_)
            ::shutdown(connection.fd, SHUT_RDWR);
        for (auto& connection : connections_) {
            connection.thread.join();
            ::close(connection.fd);
        }
        connections_.clear();
        ::close(listener_);
        ::close(wakeup_);
    });
}

void HttpServer::acceptLoop()
{
    for (;;) {
        pollfd entries[2] = {{listener_, POLLIN, 0}, {wakeup_, POLLIN, 0}};
        const int ready = ::poll(entries, 2, 1000);
        reapFinished();
        if (ready < 0 && errno != EINTR)
            return;
        if (entries[1].revents != 0)
            return;
        if (ready <= 0 || (entries[0].revents & POLLIN) == 0)
            continue;
        const int fd = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0)
            continue; // a client that went away already, or out of descriptors for now
        auto& connection = connections_.emplace_back();
        connection.fd = fd;
        ++open_;
        try {
            connection.thread = std::thread([this, &connection, serial = ++accepted_] {
                serve(connection.fd, serial);
                --open_;
                connection.finished = true;
            });
        } catch (const std::system_error&) {
            --open_;
            ::close(fd);
            connections_.pop_back();
        }
    }
}

void HttpServer::reapFinished()
{
    for (auto it = connections_.begin(); it != connections_.end();) {
        if (!it->finished) {
            ++it;
            continue;
        }
        it->thread.join();
        ::close(it->fd);
        it = connections_.erase(it);
    }
}

bool HttpServer::pauseUntil(std::chrono::steady_clock::time_point until)
{
    std::unique_lock lock(mutex_);
    return !stopped_.wait_until(lock, until, [this] { return stopping_; });
}

void HttpServer::serve(int fd, std::uint64_t serial)
{
    Socket socket(fd);
    boost::beast::flat_buffer buffer;
    for (bool keep = true; keep;) {
        http::request_parser<http::string_body> parser;
        parser.header_limit(static_cast<std::uint32_t>(headerLimit));
        parser.body_limit(bodyLimit);

        HttpRequest request;
        request.connection = serial;
        boost::system::error_code error;
        http::read_header(socket, buffer, parser, error);
        if (!error && !parser.is_done()) {
            const auto expect = parser.get()[http::field::expect];
            if (expect.size() == 12 && std::equal(expect.begin(), expect.end(), "100-continue", [](char a, char b) {
                    return (a | 0x20) == (b | 0x20);
                }))
                socket.sendAll("HTTP/1.1 100 Continue\r\n\r\n");
            http::read(socket, buffer, parser, error);
        }

        HttpResponse response;
        if (error == http::error::end_of_stream || error == http::error::partial_message ||
            (error && error.category() == boost::system::system_category()) || error == boost::asio::error::eof) {
            ::shutdown(fd, SHUT_RDWR);
            return; // the client went away, or is done with the connection
        }
        if (error == http::error::body_limit) {
            response = HttpResponse::text(413, "Request body too large.\n");
        } else if (error) {
            response = HttpResponse::text(400, "Bad request: " + error.message() + ".\n");
        } else {
            const auto& message = parser.get();
            request.method = std::string(message.method_string());
            request.target = std::string(message.target());
            request.host = std::string(message[http::field::host]);
            request.range = std::string(message[http::field::range]);
            request.body = message.body();
            try {
                response = handler_(request);
            } catch (const std::exception& e) {
                response = HttpResponse::text(500, std::string("Internal error: ") + e.what() + "\n");
            } catch (...) {
                response = HttpResponse::text(500, "Internal error.\n");
            }
        }

        if (response.delay.count() > 0 && !pause(response.delay)) {
            ::shutdown(fd, SHUT_RDWR);
            return;
        }
        logRequest(request, response.delivery == Delivery::drop ? 0 : response.status);
        keep = deliver(fd, request, response,
                       keepConnections_ && !error && parser.get().keep_alive() && response.delivery == Delivery::whole);
    }
}

bool HttpServer::deliver(int fd, const HttpRequest& request, const HttpResponse& response, bool keep)
{
    Socket socket(fd);
    if (response.delivery == Delivery::drop) {
        ::shutdown(fd, SHUT_RDWR);
        return false;
    }
    const bool withBody = request.method != "HEAD";
    const std::uint64_t length = response.contentLength();
    std::uint64_t bytes = length;
    if (response.delivery == Delivery::cut)
        bytes = std::min(length, response.cutAfter.value_or(length / 2));
    else if (response.delivery == Delivery::stall)
        bytes = std::min<std::uint64_t>(length / 2, 4096);

    std::uint64_t written = 0;
    bool sent = socket.sendAll(head(response, keep));
    if (sent && withBody)
        sent = sendBody(fd, response, bytes, written);
    // Before the client can see the end, so that whoever reads the record after
    // a download finds it there.
    if (response.sent)
        response.sent(written);
    if (sent && withBody && response.delivery == Delivery::stall) {
        socket.drainUntilClosed();
        ::shutdown(fd, SHUT_RDWR);
        return false;
    }
    if (response.delivery == Delivery::cut) {
        ::shutdown(fd, SHUT_RDWR);
        return false;
    }
    if (sent && keep)
        return true;
    // Lets the client read the answer before the connection goes, even when it
    // sent more than was read.
    ::shutdown(fd, SHUT_WR);
    if (sent)
        socket.drainUntilClosed(std::chrono::seconds(1));
    ::shutdown(fd, SHUT_RDWR);
    return false;
}

bool HttpServer::sendBody(int fd, const HttpResponse& response, std::uint64_t bytes, std::uint64_t& written)
{
    int file = -1;
    if (response.file) {
        file = ::open(response.file->path.c_str(), O_RDONLY | O_CLOEXEC);
        if (file < 0)
            return false;
    }
    Socket socket(fd);
    const std::uint64_t rate = response.bytesPerSecond;
    // A paced piece is a sixteenth of a second's worth, so that the pace holds
    // over short stretches too and a slow stream still moves.
    const std::size_t piece =
        rate == 0 ? 64 * 1024 : static_cast<std::size_t>(std::clamp<std::uint64_t>(rate / 16, 1, 64 * 1024));
    std::vector<char> chunk(file >= 0 ? piece : 0);
    const auto start = std::chrono::steady_clock::now();
    bool sent = true;
    while (sent && written < bytes) {
        const auto want = static_cast<std::size_t>(std::min<std::uint64_t>(bytes - written, piece));
        // No piece leaves before its last byte is due, so that the client never
        // has more than the pace allows.
        if (rate > 0 && !pauseUntil(start + std::chrono::microseconds((written + want) * 1'000'000 / rate))) {
            sent = false;
            break;
        }
        std::string_view data;
        if (file >= 0) {
            const ssize_t n = ::pread(file, chunk.data(), want, static_cast<off_t>(response.file->offset + written));
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0) {
                sent = false; // the file shrank under us: the client sees a short body
                break;
            }
            data = std::string_view(chunk.data(), static_cast<std::size_t>(n));
        } else {
            data = std::string_view(response.body).substr(static_cast<std::size_t>(written), want);
        }
        const std::size_t n = socket.sendUpTo(data);
        written += n;
        sent = n == data.size();
    }
    if (file >= 0)
        ::close(file);
    return sent;
}

void HttpServer::logRequest(const HttpRequest& request, int status) const
{
    std::string line = request.method.empty() ? std::string("-") : request.method;
    line += ' ';
    line += request.target.size() > 200 ? request.target.substr(0, 200) + "..." : request.target;
    line += ' ' + (status == 0 ? std::string("dropped") : std::to_string(status)) + '\n';
    // One write per line, so that lines of different connections do not mix.
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
}

} // namespace service
