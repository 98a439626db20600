#pragma once

#include <boost/asio/buffer.hpp>
#include <boost/system/error_code.hpp>
#include <boost/system/system_error.hpp>

#include <chrono>
#include <cstddef>
#include <string_view>

namespace service {

// A connected socket's file descriptor, not owned: blocking reads in the form
// Beast's parser wants, and writes that never raise SIGPIPE.
class Socket {
public:
    explicit Socket(int fd) : fd_(fd) {}

    int fd() const { return fd_; }

    template <class Buffers>
    std::size_t read_some(const Buffers& buffers, boost::system::error_code& error)
    {
        for (auto it = boost::asio::buffer_sequence_begin(buffers); it != boost::asio::buffer_sequence_end(buffers);
             ++it) {
            const boost::asio::mutable_buffer buffer(*it);
            if (buffer.size() > 0)
                return receive(buffer.data(), buffer.size(), error);
        }
        error = {};
        return 0;
    }

    template <class Buffers>
    std::size_t read_some(const Buffers& buffers)
    {
        boost::system::error_code error;
        const std::size_t n = read_some(buffers, error);
        if (error)
            throw boost::system::system_error(error);
        return n;
    }

    // False when the peer is gone.
    bool sendAll(std::string_view bytes) { return sendUpTo(bytes) == bytes.size(); }
    // How many of bytes went out: fewer when the peer is gone.
    std::size_t sendUpTo(std::string_view bytes);
    // Reads and drops whatever arrives until the peer closes, or until timeout
    // when there is one.
    void drainUntilClosed(std::chrono::milliseconds timeout = std::chrono::milliseconds::max());

private:
    std::size_t receive(void* data, std::size_t size, boost::system::error_code& error);

    int fd_;
};

} // namespace service
