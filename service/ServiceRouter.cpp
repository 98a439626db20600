#include "service/ServiceRouter.h"

#include "core/parser_result.h"
#include "core/youtube_error.h"
#include "core/youtube_parser.h"
#include "service/FeedWriter.h"
#include "service/Subtitles.h"
#include "service/UrlQuery.h"
#include "service/WatchPageWriter.h"
#include "service/WholeNumber.h"

#include <chrono>
#include <exception>
#include <iostream>

namespace service {

namespace {

bool isGet(const HttpRequest& request)
{
    return request.method == "GET" || request.method == "HEAD";
}

HttpResponse methodNotAllowed(const char* allowed)
{
    auto response = HttpResponse::text(405, "Method not allowed.\n");
    response.headers.emplace_back("Allow", allowed);
    return response;
}

// A host name or address with an optional port, nothing that could break out of
// an attribute or an address.
bool usableHost(std::string_view host)
{
    if (host.empty() || host.size() > 255)
        return false;
    for (const char c : host)
        if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' || c == '-' ||
              c == ':' || c == '[' || c == ']'))
            return false;
    return true;
}

std::size_t startIndex(const UrlQuery& query)
{
    const auto text = query.value("start-index");
    const auto index = text ? wholeNumber<std::size_t>(*text) : std::nullopt;
    return index && *index > 0 ? *index : 1;
}

} // namespace

ServiceRouter::ServiceRouter(const Catalogue& catalogue, Faults faults, std::string base, MediaEndpoint::Report report)
    : catalogue_(catalogue), faults_(std::move(faults)), base_(std::move(base)),
      media_(catalogue_, faults_, std::move(report))
{
}

std::string ServiceRouter::baseFor(const HttpRequest& request) const
{
    // Pages point back at the address the client used, so that a client that
    // came through "localhost" keeps going there.
    return usableHost(request.host) ? "http://" + request.host : base_;
}

HttpResponse ServiceRouter::handle(const HttpRequest& request) const
{
    const auto [path, query] = UrlQuery::splitTarget(request.target);
    if (!faults_.secret.empty() &&
        (request.body.find(faults_.secret) != std::string::npos || request.target.find(faults_.secret) != std::string::npos))
        // On standard output, after the base address: the record a test reads.
        std::cout << "SECRET ARRIVED in " + request.method + " " + std::string(path) + "\n" << std::flush;
    HttpResponse response;
    std::optional<RequestKind> kind;
    if (path == "/feeds/api/videos") {
        kind = RequestKind::feed;
        response = isGet(request) ? feed(request, query) : methodNotAllowed("GET, HEAD");
    } else if (path == "/watch") {
        kind = RequestKind::watch;
        response = isGet(request) ? watch(request, query) : methodNotAllowed("GET, HEAD");
    } else if (path == "/cgi-bin/zor.parser") {
        kind = RequestKind::parser;
        response = request.method == "POST" ? parser(request) : methodNotAllowed("POST");
    } else if (path.starts_with("/vi/")) {
        kind = RequestKind::thumbnail;
        response = isGet(request) ? thumbnail(path) : methodNotAllowed("GET, HEAD");
    } else if (path == "/api/timedtext") {
        kind = RequestKind::subtitles;
        response = isGet(request) ? subtitles(query) : methodNotAllowed("GET, HEAD");
    } else if (path == "/videoplayback") {
        kind = RequestKind::media;
        response = media_.answer(request, UrlQuery(query));
    } else {
        response = HttpResponse::text(404, "Not found.\n");
    }
    if (kind)
        response.delay = faults_.latencyOf(*kind);
    return response;
}

HttpResponse ServiceRouter::feed(const HttpRequest& request, std::string_view queryText) const
{
    const UrlQuery query(queryText);
    const std::string words = query.value("q").value_or("");
    HttpResponse response;
    response.contentType = "application/rss+xml; charset=UTF-8";
    response.body =
        FeedWriter(baseFor(request)).write(words, catalogue_.search(words), startIndex(query), faults_.feedSize);
    return response;
}

