#pragma once

#include <QString>

// What a saved file is titled with, from what the service said of the video.
// The text is as it came: writers clean it.
struct FileTags {
    QString title;
    QString artist;           // the channel or uploader
    QString date;             // "YYYY-MM-DD", "YYYY-MM" or "YYYY"; anything else is left out
    QString address;          // the watch page: comment and URL
    QString album;            // a list's title, when saved from a list
    int track = 0;            // position in that list, 0: none
    QString coverFile;        // a JPEG already checked and decoded, empty: none
    QString subtitleFile;     // WebVTT fetched from the network, empty: none
    QString subtitleLanguage; // "en", "de" ... as the service names it
    QString subtitleCopy;     // where the SRT beside the video goes, empty: none

    bool isEmpty() const;

    // The ISO 639-2 code of subtitleLanguage, which is what the containers
    // store: the bibliographic one ("ger") for Matroska, the terminological one
    // ("deu") for MP4. Empty for a language not known here: no tag beats a
    // wrong one.
    QString subtitleLanguageCode(bool bibliographic) const;

    // Text from the network made fit for a tag: control characters (C0, DEL,
    // C1, the line and paragraph separators) become blanks, invisible direction
    // controls and lone surrogates go, blank runs become one space, the ends are
    // trimmed, and the rest is cut to at most cap UTF-16 units, never inside a
    // surrogate pair.
    static QString clean(const QString& text, qsizetype cap = 1024);
};
