#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QUrl>

#include "catalogue/YouTubeVideo.h"

#include <memory>
#include <optional>

class YouTubeUrl;

// What yt-dlp's JSON answers say, read with Qt's JSON reader and checked as
// what a stranger sent: only http(s) addresses, bounded sizes and counts.
namespace engine::ytdlp {

using Headers = QList<QPair<QByteArray, QByteArray>>;

// One video of a search's answer, in the answer's order.
struct FoundVideo {
    QString title;
    QString description;
    qint64 seconds = 0;
    QUrl link;
    std::optional<QUrl> thumbnail;
};

// One of a video's formats that Melodrift can fetch.
struct Format {
    enum class Media { PictureAndSound, PictureOnly, SoundOnly };
    QUrl url;
    // "small", "medium", "large", "hd720"; "hd1080" for picture alone, "audio" for sound alone
    QString quality;
    QString type;    // the MIME type, with the codecs where they are known
    Media media = Media::PictureAndSound;
    int height = 0;     // 0: unknown
    double bitrate = 0; // kbit/s, 0: unknown
    Headers headers;
    QString formatId;   // yt-dlp's name of the format, which a later extraction gives again
    qint64 chunkSize = 0; // the widest byte range to ask for at once, 0: not said
    int fps = 0;          // 0: unknown
    bool hdr = false;
    qint64 bytes = 0;     // the stream's size, exact or yt-dlp's estimate; 0: unknown
};

struct ExtractedVideo {
    QString title;
    QString description;
    qint64 seconds = 0; // 0: unknown
    std::optional<QUrl> thumbnail;
    // The channel, date, largest picture and WebVTT subtitles.
    YouTubeVideo::About about;
    QList<Format> formats; // best first
    // Schemes of formats left out for want of http(s), for the reason when none is left.
    QStringList refusedSchemes;
};

template <typename T>
struct Reading {
    std::optional<T> value;
    QString error; // when no value
};

// Bounds on what is read at all.
constexpr qint64 largestAnswer = 32 * 1024 * 1024;
constexpr qsizetype mostVideos = 100;
constexpr qsizetype mostFormats = 500;
constexpr qsizetype mostHeaders = 32;
constexpr qsizetype mostSubtitleLanguages = 300;
// Tag text: a channel's name, at most this long.
constexpr qsizetype longestChannel = 200;

// `yt-dlp -J --flat-playlist` of a search or a feed.
Reading<QList<FoundVideo>> readSearch(const QByteArray& json);
// `yt-dlp -J ADDRESS` of one video (or a playlist of one).
Reading<ExtractedVideo> readVideo(const QByteArray& json);

// The stream record of a format.
std::shared_ptr<YouTubeUrl> streamOf(const Format& format);

// The quality label of a picture height: 1080 and up "hd1080", 720 "hd720", 480
// "large", 360 "medium", below (or unknown) "small".
QString qualityForHeight(int height);
// "video/mp4; codecs=\"avc1.64001F, mp4a.40.2\"" from the extension and codecs.
QString mimeType(const QString& ext, const QString& vcodec, const QString& acodec, Format::Media media);
// The reason in yt-dlp's standard error: its last "ERROR:" line without the
// label and the plea to report it; else its last line.
QString reasonIn(const QByteArray& standardError);

} // namespace engine::ytdlp
