#pragma once

// The program's one user setting, kept in the user's settings store.
class Settings {
public:
    // Whether video jobs convert streams that are not MP4 to H.264 MP4 (else
    // every stream is copied as it is). Default: yes.
    static void registerDefaults();
    static bool convertVideos();
    static void setConvertVideos(bool convert);
};
