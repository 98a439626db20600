#include "core/youtube_parser.h"

#include "core/hex_digit.h"
#include "core/html_entities.h"
#include "core/youtube_error.h"
#include "core/youtube_parser_error.h"

#include <boost/algorithm/string/replace.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <boost/format.hpp>
#include <boost/lexical_cast.hpp>
#include <boost/numeric/conversion/cast.hpp>
#include <boost/regex.hpp>

#include <array>
#include <cstring>

namespace {

using size_type = std::string_view::size_type;
constexpr size_type npos = std::string_view::npos;

constexpr std::string_view stream_map_marker = R"("url_encoded_fmt_stream_map": ")";
constexpr std::string_view length_marker = R"("length_seconds": )";
constexpr std::string_view title_marker = R"(<meta property="og:title" content=")";
constexpr std::string_view thumbnail_marker = R"(<link itemprop="thumbnailUrl" href=")";
constexpr std::string_view description_marker = R"(<meta name="description" content=")";
static_assert(stream_map_marker.size() == 31 && length_marker.size() == 18 && title_marker.size() == 35 &&
              thumbnail_marker.size() == 36 && description_marker.size() == 34);

struct notice {
    std::string_view first;
    std::string_view second;
    size_type text_offset; // from the start of the second marker
    std::string_view text_end;
};

// The service's notices, in the order tried; the last one complete wins. The
// first two put one more byte (a line break) between the tag and the text.
constexpr std::array<notice, 4> notices{{
    {R"(<div id="unavailable-message")", R"(<div class="yt-alert-message">)", 31, "</div>"},
    {R"(<div id="watch7-player-unavailable")", R"(<h1 class="message">)", 21, "</h1>"},
    {R"(<span class="yt-badge-rating-signal yt-badge-rating-signal-unrated">)", R"(<p class="rating-info">)", 23,
     "</p>"},
    {R"(<div id="verify-details">)", R"(<p class="rating-info">)", 23, "</p>"},
}};
constexpr std::size_t verify_details_notice = 3;

// memmem skips ahead by the needle's length on a mismatch, where a find() that
// stops at each first byte would stop at every "<" and '"' of the page.
size_type find_text(std::string_view haystack, std::string_view needle, size_type from = 0)
{
    if (from > haystack.size())
        return npos;
    const void* hit = ::memmem(haystack.data() + from, haystack.size() - from, needle.data(), needle.size());
    return hit ? static_cast<size_type>(static_cast<const char*>(hit) - haystack.data()) : npos;
}

// From start up to the first of the end marker, or to the end of the text.
std::string_view text_until(std::string_view html, size_type start, std::string_view end_marker)
{
    const size_type end = find_text(html, end_marker, start);
    return html.substr(start, end == npos ? npos : end - start);
}

// Bytes a query may hold unescaped.
constexpr std::array<bool, 256> query_safe = [] {
    std::array<bool, 256> table{};
    for (int c = 'a'; c <= 'z'; ++c)
        table[static_cast<unsigned char>(c)] = true;
    for (int c = 'A'; c <= 'Z'; ++c)
        table[static_cast<unsigned char>(c)] = true;
    for (int c = '0'; c <= '9'; ++c)
        table[static_cast<unsigned char>(c)] = true;
    for (const char c : std::string_view("!$&'()*+,-./:;=@_~"))
        table[static_cast<unsigned char>(c)] = true;
    return table;
}();

} // namespace

youtube_parser::youtube_parser(const std::string& page) : html(page) {}

youtube_parser::~youtube_parser() = default;

bool youtube_parser::parse()
{
    check_for_errors();
    const size_type map = find_text(html, stream_map_marker);
    if (map == npos)
        return false;
    parse_url_encoded_fmt_stream_map(map);
    parse_length_seconds();
    parse_title();
    parse_thumbnail();
    parse_description();
    return true;
}

void youtube_parser::check_for_errors()
{
    std::string message;
    for (std::size_t i = 0; i < notices.size(); ++i) {
        const notice& n = notices[i];
        const size_type first = find_text(html, n.first);
        if (first == npos)
            continue;
        const size_type second = find_text(html, n.second, first);
        if (second == npos)
            continue;
        const size_type start = second + n.text_offset;
        const size_type end = find_text(html, n.text_end, start);
        if (end == npos)
            continue;
        message.assign(html.substr(start, end - start));
        if (i == verify_details_notice) {
            boost::algorithm::replace_all(message, "&#8220;", "");
            boost::algorithm::replace_all(message, "&#8221;", "");
        }
    }
    if (message.empty())
        return;
    boost::algorithm::replace_all(message, " \" ", "");
    boost::algorithm::trim(message);
    throw youtube_error(message);
}

