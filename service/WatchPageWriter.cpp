#include "service/WatchPageWriter.h"

#include "service/Markup.h"
#include "service/StreamSignature.h"
#include "service/Subtitles.h"
#include "service/UrlQuery.h"

#include <string_view>
#include <tuple>

namespace service {

namespace {

// The service's notices, exactly as its pages showed them.
constexpr std::string_view removedPage = R"(<!DOCTYPE html>
<html lang="en" dir="ltr">
<head>
<title>YouTube</title>
<meta name="description" content="Share your videos with friends, family, and the world">
<meta property="og:title" content="YouTube">
</head>
<body class="date-20121121 en_US ltr">
<div id="page-container"><div id="page" class="watch clearfix">
<div id="watch7-player-age-gate-content"></div>
<div id="unavailable-message" class="yt-alert yt-alert-default yt-alert-error  yt-alert-player">
  <div class="yt-alert-icon"><img src="//s.ytimg.com/yts/img/pixel-vfl3z5WfW.gif" class="icon master-sprite" alt="Alert icon"></div>
<div class="yt-alert-buttons"></div><div class="yt-alert-content" role="alert">    <div class="yt-alert-message">
            This video has been removed by the user.
    </div>
</div></div>
<div id="watch7-sidebar"><div class="watch-sidebar-section"></div></div>
</div></div>
</body>
</html>
)";

constexpr std::string_view privatePage = R"(<!DOCTYPE html>
<html lang="en" dir="ltr">
<head>
<title>YouTube</title>
<meta property="og:title" content="Private video">
</head>
<body class="date-20121121 en_US ltr">
<div id="page-container"><div id="page" class="watch clearfix">
<div id="watch7-container" class="transition-content">
<div id="player" class="  full-frame">
<div id="watch7-player-unavailable" class="player-width player-height">
  <div class="icon meh"></div>
  <div class="content">
    <h1 class="message">
      This video is private.
    </h1>
    <div class="submessage">Sorry about that.</div>
  </div>
</div>
</div>
</div>
</div></div>
</body>
</html>
)";

constexpr std::string_view unratedPage = R"(<!DOCTYPE html>
<html lang="en" dir="ltr">
<head>
<title>Unrated upload - YouTube</title>
<meta property="og:title" content="Unrated upload">
</head>
<body class="date-20121121 en_US ltr">
<div id="watch7-headline"><h1 class="yt">Unrated upload</h1>
<span class="yt-badge-rating-signal yt-badge-rating-signal-unrated">Unrated</span>
</div>
<div id="watch7-player-age-gate-content">
<p class="rating-info">This video may be inappropriate for some users. To view it, " sign in " and confirm your age.</p>
</div>
</body>
</html>
)";

constexpr std::string_view verifyAgeHead = R"(<!DOCTYPE html>
<html lang="en" dir="ltr">
<head>
<title>YouTube</title>
<meta property="og:title" content="Age-restricted video">
</head>
<body class="date-20121121 en_US ltr">
<div id="watch7-player-age-gate-content">
<div id="verify-details">
<h1 id="verify-headline">Content Warning</h1>
<p class="rating-info">This video may contain content that is &#8220;inappropriate&#8221; for some users, as flagged by YouTube's user community. </p>
<form method="post" action="/verify_age?next_url=/watch%3Fv%3D)";

constexpr std::string_view verifyAgeTail = R"("><button type="submit">Confirm</button></form>
</div>
</div>
</body>
</html>
)";

constexpr std::string_view fallbackHost = "tc.v1.cache1.melodrift.invalid";
constexpr std::string_view pastExpire = "1353520800";

// The map's parameter separator as the page's script escapes it.
constexpr std::string_view separator = "\\u0026";

std::string join(std::initializer_list<std::string> params)
{
    std::string out;
    for (const auto& param : params) {
        if (!out.empty())
            out += separator;
        out += param;
    }
    return out;
}

} // namespace

