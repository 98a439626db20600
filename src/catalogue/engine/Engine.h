#pragma once

#include "catalogue/YouTubeVideo.h"
#include "platform/Error.h"
#include "platform/Event.h"
#include "platform/ServiceEndpoints.h"

#include <QList>
#include <QString>
#include <QUrl>

#include <memory>
#include <optional>

// The seam between the views, jobs and command line and where videos come
// from: a search (words -> video records in order) and a stream extraction
// (a record's parseUrls). The classic engine is the service's feed and the
// parser exchange; the yt-dlp engine runs yt-dlp. Both give the same records,
// events and errors, so nothing above knows which one runs.
namespace engine {

// automatic: the classic engine for a stand-in at a service base address
// (it speaks the feed), else yt-dlp when a usable one is there, else classic.
enum class Kind { automatic, classic, ytDlp };

// "auto", "classic" and "yt-dlp", as the option, the environment and the setting say them.
QString nameOf(Kind kind);
std::optional<Kind> kindNamed(const QString& name);

struct Choice {
    Kind kind = Kind::automatic;
    QString ytDlp; // the program; empty: the newer of Melodrift's own and PATH's
    // The browser whose sign-in yt-dlp uses (--cookies-from-browser); empty: none.
    QString signIn;

    // The browsers yt-dlp can take the sign-in of, as it names them.
    static const QStringList& browsers();

    // The option's value when given, else MELODRIFT_ENGINE, else the stored
    // kind; nothing (after saying why in error) for a name that is none.
    static std::optional<Choice> resolve(const QString& option, Choice stored, QString* error);
    static constexpr const char* environmentVariable = "MELODRIFT_ENGINE";
};

// One search at a time per object: a new start supersedes the one running,
// which ends without further events (its yt-dlp, if any, ended too). Events
// come on the search's own thread.
class VideoSearch {
public:
    virtual ~VideoSearch() = default;

    virtual void searchStart() = 0;
    // Ends the search under way without further events; the object is done with.
    virtual void cancel() = 0;
    // Blocks, running the calling thread's event loop, until no search runs.
    virtual void waitForFinish() const = 0;
    virtual bool isDone() const = 0;

    virtual QString searchString() const = 0;
    virtual void setSearchString(const QString& words) = 0;
    virtual QList<std::shared_ptr<YouTubeVideo>> videos() const = 0;
    // Tells one search from the next: a new object per search started.
    virtual std::shared_ptr<const QUrl> currentUrl() const = 0;
    virtual double downloadOffset() const = 0;
    virtual double downloadCount() const = 0;

    // (sender, number of videos)
    platform::Event<VideoSearch&, qulonglong> newVideosEvent;
    // (sender, error): why the search failed
    platform::Event<VideoSearch&, const platform::Error&> errorEvent;
    // (sender) after every change of downloadOffset or downloadCount
    platform::Event<VideoSearch&> updateEvent;
};

class Engine : public std::enable_shared_from_this<Engine> {
public:
    static std::shared_ptr<Engine> create(const Choice& choice, const platform::ServiceEndpoints& endpoints);
    virtual ~Engine() = default;

    // As asked for: an automatic choice stays automatic.
    virtual Choice choice() const = 0;
    const platform::ServiceEndpoints& endpoints() const { return endpoints_; }

    virtual std::shared_ptr<VideoSearch> newSearch() = 0;
    // The video at a watch-page address, its streams still to be extracted.
    virtual std::shared_ptr<YouTubeVideo> videoAt(const QUrl& link) = 0;

protected:
    explicit Engine(const platform::ServiceEndpoints& endpoints) : endpoints_(endpoints) {}

private:
    const platform::ServiceEndpoints endpoints_;
};

} // namespace engine
