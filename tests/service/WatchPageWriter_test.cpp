#include "service/WatchPageWriter.h"

#include "core/youtube_parser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

using namespace service;

// Whatever the writer produces, the program's own parser must read back as the
// video it was made from: the test that the stand-in is faithful. (That the
// stream addresses carry the signature the media endpoint checks, the
// command-line downloads show.)
TEST(WatchPageWriter, PageReadsBackThroughTheParser)
{
    const Video v{
        "VGVzdENhcmQ",  75, VideoKind::normal, "Tom & \"Jerry\" <AC/DC> – Café", "Bars & tone; 100% <b>not</b> bold",
        {22, 43, 18, 5}};
    const auto result = youtube_parser::parse_html(WatchPageWriter("http://127.0.0.1:8080").write(v));

    // Entities are decoded in place: the text ends at the first NUL.
    EXPECT_EQ(std::string(result->title.c_str()), v.title);
    EXPECT_EQ(std::string(result->description.c_str()), v.description);
    EXPECT_EQ(result->length_seconds, 75u);
    EXPECT_EQ(result->thumbnail, "http://127.0.0.1:8080/vi/VGVzdENhcmQ/default.jpg");
    ASSERT_EQ(result->urls.size(), v.itags.size());
    for (std::size_t i = 0; i < v.itags.size(); ++i) {
        const StreamFormat& format = *findStreamFormat(v.itags[i]);
        EXPECT_EQ(result->urls[i].quality, format.quality);
        // The map encodes blanks as "+", which the parser keeps.
        std::string type(format.type);
        std::replace(type.begin(), type.end(), ' ', '+');
        EXPECT_EQ(result->urls[i].type, type);
    }
}
