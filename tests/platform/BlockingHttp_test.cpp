#include "platform/BlockingHttp.h"

#include "route_server.h"
#include "scripted_server.h"

#include <QNetworkReply>
#include <gtest/gtest.h>

using platform::BlockingHttp;

TEST(BlockingGet, AnyStatusIsAnAnswerAfterRedirects)
{
    route_server server([](const route_server::request& r) -> route_server::response {
        if (r.target == "/page")
            return {200, "<html>page</html>"};
        if (r.target == "/moved")
            return {302, "", {{"Location", "/page"}}};
        if (r.target == "/big")
            return {200, std::string(2 << 20, 'x')};
        return {404, "no such thing"};
    });
    const auto at = [&](const char* path) { return QUrl(QString::fromStdString(server.base()) + path); };
    const auto moved = BlockingHttp::get(at("/moved"));
    EXPECT_TRUE(!moved.error && moved.ok() && moved.body == "<html>page</html>");
    const auto missing = BlockingHttp::get(at("/nothing"));
    EXPECT_TRUE(!missing.error && !missing.ok() && missing.status == 404);

    // Memory stays bounded whatever a server sends.
    BlockingHttp::Options small;
    small.maxBytes = 1 << 20;
    const auto big = BlockingHttp::get(at("/big"), small);
    EXPECT_TRUE(big.error && big.body.isEmpty());
    EXPECT_EQ(BlockingHttp::get(at("/big")).body.size(), 2 << 20);
}

TEST(BlockingGet, OnlyTheWebIsRead)
{
    for (const char* address : {"file:///etc/passwd", "data:text/plain,secret", "qrc:/i18n"}) {
        const auto refused = BlockingHttp::get(QUrl(address));
        ASSERT_TRUE(refused.error) << address;
        EXPECT_EQ(refused.error->description, QStringLiteral("Refused a non-web address: ") + address);
        EXPECT_TRUE(refused.body.isEmpty());
    }
    // Nor is a redirect to a local file followed: the redirect is the answer.
    route_server server([](const route_server::request&) -> route_server::response {
        return {302, "", {{"Location", "file:///etc/passwd"}}};
    });
    const auto redirected = BlockingHttp::get(QUrl(QString::fromStdString(server.base()) + "/moved"));
    EXPECT_TRUE(!redirected.ok() && redirected.body.isEmpty());
}

TEST(BlockingGet, NoAnswerIsAnError)
{
    const auto refused =
        BlockingHttp::get(QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(scripted_server::closed_port())));
    ASSERT_TRUE(refused.error);
    EXPECT_EQ(refused.error->code, QNetworkReply::ConnectionRefusedError);

    // Silent, stalled mid-body, cut short of its length.
    const std::string part = "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nonly part";
    scripted_server silent(std::vector<scripted_server::reply>{{part, 0}});
    scripted_server stalled(std::vector<scripted_server::reply>{{part, part.size()}});
    scripted_server cut(part);
    BlockingHttp::Options quick;
    quick.timeout = std::chrono::milliseconds(300);
    for (const QUrl& url : {QUrl(), QUrl("relative/path"), QUrl(QString::fromStdString(silent.url())),
                            QUrl(QString::fromStdString(stalled.url())), QUrl(QString::fromStdString(cut.url()))})
        EXPECT_TRUE(BlockingHttp::get(url, quick).error) << url.toString().toStdString();
}
