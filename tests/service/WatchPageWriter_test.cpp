#include "service/WatchPageWriter.h"

#include "core/youtube_parser.h"
#include "service/StreamSignature.h"
#include "service/UrlQuery.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

using namespace service;

namespace {

Video video()
{
    Video v;
    v.id = "VGVzdENhcmQ";
    v.seconds = 75;
    v.kind = VideoKind::normal;
    v.title = "Tom & \"Jerry\" <AC/DC> – Café";
    v.description = "Bars & tone; 100% <b>not</b> bold";
    v.itags = {22, 43, 18, 5};
    return v;
}

std::string upToZero(const std::string& text)
{
    return text.substr(0, std::strlen(text.c_str()));
}

} // namespace

// Whatever the writer produces, the program's own parser must read back as the
// video it was made from: the test that the stand-in is faithful.
TEST(WatchPageWriter, PageReadsBackThroughTheParser)
{
    const Video v = video();
    const WatchPageWriter writer("http://127.0.0.1:8080");
    const auto result = youtube_parser::parse_html(writer.write(v));

    EXPECT_EQ(upToZero(result->title), v.title);
    EXPECT_EQ(upToZero(result->description), v.description);
    EXPECT_EQ(result->length_seconds, 75u);
    EXPECT_EQ(result->thumbnail, "http://127.0.0.1:8080/vi/VGVzdENhcmQ/default.jpg");

    ASSERT_EQ(result->urls.size(), v.itags.size());
    for (std::size_t i = 0; i < v.itags.size(); ++i) {
        const StreamFormat& format = *findStreamFormat(v.itags[i]);
        const result_url& stream = result->urls[i];
        EXPECT_EQ(stream.quality, format.quality);
        // The map encodes blanks as "+", which the parser keeps.
        std::string type(format.type);
        std::replace(type.begin(), type.end(), ' ', '+');
        EXPECT_EQ(stream.type, type);
        // The address the program will fetch carries the signature the media
        // endpoint checks, whichever key the map gave it under.
        const auto [path, query] = UrlQuery::splitTarget(stream.url);
        EXPECT_EQ(path, "/videoplayback") << stream.url;
        const UrlQuery params(query);
        EXPECT_EQ(params.value("id"), v.id);
        EXPECT_EQ(params.value("itag"), std::to_string(format.itag));
        EXPECT_EQ(params.value("signature"), streamSignature(v.id, format.itag)) << stream.url;
    }
}
