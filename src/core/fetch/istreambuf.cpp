#include "core/fetch/istreambuf.h"

#include "core/fetch/http.h"
#include "core/fetch/http_response_parser.h"
#include "core/hex_digit.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>
#include <boost/system/system_error.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <optional>
#include <unistd.h>

namespace urdl {

namespace {

namespace asio = boost::asio;
using boost::system::error_code;
using clock_type = std::chrono::steady_clock;

clock_type::time_point deadline_after(std::size_t ms)
{
    // A year is as good as forever, and keeps the sum from overflowing.
    constexpr std::size_t longest = 365ull * 24 * 3600 * 1000;
    return clock_type::now() + std::chrono::milliseconds(std::min(ms, longest));
}

error_code system_error(int value)
{
    return error_code(value, boost::system::system_category());
}

bool is_redirect(const error_code& ec)
{
    return ec.category() == http::error_category() && (ec.value() == 301 || ec.value() == 302);
}

// "file:///tmp/a%20b" names "/tmp/a b".
std::string file_path(const url& u)
{
    const std::string& path = u.path();
    std::string out;
    for (std::size_t i = 0; i < path.size(); ++i) {
        if (path[i] == '%' && i + 2 < path.size() && hex_digit_value(path[i + 1]) >= 0 &&
            hex_digit_value(path[i + 2]) >= 0) {
            out += static_cast<char>(hex_digit_value(path[i + 1]) * 16 + hex_digit_value(path[i + 2]));
            i += 2;
        } else {
            out += path[i];
        }
    }
    return out;
}

std::string build_request(const url& u, const option_set& options)
{
    const std::string content = options.get_option<http::request_content>().value();
    const std::string content_type = options.get_option<http::request_content_type>().value();
    const std::string agent = options.get_option<http::user_agent>().value();

    std::string request = options.get_option<http::request_method>().value();
    request += ' ';
    request += u.to_string(url::path_component | url::query_component);
    request += " HTTP/1.0\r\nHost: ";
    request += u.to_string(url::host_component | url::port_component);
    request += "\r\nAccept: */*\r\n";
    // A content type goes only with content.
    if (!content.empty()) {
        request += "Content-Length: " + std::to_string(content.size()) + "\r\n";
        if (!content_type.empty())
            request += "Content-Type: " + content_type + "\r\n";
    }
    if (!agent.empty())
        request += "User-Agent: " + agent + "\r\n";
    request += "Connection: close\r\n\r\n";
    request += content;
    return request;
}

} // namespace

// One open: an HTTP connection or a file, and what was read of it.
struct istreambuf::connection {
    asio::io_context io;
    asio::ip::tcp::resolver resolver{io};
    asio::ip::tcp::socket socket{io};
    int file = -1;
    // Bytes read past the header block, served before reading more.
    std::string pending;
    detail::response_headers headers;
    // Set when an operation ran out of time: its handler may still be queued and
    // refers to a caller's stack, so this io_context must never run again.
    bool expired = false;
    bool finished = false;
    std::array<char, 64 * 1024> buffer;

    ~connection()
    {
        if (file >= 0)
            ::close(file);
    }

    // Starts one asynchronous operation and runs it to completion or to the deadline.
    template <typename Start>
    error_code run(Start start, clock_type::time_point deadline)
    {
        if (expired)
            return asio::error::timed_out;
        std::optional<error_code> result;
        start([&result](const error_code& ec) { result = ec; });
        io.restart();
        while (!result) {
            if (io.run_one_until(deadline) == 0 && !result) {
                expired = true;
                return asio::error::timed_out;
            }
        }
        return *result;
    }

    error_code read_some(std::size_t& n, clock_type::time_point deadline)
    {
        return run(
            [&](auto done) {
                socket.async_read_some(asio::buffer(buffer), [&n, done](const error_code& ec, std::size_t read) {
                    n = read;
                    done(ec);
                });
            },
            deadline);
    }

