#pragma once

#include "catalogue/YouTubeUrl.h"
#include "platform/ImageDecoder.h"
#include "platform/Property.h"

#include <QList>
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

struct TBXMLElement;
class youtube_error;

// One video of the service: made from a search-feed item or from a watch-page
// address; its streams are extracted on demand, once, and ranked by quality.
// Another engine extracts them its own way (see catalogue/engine).
class YouTubeVideo : public std::enable_shared_from_this<YouTubeVideo> {
public:
    using StreamList = QList<std::shared_ptr<YouTubeUrl>>;

    // A subtitle track the video offers, as WebVTT.
    struct Subtitles {
        QString language; // "en", "pt-BR"
        QUrl url;
        bool automatic = false; // made by the service, not the uploader
    };
    // What the service says of the video beyond its title, for the files saved of it.
    struct About {
        QString channel;
        QString uploadDate; // "YYYY-MM-DD"; empty: not said
        std::optional<QUrl> cover; // the largest picture offered
        QList<Subtitles> subtitles;
    };
    // One height a video can be saved at: a stream with both, or a picture alone
    // joined with the best sound.
    struct Quality {
        int height = 0;
        int fps = 0;
        bool hdr = false;
        qint64 bytes = 0; // both streams together; 0: not known
        std::shared_ptr<YouTubeUrl> picture; // with the sound when sound is none
        std::shared_ptr<YouTubeUrl> sound;
        // "1080p60 HDR"
        QString label() const;
    };

    virtual ~YouTubeVideo() = default;
    YouTubeVideo(const YouTubeVideo&) = delete;
    YouTubeVideo& operator=(const YouTubeVideo&) = delete;

    // parserService: the whole address of the parser service. Fetches the item's
    // thumbnail and waits for it.
    static std::shared_ptr<YouTubeVideo> initFromXML(const TBXMLElement* item, const QUrl& parserService);
    // The same with the thumbnail fetched already (empty: none could be had).
    static std::shared_ptr<YouTubeVideo> initFromXML(const TBXMLElement* item, const QUrl& parserService,
                                                     const platform::Image& thumbnail);
    // Where the feed item's thumbnail is, if it names one.
    static std::optional<QUrl> thumbnailAddress(const TBXMLElement* item);
    static std::shared_ptr<YouTubeVideo> initFromURL(const QUrl& link, const QUrl& parserService);

    // The watch page, fetched on the first call; nothing unless it came with
    // status 200. Throws youtube_error for a link that is refused unread.
    std::optional<QString> loadHTML();
    // Extracts the streams, at most once per record; blocks. Throws youtube_error,
    // also for a page the parser cannot read.
    virtual void parseUrls();
    // Calls off an extraction under way (it ends with an error), where the
    // engine can; the service's reading ends by itself.
    virtual void abortParsing() {}
    // A new record of the same video through the same engine, its streams
    // still to be extracted: stream addresses expire.
    virtual std::shared_ptr<YouTubeVideo> fresh() const;
    // The stream of this format among the extracted ones (any kind); none when
    // there is none.
    std::shared_ptr<YouTubeUrl> streamOfFormat(const QString& formatId) const;
    // parseUrls on the shared worker pool, then done, or onError with the error.
    // Both run on the worker thread.
    void parseUrlsAsync(std::function<void()> done, std::function<void(const youtube_error&)> onError);
    // The same, answered on the main thread while context lives: an empty error
    // when the streams were read, else the reason, which is also logged.
    void parseUrlsAsync(const QObject* context, std::function<void(const QString& error)> then);

    // The highest-ranked stream, an MP4 one among equals (the last); none when no
    // stream has a known rank, unless one of unknown rank is MP4.
    std::shared_ptr<YouTubeUrl> UrlWithBestQuality() const;
    // The lowest-ranked stream, the first among equals; unknown ranks count lowest.
    std::shared_ptr<YouTubeUrl> UrlWithLowestQuality() const;
    // The first stream whose "quality (type)" text equals label.
    std::shared_ptr<YouTubeUrl> FirstUrlWithQuality(const QString& label) const;
    // "small" 0, "medium" 1, "large" 2, "hd720" 3, anything else -1.
    static int GetQuality(const QString& quality);

