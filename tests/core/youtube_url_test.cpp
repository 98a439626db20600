#include "core/youtube_url.h"

#include <gtest/gtest.h>

#include <string>

namespace {

youtube_url parsed(const std::string& entry)
{
    youtube_url u(entry);
    u.parse();
    return u;
}

} // namespace

TEST(YoutubeUrl, SplitsAddressAndPrintsParametersInKeyOrder)
{
    const auto u = parsed("url=http://h/p?a=1&itag=18&sig=XYZ&type=video/mp4&quality=medium");
    EXPECT_EQ(u.file(), "http://h/p");
    EXPECT_EQ(u.url(), "http://h/p?a=1&itag=18&quality=medium&signature=XYZ&type=video/mp4&");
    EXPECT_EQ(u.url_without_type(), "http://h/p?a=1&itag=18&quality=medium&signature=XYZ&");
    EXPECT_EQ(u.type(), "video/mp4");
    EXPECT_EQ(u.quality(), "medium");
    EXPECT_EQ(u.params().count("url"), 0u);
    // Only "type" itself is left out.
    EXPECT_EQ(parsed("url=http://h/p?type=a&typex=b&ty=c").url_without_type(), "http://h/p?ty=c&typex=b&");

    // Empty and bare tokens become parameters; the first "=" splits.
    const std::pair<const char*, const char*> queries[] = {
        {"a&&b", "?=&a=a&b=b&"}, {"", "?=&"}, {"k=v=w&=x", "?=x&k=v=w&"}};
    for (const auto& [query, printed] : queries) {
        youtube_url q("");
        q.parse_query(query);
        EXPECT_EQ(q.url(), printed) << query;
    }
}

TEST(YoutubeUrl, WhereEachParameterComesFrom)
{
    const struct {
        const char* entry;
        const char* key;
        const char* value;
    } cases[] = {// The address's own first parameter is read after every token of the entry.
                 {"itag=5&url=http://h/p?itag=18", "itag", "18"},
                 {"url=http://h/p?s=FROM_ADDRESS&sig=FROM_ENTRY", "signature", "FROM_ADDRESS"},
                 // Signature keys are renamed, their values kept as they came ("sig" and "s"
                 // alone: every download from the service, which checks them).
                 {"url=http://h/p&s=A%2FB.C", "signature", "A%2FB.C"},
                 {"url=http://h/p?x=1&sig=1&s=2", "signature", "2"},
                 // An address without "?" is also read as a query.
                 {"url=http://h/p&itag=5", "http://h/p", "http://h/p"}};
    for (const auto& c : cases)
        EXPECT_EQ(parsed(c.entry).get_param(c.key), c.value) << c.entry;
    EXPECT_EQ(parsed("url=http://h/p&itag=5").url(), "http://h/p?http://h/p=http://h/p&itag=5&");
}