    error_code open_http(const url& u, const option_set& options, clock_type::time_point deadline)
    {
        asio::ip::tcp::resolver::results_type endpoints;
        error_code ec = run(
            [&](auto done) {
                resolver.async_resolve(
                    u.host(), std::to_string(u.port()),
                    [&endpoints, done](const error_code& e, asio::ip::tcp::resolver::results_type r) {
                        endpoints = std::move(r);
                        done(e);
                    });
            },
            deadline);
        if (ec)
            return ec;

        ec = run(
            [&](auto done) {
                asio::async_connect(socket, endpoints, [done](const error_code& e, const auto&) { done(e); });
            },
            deadline);
        if (ec)
            return ec;

        const std::string request = build_request(u, options);
        ec = run(
            [&](auto done) {
                asio::async_write(socket, asio::buffer(request), [done](const error_code& e, std::size_t) { done(e); });
            },
            deadline);
        if (ec)
            return ec;

        detail::http_response_parser head;
        for (;;) {
            switch (head.parse(pending)) {
            case detail::http_response_parser::result::need_more: break;
            case detail::http_response_parser::result::malformed_status_line: return http::errc::malformed_status_line;
            case detail::http_response_parser::result::malformed_headers: return http::errc::malformed_response_headers;
            case detail::http_response_parser::result::done:
                headers = head.headers();
                pending.erase(0, head.consumed());
                return head.status() == http::errc::ok ? error_code() : http::make_error_code(head.status());
            }
            std::size_t n = 0;
            if ((ec = read_some(n, deadline)))
                return ec;
            pending.append(buffer.data(), n);
        }
    }

    error_code open_file(const url& u)
    {
        file = ::open(file_path(u).c_str(), O_RDONLY | O_CLOEXEC);
        return file < 0 ? system_error(errno) : error_code();
    }

    // Next bytes of the body into buffer; n == 0 at its end.
    error_code read(std::size_t& n, std::size_t timeout_ms)
    {
        n = 0;
        if (finished)
            return {};
        if (file >= 0) {
            const ssize_t got = ::read(file, buffer.data(), buffer.size());
            if (got < 0)
                return system_error(errno);
            n = static_cast<std::size_t>(got);
            return {};
        }
        if (!pending.empty()) {
            n = std::min(pending.size(), buffer.size());
            std::copy_n(pending.begin(), n, buffer.begin());
            pending.erase(0, n);
            return {};
        }
        const error_code ec = read_some(n, deadline_after(timeout_ms));
        if (ec == asio::error::eof) {
            // HTTP/1.0: the body ends when the server closes.
            finished = true;
            n = 0;
            return {};
        }
        return ec;
    }
};

istreambuf::istreambuf() = default;

istreambuf::~istreambuf() = default;

istreambuf* istreambuf::open(const url& u)
{
    close();
    error_.clear();
    content_type_.clear();
    content_length_.clear();
    try {
        const auto deadline = deadline_after(open_timeout_ms_);
        url current = u;
        for (;;) {
            connection_ = std::make_unique<connection>();
            if (current.protocol() == "file") {
                error_ = connection_->open_file(current);
                break;
            }
            if (current.protocol() != "http") {
                error_ = system_error(EOPNOTSUPP);
                break;
            }
            error_ = connection_->open_http(current, options_, deadline);
            content_type_ = connection_->headers.content_type;
            content_length_ = connection_->headers.content_length;
            if (!is_redirect(error_) || connection_->headers.location.empty())
                break;

            // Followed as often as the server asks: the open time-out ends a loop.
            error_code ec;
            url next = current.resolve(connection_->headers.location, ec);
            if (ec) {
                error_ = ec;
                break;
            }
            // A server may send us to another server, never into our own files.
            if (next.protocol() != "http") {
                error_ = system_error(EOPNOTSUPP);
                break;
            }
            current = std::move(next);
        }
    } catch (const boost::system::system_error& e) {
        error_ = e.code();
    } catch (const std::bad_alloc&) {
        error_ = system_error(ENOMEM);
    }
    if (error_) {
        connection_.reset();
        return nullptr;
    }
    return this;
}

bool istreambuf::is_open() const
{
    return connection_ != nullptr;
}

istreambuf* istreambuf::close()
{
    setg(nullptr, nullptr, nullptr);
    if (!connection_)
        return nullptr;
    connection_.reset();
    return this;
}

std::string istreambuf::content_type() const
{
    return content_type_;
}

std::string istreambuf::content_length() const
{
    return content_length_;
}

istreambuf::int_type istreambuf::underflow()
{
    if (gptr() < egptr())
        return traits_type::to_int_type(*gptr());
    if (!connection_)
        return traits_type::eof();
    std::size_t n = 0;
    if (const error_code ec = connection_->read(n, read_timeout_ms_)) {
        error_ = ec;
        connection_->finished = true;
        return traits_type::eof();
    }
    if (n == 0)
        return traits_type::eof();
    char* data = connection_->buffer.data();
    setg(data, data, data + n);
    return traits_type::to_int_type(*gptr());
}

} // namespace urdl
