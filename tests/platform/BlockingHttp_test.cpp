#include "platform/BlockingHttp.h"

#include "loopback.h"
#include "route_server.h"
#include "scripted_server.h"

#include <QNetworkReply>
#include <gtest/gtest.h>

using platform::BlockingHttp;

namespace {

QUrl at(const route_server& server, const char* path)
{
    return QUrl(QString::fromStdString(server.base()) + QLatin1String(path));
}

} // namespace

class BlockingGet : public ::testing::Test {
protected:
    route_server server{[](const route_server::request& r) -> route_server::response {
        if (r.target == "/page")
            return {200, "<html>page</html>", {}, {}};
        if (r.target == "/moved")
            return {302, "", {{"Location", "/page"}}, {}};
        if (r.target == "/big")
            return {200, std::string(2 << 20, 'x'), {}, {}};
        return {404, "no such thing", {}, {}};
    }};
};

TEST_F(BlockingGet, BodyAndStatusAfterRedirects)
{
    const auto ok = BlockingHttp::get(at(server, "/page"));
    EXPECT_FALSE(ok.error);
    EXPECT_EQ(ok.status, 200);
    EXPECT_EQ(ok.body, "<html>page</html>");
    EXPECT_TRUE(ok.ok());

    // A 404 is an answer with its body, not a failed connection.
    const auto missing = BlockingHttp::get(at(server, "/nothing"));
    EXPECT_FALSE(missing.error);
    EXPECT_EQ(missing.status, 404);
    EXPECT_EQ(missing.body, "no such thing");
    EXPECT_FALSE(missing.ok());

    const auto moved = BlockingHttp::get(at(server, "/moved"));
    EXPECT_EQ(moved.status, 200);
    EXPECT_EQ(moved.body, "<html>page</html>");
    EXPECT_EQ(server.count("/page"), 2u); // once for each fetch
}

TEST_F(BlockingGet, BodyOverTheLimitIsRefused)
{
    BlockingHttp::Options small;
    small.maxBytes = 1 << 20;
    const auto big = BlockingHttp::get(at(server, "/big"), small);
    ASSERT_TRUE(big.error);
    EXPECT_TRUE(big.body.isEmpty());
    EXPECT_EQ(BlockingHttp::get(at(server, "/big")).body.size(), 2 << 20);
}

TEST(BlockingGetFailures, NoAnswerIsAnError)
{
    const auto refused = BlockingHttp::get(QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(loopback::closed_port())));
    ASSERT_TRUE(refused.error);
    EXPECT_EQ(refused.error->code, QNetworkReply::ConnectionRefusedError);

    EXPECT_TRUE(BlockingHttp::get(QUrl()).error);
    EXPECT_TRUE(BlockingHttp::get(QUrl("relative/path")).error);

    // A server that never answers, and one that stops in the middle of the body.
    scripted_server silent(std::vector<scripted_server::reply>{{"HTTP/1.0 200 OK\r\n\r\n", 0}});
    BlockingHttp::Options quick;
    quick.timeout = std::chrono::milliseconds(300);
    EXPECT_TRUE(BlockingHttp::get(QUrl(QString::fromStdString(silent.url())), quick).error);

    const std::string reply = "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nonly part";
    scripted_server stalled(std::vector<scripted_server::reply>{{reply, reply.size()}});
    EXPECT_TRUE(BlockingHttp::get(QUrl(QString::fromStdString(stalled.url())), quick).error);

    scripted_server cut("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nonly part");
    EXPECT_TRUE(BlockingHttp::get(QUrl(QString::fromStdString(cut.url())), quick).error);
}
