#include "service/Subtitles.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace service {

namespace {

constexpr std::array<SubtitleLanguage, 2> languages{{{"en", "English"}, {"de", "Deutsch"}}};
// What each language calls a second, by the index of languages.
constexpr std::array<std::string_view, 2> secondWords{"Second", "Sekunde"};

std::string timestamp(std::uint64_t milliseconds)
{
    char text[32];
    std::snprintf(text, sizeof text, "%02llu:%02llu:%02llu.%03llu",
                  static_cast<unsigned long long>(milliseconds / 3600000),
                  static_cast<unsigned long long>(milliseconds / 60000 % 60),
                  static_cast<unsigned long long>(milliseconds / 1000 % 60),
                  static_cast<unsigned long long>(milliseconds % 1000));
    return text;
}

std::string cue(std::uint64_t number, std::uint64_t fromMs, std::uint64_t toMs, std::string_view text)
{
    return std::to_string(number) + '\n' + timestamp(fromMs) + " --> " + timestamp(toMs) + '\n' + std::string(text) +
           "\n\n";
}

} // namespace

std::span<const SubtitleLanguage> subtitleLanguages()
{
    return languages;
}

bool hasSubtitles(std::string_view language)
{
    for (const auto& known : languages)
        if (known.code == language)
            return true;
    return false;
}

std::optional<std::string> subtitleTrack(const Video& video, std::string_view language)
{
    std::size_t index = 0;
    while (index < languages.size() && languages[index].code != language)
        ++index;
    if (index == languages.size())
        return std::nullopt;

    std::string out = "WEBVTT\n\n";
    out.reserve(out.size() + (video.seconds / cueSeconds + 1) * 48);
    std::uint64_t number = 1;
    for (std::uint64_t from = 0; from < video.seconds; from += cueSeconds, ++number) {
        const std::uint64_t to = std::min<std::uint64_t>(from + cueSeconds, video.seconds);
        std::string text = std::string(secondWords[index]) + ' ' + std::to_string(from);
        // One cue beyond ASCII, for readers that would take the track as Latin-1.
        if (from == 0)
            text = "♪ " + text + " ♪";
        out += cue(number, from * 1000, to * 1000, text);
    }
    return out;
}

void writeHostileTrack(std::ostream& out, std::uint64_t bytes)
{
    // A title bar, a cleared screen and red text on a terminal; a line that reads
    // backwards; a bell, backspaces and a delete.
    constexpr std::string_view piece = "\x1b]0;pwned\x07\x1b[2J\x1b[31mRed\x1b[0m \u202Egnp.exe\u202C \x08\x08\x7f ";
    std::string text;
    while (text.size() < 1200)
        text += piece;
    out << "WEBVTT\n\n";
    std::uint64_t written = 8;
    for (std::uint64_t number = 1; written < bytes && out; ++number) {
        const std::string one = cue(number, number - 1, number, text);
        out << one;
        written += one.size();
    }
}

} // namespace service
