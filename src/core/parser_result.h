#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// One stream of a video.
struct result_url {
    std::string url; // as youtube_url::url() prints it
    std::string quality;
    std::string type;

    friend bool operator==(const result_url&, const result_url&) = default;
};

// One parsed video, as the parser service sends it and the local parse builds it.
// title and description may carry trailing zero bytes: read them up to the first.
struct parser_result {
    std::vector<result_url> urls;
    std::string title;
    std::string description;
    std::uint64_t length_seconds = 0;
    std::string thumbnail;

    friend bool operator==(const parser_result&, const parser_result&) = default;
};

// The parser service's wire form: a Boost text archive, fields in the order the
// service writes them (title, description, thumbnail, length, streams).
template <class Archive>
void serialize(Archive& ar, result_url& u, const unsigned int /*version*/)
{
    ar& u.url& u.quality& u.type;
}

template <class Archive>
void serialize(Archive& ar, parser_result& r, const unsigned int /*version*/)
{
    ar& r.title& r.description& r.thumbnail& r.length_seconds& r.urls;
}

// Writes the archive text (with its standard header).
std::string save_parser_result(const parser_result& result);

// Reads archive text into result. A string length or stream count that cannot fit
// in the text is refused before anything is allocated. Throws
// boost::archive::archive_exception (a std::exception) on any malformed text.
void load_parser_result(std::string_view archive, parser_result& result);