bool youtube_parser::parse_url_encoded_fmt_stream_map(std::string::size_type pos)
{
    const size_type start = pos < html.size() ? std::min(html.size(), pos + stream_map_marker.size()) : html.size();
    const size_type quote = html.find('"', start);
    const std::string_view map = html.substr(start, quote == npos ? npos : quote - start);

    std::string entry;
    for (size_type from = 0;;) {
        const size_type comma = map.find(',', from);
        const std::string_view piece = map.substr(from, comma == npos ? npos : comma - from);

        // A malformed escape leaves what was decoded before it; that part may still
        // be a usable stream.
        query_unescape(unicode_unescape(piece), entry);
        if (entry.find("url=") != std::string::npos) {
            urls.emplace_back(entry);
            urls.back().parse();
        } else if (entry.find("conn=rtmpe") != std::string::npos) {
            throw youtube_error("rtmpe: that video is only available over rtmpe.");
        }

        if (comma == npos)
            break;
        from = comma + 1;
    }
    return true;
}

void youtube_parser::parse_length_seconds()
{
    const size_type pos = find_text(html, length_marker);
    if (pos == npos)
        return;
    const size_type start = pos + length_marker.size();
    const size_type end = html.find_first_of(",}", start);
    const std::string_view text = html.substr(start, end == npos ? npos : end - start);
    try {
        // lexical_cast would wrap "-1" around to 2^64 - 1; a length is never negative.
        if (!text.empty() && text.front() == '-')
            throw boost::bad_lexical_cast();
        length_seconds = boost::lexical_cast<std::uint64_t>(text.data(), text.size());
    } catch (const boost::bad_lexical_cast& e) {
        throw youtube_parser_error((boost::format("%1% -> [%2%]") % e.what() % text).str(), html);
    }
}

void youtube_parser::parse_title()
{
    const size_type pos = find_text(html, title_marker);
    if (pos == npos)
        return;
    const size_type start = pos + title_marker.size();
    const size_type quote = html.find('"', start);
    const std::string raw(html.substr(start, quote == npos ? npos : quote - start));
    title.assign(raw.size(), '\0');
    decode_html_entities_utf8(title.data(), raw.c_str());
}

void youtube_parser::parse_thumbnail()
{
    const size_type pos = find_text(html, thumbnail_marker);
    if (pos != npos)
        thumbnail.assign(text_until(html, pos + thumbnail_marker.size(), "\">"));
}

void youtube_parser::parse_description()
{
    const size_type pos = find_text(html, description_marker);
    if (pos == npos)
        return;
    description.assign(text_until(html, pos + description_marker.size(), "\">"));
    decode_html_entities_utf8(description.data(), nullptr);
}

bool youtube_parser::query_unescape(std::string_view in, std::string& out)
{
    out.clear();
    out.reserve(in.size());
    for (size_type i = 0; i < in.size(); ++i) {
        const char c = in[i];
        if (c == '%') {
            if (in.size() - i < 3)
                return false;
            const int high = hex_digit_value(in[i + 1]);
            const int low = hex_digit_value(in[i + 2]);
            if (high < 0 || low < 0)
                return false;
            out += static_cast<char>(high * 16 + low);
            i += 2;
        } else if (query_safe[static_cast<unsigned char>(c)]) {
            out += c;
        } else {
            return false;
        }
    }
    return true;
}

std::string youtube_parser::unicode_unescape(std::string_view in)
{
    static const boost::regex escape(R"(\\u([0-9A-Fa-f]{4}))");

    std::string out;
    out.reserve(in.size());
    const char* copied = in.data();
    const char* const end = in.data() + in.size();
    for (boost::cregex_iterator it(in.data(), end, escape), last; it != last; ++it) {
        const auto& match = *it;
        out.append(copied, match[0].first);
        const char* digits = match[1].first;
        const int value = hex_digit_value(digits[0]) << 12 | hex_digit_value(digits[1]) << 8 |
                          hex_digit_value(digits[2]) << 4 | hex_digit_value(digits[3]);
        // One byte per escape: a value that is no ASCII byte throws rather than
        // being cut down to one.
        out += static_cast<char>(boost::numeric_cast<signed char>(value));
        copied = match[0].second;
    }
    out.append(copied, end);
    return out;
}
