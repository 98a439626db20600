#pragma once

#include "catalogue/engine/Engine.h"

#include <QString>

#include <optional>

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

    // The highest picture that Download video saves, in lines; 0: the best there
    // is. One of videoQualities. Default: the best.
    static constexpr int videoQualities[] = {0, 2160, 1440, 1080, 720, 480};
    static int videoQuality();
    static void setVideoQuality(int height);

    // How sound tracks are saved: MP3 at 320 kbit/s, or the best sound stream as
    // it came (no re-encoding). Default: MP3.
    enum class Sound { MP3, Original };
    static Sound sound();
    static void setSound(Sound sound);
    static std::optional<Sound> soundNamed(const QString& name); // "mp3", "original"

    // Whether saved files carry the title, channel, date, address and cover. Default: yes.
    static bool tagFiles();
    static void setTagFiles(bool tag);

    // Which subtitles a saved video gets: "" none, "system" the system's
    // language, else a language code ("en", "pt-BR"). Default: none.
    static QString subtitles();
    static void setSubtitles(const QString& choice);
    // The language the subtitles setting names now; empty: none.
    static QString subtitleLanguage();
    // A language code as the service writes them: 2 to 3 letters, then a region
    // or script of 2 to 8 letters or digits.
    static bool isLanguageCode(const QString& code);
    // Whether the service's automatic subtitles do when the uploader made none. Default: no.
    static bool automaticSubtitles();
    static void setAutomaticSubtitles(bool automatic);

    // Where downloads are saved. Default: the user's Downloads folder.
    static QString downloadFolder();
    static void setDownloadFolder(const QString& folder);
};
