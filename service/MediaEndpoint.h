#pragma once

#include "service/Catalogue.h"
#include "service/Faults.h"
#include "service/HttpMessage.h"
#include "service/UrlQuery.h"

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace service {

// The media streams at "/videoplayback": the address must carry the video id,
// the format and the signature the watch page gave for them (and, with
// --expire, the moment it stops working). Byte ranges are honoured; the stream
// fault switches apply here. Once an answer is over, its record goes out as the
// line "media ID ITAG STATUS FIRST-LAST SENT": the range answered ("-" for an
// error) and the body bytes written, so that tests can count what was sent.
class MediaEndpoint {
public:
    // Takes one line, newline included; called from many threads at once.
    using Report = std::function<void(std::string_view line)>;

    MediaEndpoint(const Catalogue& catalogue, const Faults& faults, Report report);

    HttpResponse answer(const HttpRequest& request, const UrlQuery& query) const;

    // Writes the line to standard output in one write, so that the lines of
    // different connections do not mix.
    static void toStandardOutput(std::string_view line);

private:
    HttpResponse stream(const UrlQuery& query, std::string_view range, bool withBody) const;
    // Whether this answer of the video's streams is one of those to cut; counts
    // it when counted.
    bool cutNow(const std::string& id, const StreamCut& cut, bool counted) const;

    const Catalogue& catalogue_;
    const Faults& faults_;
    const Report report_;
    mutable std::mutex mutex_;
    mutable std::map<std::string, unsigned, std::less<>> cutsMade_; // by video, where they are counted
};

} // namespace service
