#pragma once

#include "downloads/Settings.h"

#include <QString>

#include <optional>

// How a job saves what it fetches: the settings of the moment it was made, or
// what one run of the command line says instead.
struct SaveOptions {
    int quality = 0; // the highest picture in lines; 0: the best
    Settings::Sound sound = Settings::Sound::MP3;
    bool tags = true;           // title, channel, date, address and cover
    QString subtitles;          // a language code; empty: none
    bool automaticSubtitles = false;
    std::optional<bool> convert; // none: the setting when the video is saved

    static SaveOptions current();
};
