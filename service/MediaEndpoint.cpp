#include "service/MediaEndpoint.h"

#include "service/ByteRange.h"
#include "service/StreamSignature.h"
#include "service/WholeNumber.h"

#include <algorithm>
#include <system_error>

namespace service {

MediaEndpoint::MediaEndpoint(const Catalogue& catalogue, const Faults& faults) : catalogue_(catalogue), faults_(faults)
{
}

HttpResponse MediaEndpoint::stream(const UrlQuery& query, std::string_view rangeHeader) const
{
    const auto id = query.value("id");
    const auto itagText = query.value("itag");
    const auto itagNumber = itagText ? wholeNumber<int>(*itagText) : std::nullopt;
    if (!id || !itagNumber)
        return HttpResponse::text(404, "No such stream.\n");
    const int itag = *itagNumber;

    const auto signature = query.value("signature");
    if (!signature || *signature != streamSignature(*id, itag))
        return HttpResponse::text(403, "Forbidden: the stream address is not signed.\n");

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

    if (faults_.cutStreams.contains(*id))
        response.delivery = Delivery::cut;
    else if (faults_.stallStreams.contains(*id))
        response.delivery = Delivery::stall;
    return response;
}

} // namespace service
