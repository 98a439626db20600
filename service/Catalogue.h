#pragma once

#include "service/StreamFormat.h"
#include "service/Video.h"

#include <filesystem>
#include <string_view>
#include <vector>

namespace service {

// The videos the service offers, read from its data folder:
//   catalogue.tsv     one line per video: id, seconds, kind, title (tab-separated)
//   descriptions.tsv  id and description (optional)
//   uploads.tsv       id, channel and upload date as YYYY-MM-DD (optional; an
//                     empty field, or a video not listed, gets ones of its id's)
//   media/ID-ITAG.EXT the streams; a video offers the ones that are there
//   thumbs/ID.jpg     the thumbnails, and thumbs/ID.webp their large WebP
class Catalogue {
public:
    Catalogue() = default;
    // Videos without a channel or an upload date get those of their id.
    Catalogue(std::filesystem::path dir, std::vector<Video> videos);

    // Throws std::runtime_error when catalogue.tsv is missing or it or uploads.tsv
    // is malformed.
    static Catalogue load(const std::filesystem::path& dir);

    static std::filesystem::path listPath(const std::filesystem::path& dir);
    static std::filesystem::path descriptionsPath(const std::filesystem::path& dir);
    static std::filesystem::path uploadsPath(const std::filesystem::path& dir);
    static std::filesystem::path mediaPath(const std::filesystem::path& dir, std::string_view id,
                                           const StreamFormat& format);
    static std::filesystem::path thumbnailPath(const std::filesystem::path& dir, std::string_view id);
    static std::filesystem::path webpThumbnailPath(const std::filesystem::path& dir, std::string_view id);

    const std::filesystem::path& dir() const { return dir_; }
    const std::vector<Video>& videos() const { return videos_; }
    const Video* find(std::string_view id) const;

    // The videos whose title or description holds every blank-separated word,
    // ignoring case, in catalogue order. No words: every video.
    std::vector<const Video*> search(std::string_view words) const;

private:
    std::filesystem::path dir_;
    std::vector<Video> videos_;
};

} // namespace service
