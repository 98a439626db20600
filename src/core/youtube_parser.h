#pragma once

#include "core/parser_result.h"
#include "core/youtube_url.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// Scrapes a watch page for its stream map, play length, title, thumbnail address
// and description, and turns the service's notices on the page into youtube_error.
// Plain substring search on fixed markers: the page is not read as HTML.
class youtube_parser {
public:
    // Keeps a reference to the page: the caller keeps it alive while the parser lives.
    explicit youtube_parser(const std::string& html);
    youtube_parser(std::string&&) = delete;
    virtual ~youtube_parser();

    // False only when the page has no stream map. Throws youtube_error for a notice
    // or an rtmpe-only stream, youtube_parser_error for an unreadable play length,
    // std::out_of_range for a stream entry without address, and
    // boost::numeric::positive_overflow for a "\u" escape above 127.
    bool parse();

    void check_for_errors();
    // pos: where the stream-map marker starts.
    bool parse_url_encoded_fmt_stream_map(std::string::size_type pos);
    void parse_thumbnail();
    void parse_description();

    // The page parsed here into a new record. Throws what parse() throws, and
    // std::out_of_range for a stream without "quality" or "type".
    static std::shared_ptr<parser_result> parse_html(const std::string& html);
    // The page posted to the parser service at service_url. youtube_error (the
    // service's or the page's notice) always reaches the caller; on any other
    // failure, with fallback the page is parsed here, without it a plain
    // std::exception is thrown ("unknown parser error." for non-standard ones).
    static std::shared_ptr<parser_result> parse_html_remote(const std::string& html, const std::string& service_url,
                                                            bool fallback);

    // Percent-decodes in into out. Stops with false at a malformed escape or at a
    // byte that has no business in a query (out keeps what was decoded before it).
    static bool query_unescape(std::string_view in, std::string& out);
    // Replaces each "\uXXXX" by the single byte XXXX; above 127 throws.
    static std::string unicode_unescape(std::string_view in);

    std::vector<youtube_url> urls;
    std::string_view html;
    std::uint64_t length_seconds = 0;
    // title and description keep the raw text's length: read them up to the
    // first zero byte.
    std::string description;
    std::string title;
    std::string thumbnail;

private:
    void parse_length_seconds();
    void parse_title();
};