WatchPageWriter::WatchPageWriter(std::string base, std::optional<std::int64_t> expire)
    : base_(std::move(base)), expire_(expire)
{
}

std::string WatchPageWriter::streamAddress(const Video& video, const StreamFormat& format) const
{
    if (video.hostile && !video.hostile->stream.empty())
        return video.hostile->stream;
    const std::string itag = std::to_string(format.itag);
    const std::string expire = expire_ ? std::to_string(*expire_) : std::string(pastExpire);
    return base_ + "/videoplayback?sparams=" + UrlQuery::encode("id,itag,source,expire") + "&fexp=900222&itag=" + itag +
           "&source=melodrift&expire=" + expire + "&key=yt1&ratebypass=yes&id=" + UrlQuery::encode(video.id);
}

std::string WatchPageWriter::signature(const Video& video, int itag) const
{
    return streamSignature(video.id, itag, expire_);
}

std::string WatchPageWriter::thumbnailAddress(const Video& video) const
{
    return base_ + "/vi/" + UrlQuery::encode(video.id) + "/default.jpg";
}

std::string WatchPageWriter::webpThumbnailAddress(const Video& video) const
{
    return base_ + "/vi/" + UrlQuery::encode(video.id) + "/maxresdefault.webp";
}

std::string WatchPageWriter::subtitleAddress(const Video& video, std::string_view language) const
{
    return base_ + "/api/timedtext?v=" + UrlQuery::encode(video.id) + "&lang=" + UrlQuery::encode(language) +
           "&fmt=vtt";
}

std::string WatchPageWriter::write(const Video& video) const
{
    switch (video.kind) {
    case VideoKind::notice1: return std::string(removedPage);
    case VideoKind::notice2: return std::string(privatePage);
    case VideoKind::notice3: return std::string(unratedPage);
    case VideoKind::notice4:
        return std::string(verifyAgeHead) + UrlQuery::encode(video.id) + std::string(verifyAgeTail);
    case VideoKind::rtmpe: return rtmpePage(video);
    case VideoKind::normal: break;
    }
    return streamPage(video);
}

std::string WatchPageWriter::streamMap(const Video& video) const
{
    std::string map;
    for (const int itag : video.itags) {
        const StreamFormat* format = findStreamFormat(itag);
        if (!format)
            continue;
        const std::string url = "url=" + UrlQuery::encode(streamAddress(video, *format));
        const std::string quality = "quality=" + std::string(format->quality);
        const std::string type = "type=" + UrlQuery::encode(format->type);
        const std::string number = "itag=" + std::to_string(itag);
        const std::string signature = this->signature(video, itag);
        const std::string fallback = "fallback_host=" + std::string(fallbackHost);
        if (!map.empty())
            map += ',';
        // WebM entries come in the other order the service used, with the
        // signature under "s".
        if (format->extension == "webm")
            map += join({number, type, "s=" + signature, quality, url, fallback});
        else
            map += join({url, quality, fallback, type, number, "sig=" + signature});
    }
    return map;
}

std::string WatchPageWriter::html5Video(const Video& video) const
{
    // The same streams for players and general extractors that read no stream
    // map: one source each, labelled with its container and height. The large
    // picture as the poster: general extractors take it as the thumbnail.
    std::string out = "<video id=\"html5-player\" controls preload=\"none\" poster=\"" +
                      escapeHtml(webpThumbnailAddress(video)) + "\">\n";
    for (const int itag : video.itags) {
        const StreamFormat* format = findStreamFormat(itag);
        if (!format)
            continue;
        const std::string address = streamAddress(video, *format) + "&signature=" + signature(video, itag);
        const std::string height = std::to_string(format->height);
        out += "<source src=\"" + escapeHtml(address) + "\" type=\"" + escapeHtml(format->type) + "\" label=\"" +
               std::string(format->extension) + "-" + height + "p\" res=\"" + height + "\">\n";
    }
    for (const auto& language : subtitleLanguages())
        out += "<track kind=\"subtitles\" srclang=\"" + std::string(language.code) + "\" label=\"" +
               std::string(language.label) + "\" src=\"" + escapeHtml(subtitleAddress(video, language.code)) + "\">\n";
    out += "</video>\n";
    return out;
}

