#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

// A watch page the parser cannot read. Carries the whole page so that a bug
// report can include what the service actually sent.
class youtube_parser_error : public std::logic_error {
public:
    youtube_parser_error(const std::string& message, std::string_view page) : std::logic_error(message), page_(page) {}

    const std::string& page() const noexcept { return page_; }

private:
    std::string page_;
};
