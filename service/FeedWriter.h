#pragma once

#include "service/Video.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace service {

// The search feed: an RSS document with one item per video (title, description,
// watch-page link, thumbnail and duration, as the service's feed had them; its
// channel and upload date).
class FeedWriter {
public:
    static constexpr std::size_t pageSize = 25;

    // base: scheme and authority the feed's addresses point at.
    explicit FeedWriter(std::string base);

    // The page of matches from startIndex (1-based). With padTo, exactly that many
    // items, the matches repeated as often as needed (none when nothing matched).
    std::string write(std::string_view words, const std::vector<const Video*>& matches, std::size_t startIndex,
                      std::size_t padTo = 0) const;

private:
    void writeItem(std::string& out, const Video& video) const;

    std::string base_;
};

} // namespace service
