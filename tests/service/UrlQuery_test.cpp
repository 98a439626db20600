#include "service/UrlQuery.h"

#include <gtest/gtest.h>

using service::UrlQuery;

TEST(UrlQuery, ReadsQueriesAsBrowsersAndClientsSendThem)
{
    const UrlQuery query("alt=rss&q=caf%C3%A9+cr%C3%A8me&&v=%zz%4&empty=&bare&q=second");
    EXPECT_EQ(query.value("alt"), "rss");
    EXPECT_EQ(query.value("q"), "café crème"); // the first of two
    EXPECT_EQ(query.value("v"), "%zz%4");      // broken escapes stay as they are
    EXPECT_EQ(query.value("empty"), "");
    EXPECT_EQ(query.value("bare"), "");
    EXPECT_EQ(query.value("missing"), std::nullopt);

    using Split = std::pair<std::string_view, std::string_view>;
    EXPECT_EQ(UrlQuery::splitTarget("/watch?v=abc"), Split("/watch", "v=abc"));
    EXPECT_EQ(UrlQuery::splitTarget("http://127.0.0.1:80/feeds/api/videos?q=a"), Split("/feeds/api/videos", "q=a"));
    EXPECT_EQ(UrlQuery::splitTarget("http://host?q=a"), Split("", "q=a"));
    EXPECT_EQ(UrlQuery::splitTarget("http://host"), Split("/", ""));
}

TEST(UrlQuery, EncodeRoundTripsEveryByte)
{
    std::string all;
    for (int c = 0; c < 256; ++c)
        all += static_cast<char>(c);
    const std::string encoded = UrlQuery::encode(all);
    EXPECT_EQ(encoded.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~%+"),
              std::string::npos);
    EXPECT_EQ(UrlQuery::decode(encoded), all);
}
