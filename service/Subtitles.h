#pragma once

#include "service/Video.h"

#include <cstdint>
#include <optional>
#include <ostream>
#include <span>
#include <string>
#include <string_view>

namespace service {

// The subtitle tracks of "/api/timedtext": WebVTT, a cue every cueSeconds across
// the whole video, each naming the second it starts at.
struct SubtitleLanguage {
    std::string_view code;  // srclang, and the address's lang
    std::string_view label; // as a player lists it
};

inline constexpr unsigned cueSeconds = 4;

std::span<const SubtitleLanguage> subtitleLanguages();
bool hasSubtitles(std::string_view language);

// nullopt for a language without a track.
std::optional<std::string> subtitleTrack(const Video& video, std::string_view language);

// The hostile mode's track: terminal escapes, a bidi override and other controls
// in every cue, cues a millisecond apart until at least `bytes` are written.
// Written as it goes, never held whole.
void writeHostileTrack(std::ostream& out, std::uint64_t bytes);

} // namespace service