    // Streams of picture alone and of sound alone, which the yt-dlp engine
    // offers beside those in Urls(); none from the service.
    StreamList separateUrls() const { return separateUrls_.get(); }
    void setSeparateUrls(const StreamList& urls) { separateUrls_.set(urls); }
    // The best of them: the highest picture (MP4 first), the highest bitrate of
    // sound (M4A first); none when there is none.
    std::shared_ptr<YouTubeUrl> UrlWithBestPicture() const;
    std::shared_ptr<YouTubeUrl> UrlWithBestSound() const;
    // A picture alone that is higher than every stream with both: a video is
    // then best made of it and the best sound.
    bool isBetterJoined() const;

    // Every height the video has, highest first, one choice each: MP4 first at
    // equal height, then the higher frame rate; a stream with both before a
    // joined one. Streams of no known height count by their quality label.
    QList<Quality> qualities() const;
    // The highest of them no higher than the given height (0: any), else the
    // lowest there is; none when there is none.
    std::optional<Quality> qualityUpTo(int height) const;
    // The subtitles in a language ("en" takes "en-US" when there is no "en"),
    // the uploader's first; the service's automatic ones only when allowed.
    std::optional<Subtitles> subtitlesIn(const QString& language, bool automatic) const;

    About about() const { return about_.get(); }
    void setAbout(const About& about) { about_.set(about); }
    QString title() const { return title_.get(); }
    void setTitle(const QString& title) { title_.set(title); }
    QUrl link() const { return link_.get(); }
    void setLink(const QUrl& link) { link_.set(link); }
    StreamList Urls() const { return urls_.get(); }
    void setUrls(const StreamList& urls) { urls_.set(urls); }
    bool isLoading() const { return loading_; }
    void setLoading(bool loading) { loading_ = loading; }
    qint64 seconds() const { return seconds_; }
    void setSeconds(qint64 seconds) { seconds_ = seconds; }
    platform::Image thumbnail() const { return thumbnail_.get(); }
    void setThumbnail(const platform::Image& image) { thumbnail_.set(image); }
    platform::Image bigThumbnail() const { return bigThumbnail_.get(); }
    void setBigThumbnail(const platform::Image& image) { bigThumbnail_.set(image); }
    QMap<QString, StreamList> SortedUrls() const { return sortedUrls_.get(); }
    void setSortedUrls(const QMap<QString, StreamList>& sorted) { sortedUrls_.set(sorted); }
    QString description() const { return description_.get(); }
    void setDescription(const QString& description) { description_.set(description); }
    QStringList localizedQualitys() const { return localizedQualitys_.get(); }
    void setLocalizedQualitys(const QStringList& labels) { localizedQualitys_.set(labels); }

    QUrl parserService() const { return parserService_; }

protected:
    explicit YouTubeVideo(const QUrl& parserService) : parserService_(parserService) {}

    static platform::Image fetchImage(const QUrl& url);

private:
    const QUrl parserService_;
    // Held through a reading of the page: a second reading waits and finds the
    // streams there, so they are extracted once and every caller gets the same.
    std::mutex parsing_;
    platform::Property<QString> title_;
    platform::Property<QUrl> link_;
    platform::Property<std::optional<QString>> html_;
    platform::Property<StreamList> urls_;
    std::atomic<bool> loading_{false};
    std::atomic<qint64> seconds_{0};
    platform::Property<platform::Image> thumbnail_;
    platform::Property<platform::Image> bigThumbnail_;
    platform::Property<QMap<QString, StreamList>> sortedUrls_;
    platform::Property<QString> description_;
    platform::Property<QStringList> localizedQualitys_;
    platform::Property<StreamList> separateUrls_;
    platform::Property<About> about_;
};
