#include "core/fetch/url.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

using urdl::url;

TEST(Url, SplitsEveryComponent)
{
    const url u = url::from_string("HTTP://user:pw@example.org:8080/a/b.html?q=1&r=2#top");
    EXPECT_EQ(u.protocol(), "http");
    EXPECT_EQ(u.user_info(), "user:pw");
    EXPECT_EQ(u.host(), "example.org");
    EXPECT_EQ(u.port(), 8080);
    EXPECT_EQ(u.path(), "/a/b.html");
    EXPECT_EQ(u.query(), "q=1&r=2");
    EXPECT_EQ(u.fragment(), "top");
    EXPECT_EQ(u.to_string(), "http://user:pw@example.org:8080/a/b.html?q=1&r=2#top");
    EXPECT_EQ(u.to_string(url::host_component | url::port_component), "example.org:8080");
    EXPECT_EQ(u.to_string(url::path_component | url::query_component), "/a/b.html?q=1&r=2");
}

TEST(Url, DefaultPortsAndPaths)
{
    EXPECT_EQ(url::from_string("http://h").port(), 80);
    EXPECT_EQ(url::from_string("https://h").port(), 443);
    EXPECT_EQ(url::from_string("ftp://h").port(), 21);
    EXPECT_EQ(url::from_string("gopher://h").port(), 0);

    const url bare = url::from_string("http://h?x=1");
    EXPECT_EQ(bare.path(), "/");
    EXPECT_EQ(bare.query(), "x=1");
    // An implicit port is not printed.
    EXPECT_EQ(bare.to_string(url::host_component | url::port_component), "h");
}

TEST(Url, BracketedIpv6Host)
{
    const url u = url::from_string("http://[::1]:9000/x");
    EXPECT_EQ(u.host(), "::1");
    EXPECT_EQ(u.port(), 9000);
    EXPECT_EQ(u.to_string(url::host_component | url::port_component), "[::1]:9000");
    EXPECT_EQ(url::from_string("http://[fe80::1]").to_string(), "http://[fe80::1]/");
}

TEST(Url, FileUrlHasNoHost)
{
    const url u = url::from_string("file:///tmp/some%20file.txt");
    EXPECT_EQ(u.host(), "");
    EXPECT_EQ(u.path(), "/tmp/some%20file.txt");
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
