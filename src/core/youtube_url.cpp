#include "core/youtube_url.h"

#include <stdexcept>

namespace {

const std::string_view url_key = "url";

[[noreturn]] void throw_key_not_found()
{
    throw std::out_of_range("map::at:  key not found");
}

} // namespace

youtube_url::youtube_url(const std::string& entry) : entry_(entry) {}

youtube_url::~youtube_url() = default;

void youtube_url::parse()
{
    parse_query(entry_);

    const auto it = params_.find(url_key);
    if (it == params_.end())
        throw_key_not_found();
    const std::string address = std::move(it->second);
    params_.erase(it);

    // Without a "?" the whole address is also read as a query: it then becomes a
    // parameter of its own. The service never sends such an address, and keeping
    // it visible in url() beats silently dropping part of it.
    const auto question = address.find('?');
    if (question == std::string::npos) {
        file_ = address;
        parse_query(address);
    } else {
        file_ = address.substr(0, question);
        parse_query(std::string_view(address).substr(question + 1));
    }
}

void youtube_url::parse_query(std::string_view query)
{
    // Empty tokens are kept: "a&&b" has three parameters, one of them "".
    for (std::size_t start = 0;;) {
        const auto amp = query.find('&', start);
        const auto token = query.substr(start, amp == std::string_view::npos ? std::string_view::npos : amp - start);

        // A token without "=" is its own key and its own value.
        const auto eq = token.find('=');
        std::string_view key = token.substr(0, eq);
        const std::string_view value = eq == std::string_view::npos ? token : token.substr(eq + 1);
        if (key == "sig" || key == "s")
            key = "signature";
        params_.insert_or_assign(std::string(key), std::string(value));

        if (amp == std::string_view::npos)
            break;
        start = amp + 1;
    }
}

const std::string& youtube_url::get_param(std::string_view name) const
{
    const auto it = params_.find(name);
    if (it == params_.end())
        throw_key_not_found();
    return it->second;
}

std::string youtube_url::url() const
{
    return print({});
}

std::string youtube_url::url_without_type() const
{
    return print("type");
}

std::string youtube_url::print(std::string_view skipped_key) const
{
    const bool skip = !skipped_key.empty();
    std::size_t size = file_.size() + 1;
    for (const auto& [key, value] : params_)
        size += key.size() + value.size() + 2;

    std::string out;
    out.reserve(size);
    out += file_;
    out += '?';
    for (const auto& [key, value] : params_) {
        if (skip && key == skipped_key)
            continue;
        out += key;
        out += '=';
        out += value;
        out += '&';
    }
    return out;
}
