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

    // Where videos are found: the engine, the yt-dlp program (empty: the newer
    // of Melodrift's own and PATH's) and the browser whose sign-in yt-dlp
    // uses. Default: automatic, no program chosen, no sign-in.
    static engine::Choice engineChoice();
    static void setEngineChoice(const engine::Choice& choice);

    // Whether the window keeps yt-dlp and Deno current, checking at most once
    // a day while the yt-dlp engine is in use. Default: yes.
    static bool keepToolsCurrent();
    static void setKeepToolsCurrent(bool keep);

    // How many connections one download may use at once, 1 to 8. Default: 4.
    static int connectionsPerDownload();
    static void setConnectionsPerDownload(int connections);

    // Where downloads are saved. Default: the user's Downloads folder.
    static QString downloadFolder();
    static void setDownloadFolder(const QString& folder);
};
