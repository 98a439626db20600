#pragma once

#include <span>
#include <string_view>

namespace service {

// One kind of stream the service offers, by its format number (itag).
struct StreamFormat {
    int itag;
    std::string_view quality;   // "small", "medium", "large", "hd720"
    std::string_view type;      // as the stream map gives it, codecs included
    std::string_view mediaType; // Content-Type of the stream itself
    std::string_view extension;
    int width;
    int height;
};

// Every format, in the order the stream map lists them (best first).
std::span<const StreamFormat> streamFormats();
const StreamFormat* findStreamFormat(int itag);

} // namespace service
