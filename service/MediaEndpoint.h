#pragma once

#include "service/Catalogue.h"
#include "service/Faults.h"
#include "service/HttpMessage.h"
#include "service/UrlQuery.h"

#include <string_view>

namespace service {

// The media streams at "/videoplayback": the address must carry the video id,
// the format and the signature the watch page gave for them. Byte ranges are
// honoured; the stream fault switches apply here.
class MediaEndpoint {
public:
    MediaEndpoint(const Catalogue& catalogue, const Faults& faults);

    HttpResponse stream(const UrlQuery& query, std::string_view range) const;

private:
    const Catalogue& catalogue_;
    const Faults& faults_;
};

} // namespace service
