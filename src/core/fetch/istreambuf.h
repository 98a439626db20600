#pragma once

#include "core/fetch/option_set.h"
#include "core/fetch/url.h"

#include <boost/system/error_code.hpp>

#include <cstddef>
#include <memory>
#include <streambuf>
#include <string>

namespace urdl {

// Reads the body behind a URL: "http" (HTTP/1.0, following 301 and 302) or "file".
// Blocking; every open and every read is bounded by its time-out. Nothing throws:
// a failure makes open() return null and leaves its reason in puberror().
class istreambuf : public std::streambuf {
public:
    static constexpr std::size_t default_timeout_ms = 300000;

    istreambuf();
    ~istreambuf() override;
    istreambuf(const istreambuf&) = delete;
    istreambuf& operator=(const istreambuf&) = delete;

    istreambuf* open(const url& u);
    bool is_open() const;
    istreambuf* close();

    template <typename Option>
    void set_option(const Option& option)
    {
        options_.set_option(option);
    }
    void set_options(const option_set& options) { options_.set_options(options); }
    const option_set& get_options() const { return options_; }

    std::size_t open_timeout() const { return open_timeout_ms_; }
    void open_timeout(std::size_t ms) { open_timeout_ms_ = ms; }
    std::size_t read_timeout() const { return read_timeout_ms_; }
    void read_timeout(std::size_t ms) { read_timeout_ms_ = ms; }

    // Why the last open or read failed; clear while all is well.
    const boost::system::error_code& puberror() const { return error_; }

    // Of the last HTTP reply; empty for files.
    std::string content_type() const;
    std::string content_length() const;

protected:
    int_type underflow() override;

private:
    struct connection;

    option_set options_;
    std::size_t open_timeout_ms_ = default_timeout_ms;
    std::size_t read_timeout_ms_ = default_timeout_ms;
    boost::system::error_code error_;
    std::string content_type_;
    std::string content_length_;
    std::unique_ptr<connection> connection_;
};

} // namespace urdl
