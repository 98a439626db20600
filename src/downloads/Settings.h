#pragma once

#include "catalogue/engine/Engine.h"

// The program's user settings, kept in the user's settings store.
class Settings {
public:
    // Whether video jobs convert streams that are not MP4 to H.264 MP4 (else
    // every stream is copied as it is). Default: yes.
    static void registerDefaults();
    static bool convertVideos();
    static void setConvertVideos(bool convert);

    // Where videos are found: the engine and the yt-dlp program (empty: the
    // one on PATH). Default: the classic engine.
    static engine::Choice engineChoice();
    static void setEngineChoice(const engine::Choice& choice);
};