std::string WatchPageWriter::head(const Video& video) const
{
    const std::string title = escapeHtml(video.title);
    const std::string watch = base_ + "/watch?v=" + UrlQuery::encode(video.id);
    std::string out = "<!DOCTYPE html>\n<html lang=\"en\" dir=\"ltr\">\n<head>\n";
    out += "<title>" + title + " - YouTube</title>\n";
    out += "<link rel=\"canonical\" href=\"/watch?v=" + UrlQuery::encode(video.id) + "\">\n";
    out += "<meta name=\"title\" content=\"" + title + "\">\n";
    out += "<meta name=\"description\" content=\"" + escapeHtml(video.description) + "\">\n";
    out += "<meta property=\"og:site_name\" content=\"YouTube\">\n";
    out += "<meta property=\"og:url\" content=\"" + watch + "\">\n";
    out += "<meta property=\"og:title\" content=\"" + title + "\">\n";
    out += "<meta property=\"og:image\" content=\"" + thumbnailAddress(video) + "\">\n";
    out += "<meta property=\"og:type\" content=\"video\">\n";
    out += linkedData(video);
    out += "</head>\n";
    return out;
}

std::string WatchPageWriter::linkedData(const Video& video) const
{
    std::string out = "<script type=\"application/ld+json\">{\"@context\": \"https://schema.org\", "
                      "\"@type\": \"VideoObject\", ";
    out += "\"name\": \"" + escapeJson(video.title) + "\", ";
    out += "\"description\": \"" + escapeJson(video.description) + "\", ";
    out += "\"uploadDate\": \"" + isoDate(video.uploaded) + "\", ";
    out += "\"duration\": \"PT" + std::to_string(video.seconds) + "S\", ";
    out += "\"thumbnailUrl\": [\"" + escapeJson(thumbnailAddress(video)) + "\", \"" +
           escapeJson(webpThumbnailAddress(video)) + "\"], ";
    out += "\"author\": {\"@type\": \"Person\", \"name\": \"" + escapeJson(video.channel) + "\"}}</script>\n";
    return out;
}

