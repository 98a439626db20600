#pragma once

#include "core/parser_result.h"
#include "platform/Property.h"

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QUrl>

#include <atomic>
#include <memory>

// One downloadable stream of a video, with the labels shown for it.
class YouTubeUrl {
public:
    // What the stream carries: the service's streams have both; other engines
    // also offer picture alone and sound alone.
    enum class Media { PictureAndSound, PictureOnly, SoundOnly };
    using Headers = QList<QPair<QByteArray, QByteArray>>;

    static std::shared_ptr<YouTubeUrl> init(const result_url& stream);

    // The file suffix (without dot) for a stream's media type.
    static QString getVideoSuffix(const QString& type);
    bool isMP4() const;

    // Empty when the address could not be read, even after the "%22" repair.
    QUrl url() const { return url_.get(); }
    void setUrl(const QUrl& url) { url_.set(url); }
    QString quality() const { return quality_.get(); }
    void setQuality(const QString& quality) { quality_.set(quality); }
    QString type() const { return type_.get(); }
    void setType(const QString& type) { type_.set(type); }
    QString localizedQuality() const { return localizedQuality_.get(); }
    void setLocalizedQuality(const QString& label) { localizedQuality_.set(label); }
    QString localizedType() const { return localizedType_.get(); }
    void setLocalizedType(const QString& label) { localizedType_.set(label); }
    Media media() const { return media_.get(); }
    void setMedia(Media media) { media_.set(media); }
    // The picture's height in pixels, 0 when not known; the bitrate in kbit/s.
    int height() const { return height_.get(); }
    void setHeight(int height) { height_.set(height); }
    double bitrate() const { return bitrate_.get(); }
    void setBitrate(double bitrate) { bitrate_.set(bitrate); }
    // Frames a second (0: not known), whether the picture is of high dynamic
    // range, and the stream's size in bytes (0: not known).
    int fps() const { return fps_; }
    void setFps(int fps) { fps_ = fps; }
    bool isHdr() const { return hdr_; }
    void setHdr(bool hdr) { hdr_ = hdr; }
    qint64 bytes() const { return bytes_; }
    void setBytes(qint64 bytes) { bytes_ = bytes; }
    // Headers its download must send.
    Headers httpHeaders() const { return httpHeaders_.get(); }
    void setHttpHeaders(const Headers& headers) { httpHeaders_.set(headers); }
    // What names the stream in a later extraction of the same video (its
    // address expires): yt-dlp's format id, or the service's itag.
    QString formatId() const { return formatId_.get(); }
    void setFormatId(const QString& id) { formatId_.set(id); }
    // The widest byte range its server serves at full speed; 0: not said.
    qint64 chunkSize() const { return chunkSize_; }
    void setChunkSize(qint64 bytes) { chunkSize_ = bytes; }

private:
    platform::Property<QUrl> url_;
    platform::Property<QString> quality_;
    platform::Property<QString> type_;
    platform::Property<QString> localizedQuality_;
    platform::Property<QString> localizedType_;
    platform::Property<Media> media_{Media::PictureAndSound};
    platform::Property<int> height_;
    platform::Property<double> bitrate_;
    platform::Property<Headers> httpHeaders_;
    platform::Property<QString> formatId_;
    std::atomic<qint64> chunkSize_{0};
    std::atomic<int> fps_{0};
    std::atomic<bool> hdr_{false};
    std::atomic<qint64> bytes_{0};
};
