#include "core/parser_result.h"

#include "test_data.h"

#include <boost/archive/archive_exception.hpp>
#include <gtest/gtest.h>

namespace {

parser_result two_streams()
{
    parser_result r;
    r.title = std::string("Tom & Jerry \xE2\x80\x93 \"The Chase\"\0\0\0", 30);
    r.description = "Two lines:\nfirst & second";
    r.thumbnail = "http://i2.ytimg.com/vi/Qk9zX2d1Zw0/hqdefault.jpg";
    r.length_seconds = 213;
    r.urls.push_back({"http://r4.c.youtube.com/videoplayback?itag=22&quality=hd720&signature=9A8B.C7D6&type=video/"
                      "mp4;+codecs=\"avc1.64001F,+mp4a.40.2\"&",
                      "hd720", "video/mp4;+codecs=\"avc1.64001F,+mp4a.40.2\""});
    r.urls.push_back(
        {"http://r4.c.youtube.com/videoplayback?itag=5&quality=small&type=video/x-flv&", "small", "video/x-flv"});
    return r;
}

std::string fixture()
{
    return test_data("parser_result/two_streams.archive");
}

bool refused(const std::string& text)
{
    parser_result r;
    try {
        load_parser_result(text, r);
    } catch (const boost::archive::archive_exception&) {
        return true;
    }
    return false;
}

const std::string header = "22 serialization::archive 18 ";

} // namespace

TEST(ParserResultArchive, WireFormatIsFixed)
{
    // Written once by the library's own text archive; reading and writing must
    // both keep to it, whatever changes in the code.
    const std::string text = fixture();
    ASSERT_FALSE(text.empty());
    parser_result read;
    read.description = "stale";
    read.urls.resize(3);
    load_parser_result(text, read);
    EXPECT_EQ(read, two_streams());
    EXPECT_EQ(save_parser_result(two_streams()), text);
}

TEST(ParserResultArchive, MalformedTextIsRefused)
{
    const std::string good = fixture();
    for (const std::string& text :
         {std::string(), std::string("DONE"), std::string("22 serialization::archive 99 0 0 0  0  0  0 0 0 0 0"),
          std::string("22 serialization::nonsense 18 0 0"), good.substr(0, good.size() / 2), header + "0 0 x",
          // A declared string length of a terabyte, or one byte more than there is.
          header + "0 0 1099511627776 abc", header + "0 0 4 abc",
          // Stream counts that the rest could not hold.
          header + "0 0 0  0  0  0 0 0 1000000000000 0", header + "0 0 0  0  0  0 0 0 3 0 0 0 0  0  0  ",
          header + "0 0 0  0  0  0 0 0 18446744073709551615 0"})
        EXPECT_TRUE(refused(text)) << text;
    EXPECT_FALSE(refused(header + "0 0 3 abc 0  0  0 0 0 0 0"));
}
