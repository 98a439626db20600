#include "core/id3_url_frame.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <unistd.h>

namespace {

std::string frame(std::string_view id, std::string_view body)
{
    std::string out(id);
    for (int shift = 24; shift >= 0; shift -= 8)
        out += static_cast<char>(body.size() >> shift & 0xFF);
    return out + std::string(2, '\0') + std::string(body);
}

// A file with an ID3 tag of these frames and padding, then some audio.
std::string tagged(const std::string& frames, std::size_t padding, char version = 3, char flags = 0)
{
    const std::size_t size = frames.size() + padding;
    std::string out = "ID3";
    out += version;
    out += '\0';
    out += flags;
    for (int shift = 21; shift >= 0; shift -= 7)
        out += static_cast<char>(size >> shift & 0x7F);
    return out + frames + std::string(padding, '\0') + "\xFF\xFB\x90\x64 audio";
}

class Id3File {
public:
    explicit Id3File(const std::string& bytes) { std::ofstream(path_, std::ios::binary) << bytes; }
    ~Id3File() { std::filesystem::remove(path_); }
    const std::filesystem::path& path() const { return path_; }
    std::string bytes() const
    {
        std::ifstream in(path_, std::ios::binary);
        std::ostringstream all;
        all << in.rdbuf();
        return all.str();
    }

private:
    std::filesystem::path path_ =
        std::filesystem::temp_directory_path() / ("id3_url_frame_test_" + std::to_string(::getpid()) + ".mp3");
};

} // namespace

TEST(Id3UrlFrame, WritesIntoThePaddingOnlyWhatFitsAndIsLatin1)
{
    const std::string title = frame("TIT2", std::string("\0Song", 5));
    const std::string url = "https://v.example/watch?v=abc";
    const std::string woas = frame("WOAS", url);

    const struct {
        const char* what;
        std::string before;
        std::string url;
        std::string after; // empty: the file is left as it was
    } cases[] = {
        {"fits exactly", tagged(title, woas.size()), url, tagged(title + woas, 0)},
        {"first frame of an empty tag", tagged("", woas.size()), url, tagged(woas, 0)},
        {"Latin-1 as one byte", tagged(title, 24), "http://x/\xC3\xA9",
         tagged(title + frame("WOAS", "http://x/\xE9"), 4)},
        {"one byte short", tagged(title, woas.size() - 1), url, ""},
        {"beyond Latin-1", tagged(title, 64), "http://x/\xC4\x81", ""},
        {"a control character", tagged(title, 64), "http://x/\n", ""},
        {"broken UTF-8", tagged(title, 64), "http://x/\xC3", ""},
        {"empty", tagged(title, 64), "", ""},
        {"there already", tagged(frame("WOAS", "http://old/"), 64), url, ""},
        {"ID3v2.4", tagged(title, 64, 4), url, ""},
        {"unsynchronised", tagged(title, 64, 3, '\x80'), url, ""},
        {"not ID3 at all", "RIFF" + std::string(64, '\0'), url, ""},
        {"size not syncsafe", tagged(title, 64).replace(9, 1, "\x80"), url, ""},
        {"a frame reaching past the tag", tagged(frame("TIT2", "x").replace(7, 1, "\x7F"), 64), url, ""},
        {"no frame id", tagged("ti\x01\x02" + std::string(6, '\0'), 64), url, ""},
        {"bytes in the padding", tagged(title + std::string(20, '\0') + "x", 64), url, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const Id3File file(c.before);
        EXPECT_EQ(add_id3_url_frame(file.path(), "WOAS", c.url), !c.after.empty());
        EXPECT_EQ(file.bytes(), c.after.empty() ? c.before : c.after);
    }

    // Only plain link frames: WXXX has a description too.
    for (const char* id : {"WXXX", "TIT2", "WOA", "woas"}) {
        const Id3File file(tagged(title, 64));
        EXPECT_FALSE(add_id3_url_frame(file.path(), id, url)) << id;
    }
    EXPECT_FALSE(add_id3_url_frame("/nonexistent/a.mp3", "WOAS", url));
}
