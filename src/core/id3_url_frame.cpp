#include "core/id3_url_frame.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <optional>
#include <string>

namespace {

constexpr std::size_t header_size = 10; // of the tag and of each frame alike

using header = std::array<unsigned char, header_size>;

bool is_frame_id(const unsigned char* id)
{
    return std::all_of(id, id + 4, [](unsigned char c) { return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); });
}

// The URL in ISO-8859-1: UTF-8 of code points up to U+00FF is one byte, or
// C2/C3 and one continuation byte. Control characters are refused with the rest.
std::optional<std::string> printable_latin1(std::string_view utf8)
{
    std::string out;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        auto code = static_cast<unsigned char>(utf8[i]);
        if (code >= 0x80) {
            const bool pair = (code == 0xC2 || code == 0xC3) && i + 1 < utf8.size() &&
                              (static_cast<unsigned char>(utf8[i + 1]) & 0xC0) == 0x80;
            if (!pair)
                return std::nullopt;
            code = static_cast<unsigned char>((code & 0x03) << 6 | (static_cast<unsigned char>(utf8[++i]) & 0x3F));
        }
        if (code < 0x20 || (code >= 0x7F && code < 0xA0))
            return std::nullopt;
        out.push_back(static_cast<char>(code));
    }
    return out;
}

bool read_at(std::fstream& file, std::uint64_t offset, unsigned char* into, std::size_t size)
{
    file.seekg(static_cast<std::streamoff>(offset));
    return static_cast<bool>(file.read(reinterpret_cast<char*>(into), static_cast<std::streamsize>(size)));
}

} // namespace

bool add_id3_url_frame(const std::filesystem::path& path, std::string_view frame_id, std::string_view url)
{
    // WXXX alone has an encoding byte and a description: not a plain link.
    const auto* id = reinterpret_cast<const unsigned char*>(frame_id.data());
    if (frame_id.size() != 4 || frame_id[0] != 'W' || frame_id == "WXXX" || !is_frame_id(id))
        return false;
    const std::optional<std::string> link = printable_latin1(url);
    if (!link || link->empty())
        return false;

    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    header tag{};
    if (!file || !read_at(file, 0, tag.data(), tag.size()))
        return false;
    // Version 3.0 and no flags: an unsynchronised tag would need the frame
    // unsynchronised too, and an extended header is one more thing to walk.
    if (tag[0] != 'I' || tag[1] != 'D' || tag[2] != '3' || tag[3] != 3 || tag[4] != 0 || tag[5] != 0)
        return false;
    std::uint64_t tag_size = 0;
    for (std::size_t i = 6; i < header_size; ++i) {
        if (tag[i] & 0x80)
            return false;
        tag_size = tag_size << 7 | tag[i];
    }

    // The frames, up to the first zero byte where a frame id would be: padding.
    std::uint64_t at = 0;
    while (at + header_size <= tag_size) {
        header frame{};
        if (!read_at(file, header_size + at, frame.data(), frame.size()))
            return false;
        if (frame[0] == 0)
            break;
        // A broken tag, or one that has the frame already (one of each is allowed).
        if (!is_frame_id(frame.data()) || std::equal(id, id + 4, frame.data()))
            return false;
        const std::uint64_t body =
            std::uint64_t{frame[4]} << 24 | std::uint64_t{frame[5]} << 16 | std::uint64_t{frame[6]} << 8 | frame[7];
        at += header_size + body;
    }
    const std::uint64_t size = header_size + link->size();
    if (at > tag_size || tag_size - at < size)
        return false;
    // What is written over must be padding indeed.
    std::string old(size, '\0');
    if (!read_at(file, header_size + at, reinterpret_cast<unsigned char*>(old.data()), old.size()) ||
        old.find_first_not_of('\0') != std::string::npos)
        return false;

    std::string frame(frame_id);
    for (int shift = 24; shift >= 0; shift -= 8)
        frame.push_back(static_cast<char>(link->size() >> shift & 0xFF));
    frame.append(2, '\0'); // flags
    frame += *link;
    file.seekp(static_cast<std::streamoff>(header_size + at));
    file.write(frame.data(), static_cast<std::streamsize>(frame.size()));
    file.flush();
    return static_cast<bool>(file);
}
