#pragma once

#include "service/Catalogue.h"
#include "service/Faults.h"
#include "service/HttpMessage.h"
#include "service/MediaEndpoint.h"

#include <string>

namespace service {

// Answers the service's requests: the search feed, watch pages, the parser
// service, thumbnails, subtitles and media streams. Safe to call from many
// threads at once.
class ServiceRouter {
public:
    // base: the address pages point at when a request names no usable Host.
    // report: where the records of media answers go (see MediaEndpoint).
    ServiceRouter(const Catalogue& catalogue, Faults faults, std::string base,
                  MediaEndpoint::Report report = MediaEndpoint::toStandardOutput);

    ServiceRouter(const ServiceRouter&) = delete;
    ServiceRouter& operator=(const ServiceRouter&) = delete;

    HttpResponse handle(const HttpRequest& request) const;

    // The parser service's answer to a posted watch page.
    static std::string parserReply(const std::string& page);

private:
    std::string baseFor(const HttpRequest& request) const;
    HttpResponse feed(const HttpRequest& request, std::string_view query) const;
    HttpResponse watch(const HttpRequest& request, std::string_view query) const;
    HttpResponse parser(const HttpRequest& request) const;
    HttpResponse thumbnail(std::string_view path) const;
    HttpResponse subtitles(std::string_view query) const;

    const Catalogue& catalogue_;
    const Faults faults_;
    const std::string base_;
    const MediaEndpoint media_;
};

} // namespace service