std::string WatchPageWriter::streamPage(const Video& video) const
{
    const std::string title = escapeHtml(video.title);
    const std::string channel = escapeHtml(video.channel);
    const std::string id = UrlQuery::encode(video.id);
    std::string out = head(video);
    out += "<body class=\"date-20121121 en_US ltr\" dir=\"ltr\">\n";
    out += "<div id=\"page-container\"><div id=\"page\" class=\"watch clearfix\">\n";
    out += "<div id=\"watch7-container\" class=\"transition-content\" itemscope itemid=\"\" "
           "itemtype=\"http://schema.org/VideoObject\">\n";
    out += "<link itemprop=\"url\" href=\"" + base_ + "/watch?v=" + id + "\">\n";
    out += "<meta itemprop=\"name\" content=\"" + title + "\">\n";
    out += "<meta itemprop=\"duration\" content=\"PT" + std::to_string(video.seconds / 60) + "M" +
           std::to_string(video.seconds % 60) + "S\">\n";
    // The JPEG first: readers that take one thumbnail take the first.
    out += "<link itemprop=\"thumbnailUrl\" href=\"" + thumbnailAddress(video) + "\">\n";
    out += "<link itemprop=\"thumbnailUrl\" href=\"" + webpThumbnailAddress(video) + "\">\n";
    out += "<meta itemprop=\"uploadDate\" content=\"" + isoDate(video.uploaded) + "\">\n";
    out += "<span itemprop=\"author\" itemscope itemtype=\"http://schema.org/Person\">";
    out += "<meta itemprop=\"name\" content=\"" + channel + "\"></span>\n";
    out += "<div id=\"watch7-video-container\"><div id=\"watch7-video\">"
           "<div id=\"watch-player\" class=\"flash-player\"></div>\n<script>\n";
    out += "  yt.setConfig({'PLAYER_CONFIG': {\"min_version\": \"8.0.0\", \"args\": {\"fexp\": \"900222\", "
           "\"ptk\": \"youtube_none\", \"enablecsi\": \"1\", \"allow_embed\": 1, \"vq\": \"auto\", ";
    out += "\"length_seconds\": " + std::to_string(video.seconds) + ", ";
    out += "\"url_encoded_fmt_stream_map\": \"" + streamMap(video) + "\", ";
    out += "\"timestamp\": 1353499200, \"hl\": \"en_US\", \"video_id\": \"" + id + "\"}, \"html5\": false, "
           "\"attrs\": {\"id\": \"movie_player\"}}});\n";
    out += "</script>\n" + html5Video(video) + "</div></div>\n";
    out += "<div id=\"watch7-main-container\"><div id=\"watch7-main\" class=\"clearfix\">\n";
    out += "<div id=\"watch-headline-title\"><h1 id=\"watch-headline-title\" class=\"yt\">"
           "<span id=\"eow-title\" class=\"watch-title\" dir=\"ltr\" title=\"" +
           title + "\">" + title + "</span></h1></div>\n";
    out += "<div id=\"watch7-user-header\">Uploaded by <span class=\"yt-user-name author\">" + channel +
           "</span> on <span id=\"eow-date\" class=\"watch-video-date\">" + isoDate(video.uploaded) + "</span></div>\n";
    out += "<div id=\"watch-description\"><p id=\"eow-description\" >" + escapeHtml(video.description) +
           "</p></div>\n";
    out += "</div></div>\n</div>\n</div></div>\n</body>\n</html>\n";
    return out;
}

std::string WatchPageWriter::rtmpePage(const Video& video) const
{
    static constexpr std::string_view rtmpeHost = "rtmpe://v9.lscache2.melodrift.invalid/stream?ei=QkJCQkJC";
    std::string map;
    std::string sources;
    for (const auto& [itag, quality, stream, height] : {std::tuple{35, "hd720", "m1=sQ2AiYw3b8H2J2NM", "720"},
                                                        std::tuple{34, "medium", "m1=nG5bCzDHl1U", "360"}}) {
        if (!map.empty())
            map += ',';
        map += join({"conn=" + UrlQuery::encode(rtmpeHost), "stream=" + UrlQuery::encode(stream),
                     std::string("quality=") + quality, "type=" + UrlQuery::encode("video/x-flv"),
                     "itag=" + std::to_string(itag)});
        sources += "<source src=\"" + escapeHtml(std::string(rtmpeHost) + "&stream=" + UrlQuery::encode(stream)) +
                   "\" type=\"video/x-flv\" label=\"flv-" + height + "p\" res=\"" + height + "\">\n";
    }
    std::string out = head(video);
    out += "<body class=\"date-20121121 en_US ltr\">\n";
    out += "<link itemprop=\"thumbnailUrl\" href=\"" + thumbnailAddress(video) + "\">\n";
    out += "<script>\n  yt.setConfig({'PLAYER_CONFIG': {\"args\": {\"length_seconds\": " +
           std::to_string(video.seconds) + ", \"url_encoded_fmt_stream_map\": \"" + map + "\", \"video_id\": \"" +
           UrlQuery::encode(video.id) + "\"}}});\n</script>\n";
    out += "<video id=\"html5-player\" controls preload=\"none\">\n" + sources + "</video>\n</body>\n</html>\n";
    return out;
}

} // namespace service
