#include "service/MediaEndpoint.h"

#include "service/ByteRange.h"
#include "service/StreamSignature.h"
#include "service/WholeNumber.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <unistd.h>

namespace service {

namespace {

HttpResponse forbidden(const char* why)
{
    return HttpResponse::text(403, std::string("Forbidden: the stream address ") + why + ".\n");
}

std::int64_t unixNow()
{
    return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

} // namespace

MediaEndpoint::MediaEndpoint(const Catalogue& catalogue, const Faults& faults, Report report)
    : catalogue_(catalogue), faults_(faults), report_(std::move(report))
{
}

void MediaEndpoint::toStandardOutput(std::string_view line)
{
    [[maybe_unused]] const auto written = ::write(STDOUT_FILENO, line.data(), line.size());
}

HttpResponse MediaEndpoint::answer(const HttpRequest& request, const UrlQuery& query) const
{
    HttpResponse response;
    if (request.method == "GET" || request.method == "HEAD") {
        response = stream(query, request.range, request.method == "GET");
    } else {
        response = HttpResponse::text(405, "Method not allowed.\n");
        response.headers.emplace_back("Allow", "GET, HEAD");
    }
    if (faults_.perConnectionKiB > 0) {
        const std::uint64_t cap = faults_.perConnectionKiB * 1024;
        response.bytesPerSecond = response.bytesPerSecond == 0 ? cap : std::min(response.bytesPerSecond, cap);
    }

    if (!report_)
        return response;
    // The id as the client sent it, made safe for one line.
    const std::string id = UrlQuery::encode(query.value("id").value_or("")).substr(0, 100);
    const auto itag = wholeNumber<int>(query.value("itag").value_or(""));
    std::string range = "-";
    if (response.file && response.file->length > 0)
        range = std::to_string(response.file->offset) + "-" +
                std::to_string(response.file->offset + response.file->length - 1);
    const std::string record = "media " + (id.empty() ? std::string("-") : id) + " " +
                               (itag ? std::to_string(*itag) : std::string("-")) + " " +
                               std::to_string(response.status) + " " + range + " ";
    response.sent = [report = report_, record, connection = request.connection](std::uint64_t bytes) {
        report(record + std::to_string(bytes) + " " + std::to_string(connection) + "\n");
    };
    return response;
}

HttpResponse MediaEndpoint::stream(const UrlQuery& query, std::string_view rangeHeader, bool withBody) const
{
    const auto id = query.value("id");
    const auto itagText = query.value("itag");
    const auto itagNumber = itagText ? wholeNumber<int>(*itagText) : std::nullopt;
    if (!id || !itagNumber)
        return HttpResponse::text(404, "No such stream.\n");
    const int itag = *itagNumber;

    const auto signature = query.value("signature");
    std::optional<std::int64_t> expire;
    if (faults_.expireAfter) {
        expire = wholeNumber<std::int64_t>(query.value("expire").value_or(""));
        if (!expire)
            return forbidden("is not signed");
    }
    if (!signature || *signature != streamSignature(*id, itag, expire))
        return forbidden("is not signed");
    if (expire && unixNow() > *expire)
        return forbidden("has expired");

    const Video* video = catalogue_.find(*id);
    const StreamFormat* format = findStreamFormat(itag);
    if (!video || !format || std::find(video->itags.begin(), video->itags.end(), itag) == video->itags.end())
        return HttpResponse::text(404, "No such stream.\n");

    if (const auto it = faults_.failStreams.find(*id); it != faults_.failStreams.end())
        return HttpResponse::text(it->second, "Stream failure on request.\n");

    const bool borrowed = video->hostile && !video->hostile->mediaOf.empty();
    const auto path = Catalogue::mediaPath(catalogue_.dir(), borrowed ? video->hostile->mediaOf : video->id, *format);
    std::error_code error;
    const std::uint64_t size = std::filesystem::file_size(path, error);
    if (error)
        return HttpResponse::text(404, "No such stream.\n");

    HttpResponse response;
    response.contentType = std::string(format->mediaType);
    response.headers.emplace_back("Accept-Ranges", "bytes");
    const ByteRange range = ByteRange::parse(rangeHeader, size);
    switch (range.kind) {
    case ByteRange::Kind::unsatisfiable:
        response.status = 416;
        response.contentType = "text/plain; charset=utf-8";
        response.headers.emplace_back("Content-Range", "bytes */" + std::to_string(size));
        response.body = "Range not satisfiable.\n";
        return response;
    case ByteRange::Kind::partial:
        response.status = 206;
        response.headers.emplace_back("Content-Range", "bytes " + std::to_string(range.first) + "-" +
                                                           std::to_string(range.last) + "/" + std::to_string(size));
        response.file = HttpResponse::FileSlice{path, range.first, range.length()};
        break;
    case ByteRange::Kind::whole: response.file = HttpResponse::FileSlice{path, 0, size}; break;
    }

    // Small ranges are what players and parallel downloads ask for; only the
    // large ones are held back, as the service did.
    if (faults_.throttleKiB > 0 && (range.kind == ByteRange::Kind::whole || range.length() > Faults::throttledRange))
        response.bytesPerSecond = faults_.throttleKiB * 1024;

    // A HEAD has no body to cut: it does not use up one of the cuts.
    if (const auto cut = faults_.cutStreams.find(*id);
        cut != faults_.cutStreams.end() && cutNow(*id, cut->second, withBody)) {
        response.delivery = Delivery::cut;
        response.cutAfter = cut->second.after;
    } else if (faults_.stallStreams.contains(*id)) {
        response.delivery = Delivery::stall;
    }
    return response;
}

bool MediaEndpoint::cutNow(const std::string& id, const StreamCut& cut, bool counted) const
{
    if (!cut.times)
        return true;
    std::lock_guard lock(mutex_);
    unsigned& cuts = cutsMade_[id];
    if (cuts >= *cut.times)
        return false;
    if (counted)
        ++cuts;
    return true;
}

} // namespace service
