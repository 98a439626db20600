#pragma once

#include "catalogue/SearchSource.h"
#include "catalogue/YouTubeSearch.h"
#include "catalogue/YouTubeVideo.h"
#include "platform/ServiceEndpoints.h"

#include <QList>
#include <QString>
#include <QUrl>

#include <memory>
#include <optional>

// The seam between the views, jobs and command line and where videos come
// from: a search's source (words -> video records in order) and a stream
// extraction (a record's parseUrls). The classic engine is the service's feed
// and the parser exchange; the yt-dlp engine runs yt-dlp. Both give the same
// records and errors, so nothing above knows which one runs.
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

class Engine : public std::enable_shared_from_this<Engine> {
public:
    static std::shared_ptr<Engine> create(const Choice& choice, const platform::ServiceEndpoints& endpoints);
    virtual ~Engine() = default;

    // As asked for: an automatic choice stays automatic.
    virtual Choice choice() const = 0;
    const platform::ServiceEndpoints& endpoints() const { return endpoints_; }

    // Where its searches find videos.
    virtual std::shared_ptr<SearchSource> searchSource() = 0;
    // A search through that source.
    std::shared_ptr<YouTubeSearch> newSearch() { return YouTubeSearch::create(searchSource()); }
    // The video at a watch-page address, its streams still to be extracted.
    virtual std::shared_ptr<YouTubeVideo> videoAt(const QUrl& link) = 0;

protected:
    explicit Engine(const platform::ServiceEndpoints& endpoints) : endpoints_(endpoints) {}

private:
    const platform::ServiceEndpoints endpoints_;
};

} // namespace engine
