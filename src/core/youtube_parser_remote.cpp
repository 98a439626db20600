// The parser service exchange, and the local parse it falls back to.
#include "core/fetch/http.h"
#include "core/fetch/istream.h"
#include "core/parser_result.h"
#include "core/youtube_error.h"
#include "core/youtube_parser.h"

#include <array>
#include <stdexcept>

namespace {

// The reply comes from the network; memory stays bounded whatever it claims.
constexpr std::size_t max_reply_bytes = 64 * 1024 * 1024;

std::string read_reply(urdl::istream& in)
{
    std::string reply;
    std::array<char, 64 * 1024> chunk;
    for (;;) {
        const std::streamsize n = in.rdbuf()->sgetn(chunk.data(), chunk.size());
        if (n <= 0)
            return reply;
        if (reply.size() + static_cast<std::size_t>(n) > max_reply_bytes)
            throw std::length_error("parser service reply longer than 64 MiB");
        reply.append(chunk.data(), static_cast<std::size_t>(n));
    }
}

std::shared_ptr<parser_result> ask_service(const std::string& html, const std::string& service)
{
    urdl::istream in;
    in.set_option(urdl::http::request_method("POST"));
    in.set_option(urdl::http::request_content_type("text/plain"));
    in.set_option(urdl::http::request_content(html));
    in.open(urdl::url::from_string(service));

    auto result = std::make_shared<parser_result>();
    if (in.fail() || in.bad())
        throw std::logic_error(in.error().message());

    const std::string reply = read_reply(in);
    const std::string_view text(reply);
    if (text.substr(0, 6) == "DONE: ") {
        load_parser_result(text.substr(6), *result);
        return result;
    }
    if (text.substr(0, 6) == "YERR: ")
        throw youtube_error(std::string(text.substr(6)));
    throw std::logic_error(reply);
}

} // namespace

std::shared_ptr<parser_result> youtube_parser::parse_html(const std::string& html)
{
    youtube_parser parser(html);
    parser.parse();

    auto result = std::make_shared<parser_result>();
    result->length_seconds = parser.length_seconds;
    result->title = parser.title;
    result->thumbnail = parser.thumbnail;
    result->description = parser.description;
    result->urls.reserve(parser.urls.size());
    for (const youtube_url& stream : parser.urls)
        result->urls.push_back({stream.url(), stream.quality(), stream.type()});
    return result;
}

std::shared_ptr<parser_result> youtube_parser::parse_html_remote(const std::string& html, const std::string& service,
                                                                 bool fallback)
{
    try {
        return ask_service(html, service);
    } catch (const youtube_error&) {
        // The service's verdict on the video is final.
        throw;
    } catch (const std::exception& e) {
        if (fallback)
            return parse_html(html);
        // Only the base type goes on, deliberately: callers get no service details.
        throw std::exception(e);
    } catch (...) {
        if (fallback)
            return parse_html(html);
        throw std::logic_error("unknown parser error.");
    }
}