HttpResponse ServiceRouter::watch(const HttpRequest& request, std::string_view queryText) const
{
    const auto id = UrlQuery(queryText).value("v");
    const Video* video = id ? catalogue_.find(*id) : nullptr;
    if (!video)
        return HttpResponse::text(404, "No such video.\n");
    HttpResponse response;
    response.contentType = "text/html; charset=utf-8";
    std::optional<std::int64_t> expire;
    if (faults_.expireAfter)
        expire = std::chrono::duration_cast<std::chrono::seconds>(
                     (std::chrono::system_clock::now() + *faults_.expireAfter).time_since_epoch())
                     .count();
    response.body = WatchPageWriter(baseFor(request), expire).write(*video);
    // The page is as old as its video: general extractors that find no date
    // on a page take this one.
    response.headers.emplace_back("Last-Modified", httpDate(video->uploaded));
    return response;
}

std::string ServiceRouter::parserReply(const std::string& page)
{
    try {
        return "DONE: " + save_parser_result(*youtube_parser::parse_html(page));
    } catch (const youtube_error& e) {
        return std::string("YERR: ") + e.what();
    } catch (const std::exception& e) {
        return std::string("YERR: ") + e.what();
    } catch (...) {
        return "YERR: unknown parser error.";
    }
}

HttpResponse ServiceRouter::parser(const HttpRequest& request) const
{
    switch (faults_.parser) {
    case ParserMode::down: {
        HttpResponse response;
        response.delivery = Delivery::drop;
        return response;
    }
    case ParserMode::garbage:
        return HttpResponse::text(200, "<html><body><h1>502 Proxy Error</h1>The parser is resting.</body></html>\n");
    case ParserMode::ok: break;
    }
    return HttpResponse::text(200, parserReply(request.body));
}

HttpResponse ServiceRouter::thumbnail(std::string_view path) const
{
    // "/vi/ID/NAME.jpg" and "/vi/ID/NAME.webp": every picture name of a video
    // gives its one thumbnail, small as JPEG, large as WebP.
    const auto rest = path.substr(4);
    const auto slash = rest.find('/');
    const Video* video = slash == std::string_view::npos ? nullptr : catalogue_.find(rest.substr(0, slash));
    const bool webp = rest.ends_with(".webp");
    if (!video || !(webp || rest.ends_with(".jpg")))
        return HttpResponse::text(404, "No such picture.\n");
    const bool hostile = video->hostile && !video->hostile->picture.empty();
    const auto file = hostile ? video->hostile->picture
                      : webp  ? Catalogue::webpThumbnailPath(catalogue_.dir(), video->id)
                              : Catalogue::thumbnailPath(catalogue_.dir(), video->id);
    std::error_code error;
    const auto size = std::filesystem::file_size(file, error);
    if (error)
        return HttpResponse::text(404, "No such picture.\n");
    HttpResponse response;
    response.contentType = hostile ? "image/png" : webp ? "image/webp" : "image/jpeg";
    response.file = HttpResponse::FileSlice{file, 0, size};
    return response;
}

HttpResponse ServiceRouter::subtitles(std::string_view queryText) const
{
    // "/api/timedtext?v=ID&lang=LANG&fmt=vtt": WebVTT is the one format there is.
    const UrlQuery query(queryText);
    const auto id = query.value("v");
    const Video* video = id ? catalogue_.find(*id) : nullptr;
    const std::string language = query.value("lang").value_or("");
    if (!video || !hasSubtitles(language) || query.value("fmt").value_or("vtt") != "vtt")
        return HttpResponse::text(404, "No such subtitles.\n");
    HttpResponse response;
    response.contentType = "text/vtt; charset=utf-8";
    if (video->hostile && !video->hostile->subtitles.empty()) {
        // Too large to hold: sent from its file as it is read.
        std::error_code error;
        const auto size = std::filesystem::file_size(video->hostile->subtitles, error);
        if (error)
            return HttpResponse::text(404, "No such subtitles.\n");
        response.file = HttpResponse::FileSlice{video->hostile->subtitles, 0, size};
        return response;
    }
    response.body = *subtitleTrack(*video, language);
    return response;
}

} // namespace service
