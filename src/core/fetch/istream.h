#pragma once

#include "core/fetch/istreambuf.h"

#include <istream>

namespace urdl {

// An input stream over the body behind a URL. A failed open sets the failed
// state; error() tells why.
class istream : public std::istream {
public:
    istream() : std::istream(nullptr) { std::istream::rdbuf(&buf_); }
    explicit istream(const url& u) : istream() { open(u); }

    void open(const url& u)
    {
        if (buf_.open(u))
            clear();
        else
            setstate(std::ios_base::failbit);
    }
    void close() { buf_.close(); }
    bool is_open() const { return buf_.is_open(); }

    template <typename Option>
    void set_option(const Option& option)
    {
        buf_.set_option(option);
    }
    void set_options(const option_set& options) { buf_.set_options(options); }
    const option_set& get_options() const { return buf_.get_options(); }

    std::size_t open_timeout() const { return buf_.open_timeout(); }
    void open_timeout(std::size_t ms) { buf_.open_timeout(ms); }
    std::size_t read_timeout() const { return buf_.read_timeout(); }
    void read_timeout(std::size_t ms) { buf_.read_timeout(ms); }

    const boost::system::error_code& error() const { return buf_.puberror(); }
    std::string content_type() const { return buf_.content_type(); }
    std::string content_length() const { return buf_.content_length(); }

    istreambuf* rdbuf() const { return const_cast<istreambuf*>(&buf_); }

private:
    istreambuf buf_;
};

} // namespace urdl
