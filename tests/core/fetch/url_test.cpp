#include "core/fetch/url.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

using urdl::url;

TEST(Url, SplitsEveryComponent)
{
    const url u = url::from_string("HTTP://user:pw@example.org:8080/a/b.html?q=1&r=2#top");
    EXPECT_EQ(u.protocol(), "http");
    EXPECT_EQ(u.host(), "example.org");
    EXPECT_EQ(u.port(), 8080);
    EXPECT_EQ(u.path(), "/a/b.html");
    EXPECT_EQ(u.query(), "q=1&r=2");
    EXPECT_EQ(u.to_string(), "http://user:pw@example.org:8080/a/b.html?q=1&r=2#top");
    EXPECT_EQ(u.to_string(url::path_component | url::query_component), "/a/b.html?q=1&r=2");

    // Default ports are not printed; an address without a path has "/".
    const url plain = url::from_string("http://h?x=1");
    EXPECT_EQ(plain.port(), 80);
    EXPECT_EQ(plain.path(), "/");
    EXPECT_EQ(plain.to_string(url::host_component | url::port_component), "h");
    EXPECT_EQ(url::from_string("http://[::1]:9000/x").to_string(url::host_component | url::port_component),
              "[::1]:9000");
}

TEST(Url, RejectsWhatIsNoUrl)
{
    for (const char* bad : {"", "example.org/x", "://h/x", "ht tp://h/", "http:///x", "http://h:/x", "http://h:80a/",
                            "http://h:65536/", "http://h:123456/", "http://[::1/x", "http://[]/", "http://[::1]x/",
                            "http://h/a b", "http://h/x\r\nHost: evil", "http://h/\x7f"}) {
        boost::system::error_code ec;
        url::from_string(bad, ec);
        EXPECT_TRUE(ec) << bad;
    }
    EXPECT_THROW(url::from_string("nonsense"), boost::system::system_error);
}

TEST(Url, ResolvesRedirectTargets)
{
    const url base = url::from_string("http://h:81/dir/page?q=1");
    boost::system::error_code ec;
    EXPECT_EQ(base.resolve("http://other/x", ec).to_string(), "http://other/x");
    EXPECT_EQ(base.resolve("//other:82/y", ec).to_string(), "http://other:82/y");
    EXPECT_EQ(base.resolve("/next?a=b", ec).to_string(), "http://h:81/next?a=b");
    EXPECT_EQ(base.resolve("sibling", ec).to_string(), "http://h:81/dir/sibling");
    EXPECT_FALSE(ec);
    base.resolve("/bad path", ec);
    EXPECT_TRUE(ec);
}
