#include "service/Catalogue.h"

#include "service/TextFold.h"
#include "service/WholeNumber.h"

#include <chrono>
#include <fstream>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>

namespace service {

namespace {

std::vector<std::string_view> splitTabs(std::string_view line)
{
    std::vector<std::string_view> fields;
    for (std::size_t start = 0;;) {
        const auto tab = line.find('\t', start);
        fields.push_back(line.substr(start, tab == std::string_view::npos ? std::string_view::npos : tab - start));
        if (tab == std::string_view::npos)
            return fields;
        start = tab + 1;
    }
}

std::string_view withoutCarriageReturn(std::string_view line)
{
    return !line.empty() && line.back() == '\r' ? line.substr(0, line.size() - 1) : line;
}

Video parseLine(std::string_view line, const std::string& where)
{
    const auto fields = splitTabs(line);
    if (fields.size() != 4)
        throw std::runtime_error(where + ": expected id, seconds, kind and title separated by tabs");
    Video video;
    video.id = fields[0];
    if (video.id.empty() || video.id.find_first_of("/\\. ") != std::string::npos)
        throw std::runtime_error(where + ": bad video id \"" + video.id + "\"");
    const auto seconds = wholeNumber<std::uint64_t>(fields[1]);
    if (!seconds)
        throw std::runtime_error(where + ": bad seconds \"" + std::string(fields[1]) + "\"");
    video.seconds = *seconds;
    const auto kind = parseVideoKind(fields[2]);
    if (!kind)
        throw std::runtime_error(where + ": unknown kind \"" + std::string(fields[2]) + "\"");
    video.kind = *kind;
    video.title = fields[3];
    return video;
}

std::map<std::string, std::string, std::less<>> readDescriptions(const std::filesystem::path& path)
{
    std::map<std::string, std::string, std::less<>> descriptions;
    std::ifstream in(path, std::ios::binary);
    for (std::string line; std::getline(in, line);) {
        const std::string_view text = withoutCarriageReturn(line);
        const auto tab = text.find('\t');
        if (tab != std::string_view::npos)
            descriptions.emplace(text.substr(0, tab), text.substr(tab + 1));
    }
    return descriptions;
}

struct Upload {
    std::string channel;
    std::optional<std::chrono::year_month_day> date;
};

std::map<std::string, Upload, std::less<>> readUploads(const std::filesystem::path& path)
{
    std::map<std::string, Upload, std::less<>> uploads;
    std::ifstream in(path, std::ios::binary);
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        const std::string_view text = withoutCarriageReturn(line);
        if (text.empty())
            continue;
        const std::string where = path.string() + ":" + std::to_string(number);
        const auto fields = splitTabs(text);
        if (fields.size() != 3)
            throw std::runtime_error(where + ": expected id, channel and upload date separated by tabs");
        Upload upload{std::string(fields[1]), std::nullopt};
        if (!fields[2].empty() && !(upload.date = parseIsoDate(fields[2])))
            throw std::runtime_error(where + ": bad upload date \"" + std::string(fields[2]) + "\" (YYYY-MM-DD)");
        uploads.insert_or_assign(std::string(fields[0]), std::move(upload));
    }
    return uploads;
}

bool containsWord(const std::u32string& text, const std::u32string& word)
{
    return text.find(word) != std::u32string::npos;
}

} // namespace

Catalogue::Catalogue(std::filesystem::path dir, std::vector<Video> videos)
    : dir_(std::move(dir)), videos_(std::move(videos))
{
    for (auto& video : videos_) {
        if (video.channel.empty())
            video.channel = channelFromId(video.id);
        if (!video.uploaded.ok())
            video.uploaded = uploadDateFromId(video.id);
    }
}

std::filesystem::path Catalogue::listPath(const std::filesystem::path& dir)
{
    return dir / "catalogue.tsv";
}

std::filesystem::path Catalogue::descriptionsPath(const std::filesystem::path& dir)
{
    return dir / "descriptions.tsv";
}

std::filesystem::path Catalogue::uploadsPath(const std::filesystem::path& dir)
{
    return dir / "uploads.tsv";
}

std::filesystem::path Catalogue::mediaPath(const std::filesystem::path& dir, std::string_view id,
                                           const StreamFormat& format)
{
    return dir / "media" / (std::string(id) + '-' + std::to_string(format.itag) + '.' + std::string(format.extension));
}

std::filesystem::path Catalogue::thumbnailPath(const std::filesystem::path& dir, std::string_view id)
{
    return dir / "thumbs" / (std::string(id) + ".jpg");
}

std::filesystem::path Catalogue::webpThumbnailPath(const std::filesystem::path& dir, std::string_view id)
{
    return dir / "thumbs" / (std::string(id) + ".webp");
}

Catalogue Catalogue::load(const std::filesystem::path& dir)
{
    const auto path = listPath(dir);
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw std::runtime_error(path.string() + ": cannot be read");

    const auto descriptions = readDescriptions(descriptionsPath(dir));
    const auto uploads = readUploads(uploadsPath(dir));
    std::vector<Video> videos;
    std::map<std::string, bool, std::less<>> seen;
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        const std::string_view text = withoutCarriageReturn(line);
        if (text.empty())
            continue;
        const std::string where = path.string() + ":" + std::to_string(number);
        Video video = parseLine(text, where);
        if (!seen.emplace(video.id, true).second)
            throw std::runtime_error(where + ": video \"" + video.id + "\" listed twice");
        if (const auto it = descriptions.find(video.id); it != descriptions.end())
            video.description = it->second;
        if (const auto it = uploads.find(video.id); it != uploads.end()) {
            video.channel = it->second.channel;
            if (it->second.date)
                video.uploaded = *it->second.date;
        }
        if (video.kind == VideoKind::normal)
            for (const auto& format : streamFormats())
                if (std::filesystem::is_regular_file(mediaPath(dir, video.id, format)))
                    video.itags.push_back(format.itag);
        videos.push_back(std::move(video));
    }
    return Catalogue(dir, std::move(videos));
}

const Video* Catalogue::find(std::string_view id) const
{
    for (const auto& video : videos_)
        if (video.id == id)
            return &video;
    return nullptr;
}

std::vector<const Video*> Catalogue::search(std::string_view words) const
{
    std::vector<std::u32string> folded;
    for (std::size_t start = 0; start < words.size();) {
        const auto begin = words.find_first_not_of(" \t\r\n", start);
        if (begin == std::string_view::npos)
            break;
        const auto end = std::min(words.find_first_of(" \t\r\n", begin), words.size());
        folded.push_back(foldCase(words.substr(begin, end - begin)));
        start = end;
    }

    std::vector<const Video*> found;
    for (const auto& video : videos_) {
        const auto title = foldCase(video.title);
        const auto description = foldCase(video.description);
        bool all = true;
        for (const auto& word : folded)
            all = all && (containsWord(title, word) || containsWord(description, word));
        if (all)
            found.push_back(&video);
    }
    return found;
}

} // namespace service
