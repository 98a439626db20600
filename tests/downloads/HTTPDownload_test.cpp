#include "downloads/HTTPDownload.h"

#include "log_capture.h"
#include "media.h"
#include "scripted_server.h"

#include <QEventLoop>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

using namespace std::chrono_literals;

namespace {

std::string ok(const std::string& body, bool with_length = true)
{
    return "HTTP/1.1 200 OK\r\n" + (with_length ? "Content-Length: " + std::to_string(body.size()) + "\r\n" : "") +
           "Connection: close\r\n\r\n" + body;
}

} // namespace

// A transfer into a temporary folder and what it reports.
class Transfer : public ::testing::Test {
protected:
    void start(const std::string& url, const QString& into = {})
    {
        download = HTTPDownload::init(into.isEmpty() ? file : into, QUrl(QString::fromStdString(url)));
        // A failure here is the first one: the retries are the end-to-end runs'.
        download->setRetries(0);
        download->updateEvent.set([this](HTTPDownload& d) {
            percents.push_back(HTTPDownload::percentOf(d.offset().value_or(0), d.length()).value_or(-1));
        });
        download->finishEvent.set([this](HTTPDownload& d) {
            ++finishes;
            doneDuringFinish = d.isDone();
        });
    }
    void run(const std::string& url, std::chrono::milliseconds timeout = 5s, const QString& into = {})
    {
        start(url, into);
        download->setTimeout(timeout);
        download->start();
        download->waitForFinish();
    }

    log_capture quiet;
    QTemporaryDir dir;
    const QString file = dir.path() + "/download";
    std::shared_ptr<HTTPDownload> download;
    std::vector<int> percents;
    int finishes = 0;
    bool doneDuringFinish = true;
};

TEST_F(Transfer, BodyReplacesTheFileAsItArrivesWithItsProgressAndTheSourcesHeaders)
{
    const std::string body = QByteArray("abcdefghijklmnopqrstuvwxy").repeated(40).toStdString();
    scripted_server server(std::vector<scripted_server::reply>{{ok(body), std::string::npos, 10, 2ms}});
    QFile old(file);
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.write(QByteArray(5000, 'o'));
    old.close();

    start(server.url("/stream"));
    download->setHeaders({{"User-Agent", "Stream/1.0"}, {"X-Asked", "by the source"}});
    download->start();
    download->waitForFinish();
    EXPECT_FALSE(download->error());
    EXPECT_EQ(download->statusCode(), 200);
    ASSERT_EQ(server.requests().size(), 1u);
    EXPECT_NE(server.requests()[0].find("\r\nUser-Agent: Stream/1.0\r\n"), std::string::npos);
    EXPECT_NE(server.requests()[0].find("\r\nX-Asked: by the source\r\n"), std::string::npos);
    EXPECT_EQ(media::contents(file), QByteArray::fromStdString(body));
    EXPECT_TRUE(finishes == 1 && !doneDuringFinish && download->isDone());
    ASSERT_FALSE(percents.empty());
    EXPECT_LE(percents.size(), 98u);
    EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end()));
    EXPECT_EQ(percents.back(), 100);

    // Without a length, progress is told once; no percent of nothing; sizes past 32 bits have one.
    // (A 404: the failed rows of the downloads view and its notification.)
    percents.clear();
    scripted_server unknownLength(ok(std::string(30000, 'z'), false));
    run(unknownLength.url());
    EXPECT_FALSE(download->error());
    EXPECT_EQ(percents, std::vector<int>{-1});
    EXPECT_EQ(media::contents(file).size(), 30000);
    EXPECT_FALSE(HTTPDownload::percentOf(5, 0));
    EXPECT_EQ(HTTPDownload::percentOf(3ull << 31, 3ll << 31), 100);
    EXPECT_EQ(HTTPDownload::percentOf(150, 100), 100); // a server that sends more than it said
}

TEST_F(Transfer, StallOrUnwritableFileEndsOnceCancelEndsSilently)
{
    // Head and the first bytes of a 100-byte body, then nothing.
    const std::string part = "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nonly part";
    scripted_server stalled(std::vector<scripted_server::reply>{{part, part.size()}});
    run(stalled.url(), 300ms);
    ASSERT_TRUE(download->error());
    EXPECT_EQ(download->error()->description, "No data arrived for 0.3 s; the transfer timed out.");
    EXPECT_EQ(finishes, 1);

    scripted_server server(ok("body"));
    run(server.url(), 5s, dir.path() + "/no/such/folder/file");
    ASSERT_TRUE(download->error());
    EXPECT_EQ(download->error()->domain, "file");
    EXPECT_EQ(finishes, 2);

    start(stalled.url());
    download->start();
    download->cancel();
    QEventLoop loop;
    QTimer::singleShot(300, &loop, &QEventLoop::quit);
    loop.exec();
    EXPECT_EQ(finishes, 2);
    EXPECT_FALSE(download->isDone());
}
