#pragma once

#include "service/StreamFormat.h"
#include "service/Video.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace service {

// A video's watch page in the layout the service used: title and description
// metas with character references, the thumbnail link, the play length, the
// stream map and an HTML5 video of the same streams with its subtitle tracks;
// channel and upload date as schema.org data (JSON-LD and microdata); or the
// markup of one of the service's notices.
class WatchPageWriter {
public:
    // base: scheme and authority the page's addresses point at. expire: when
    // its stream addresses stop working (Unix seconds); without it they carry a
    // moment long gone that nothing checks, as the service's old pages did.
    explicit WatchPageWriter(std::string base, std::optional<std::int64_t> expire = std::nullopt);

    std::string write(const Video& video) const;

    // Where a stream is served, signature aside.
    std::string streamAddress(const Video& video, const StreamFormat& format) const;
    std::string signature(const Video& video, int itag) const;
    std::string thumbnailAddress(const Video& video) const;
    std::string webpThumbnailAddress(const Video& video) const;
    std::string subtitleAddress(const Video& video, std::string_view language) const;

private:
    std::string streamPage(const Video& video) const;
    std::string rtmpePage(const Video& video) const;
    std::string streamMap(const Video& video) const;
    std::string html5Video(const Video& video) const;
    std::string head(const Video& video) const;
    std::string linkedData(const Video& video) const;

    std::string base_;
    std::optional<std::int64_t> expire_;
};

} // namespace service
