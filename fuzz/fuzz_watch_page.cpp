// Feeds arbitrary bytes to the watch-page parser and to the character-reference
// decoder, checking what must hold for any input.
#include "core/html_entities.h"
#include "core/youtube_parser.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <string>

namespace {

void check(bool condition)
{
    if (!condition)
        std::abort();
}

void fuzz_parser(const std::string& page)
{
    youtube_parser parser(page);
    try {
        parser.parse();
    } catch (const std::exception&) {
        // Every failure the parser knows of is an exception; anything else is a bug.
    }
    for (const auto& stream : parser.urls) {
        const std::string full = stream.url();
        const std::string without_type = stream.url_without_type();
        check(without_type.size() <= full.size());
        check(full.compare(0, stream.file().size(), stream.file()) == 0);
    }
}

void fuzz_decoder(const std::string& text)
{
    const std::size_t length = std::strlen(text.c_str());
    // Exactly the promised room, so that ASan sees any write past it.
    auto separate = std::make_unique<char[]>(length + 1);
    const std::size_t written = decode_html_entities_utf8(separate.get(), text.c_str());
    check(written <= length);
    check(separate[written] == '\0');

    std::string in_place = text;
    check(decode_html_entities_utf8(in_place.data(), nullptr) == written);
    check(std::memcmp(in_place.data(), separate.get(), written + 1) == 0);
}

void fuzz_unescapers(const std::string& text)
{
    std::string out;
    youtube_parser::query_unescape(text, out);
    check(out.size() <= text.size());
    try {
        check(youtube_parser::unicode_unescape(text).size() <= text.size());
    } catch (const std::exception&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    fuzz_parser(input);
    fuzz_decoder(input);
    fuzz_unescapers(input);
    return 0;
}
