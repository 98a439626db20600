#include "downloads/HTTPDownload.h"

#include "log_capture.h"
#include "scripted_server.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <climits>
#include <vector>

namespace {

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

std::string ok(const std::string& body, bool with_length = true)
{
    return "HTTP/1.1 200 OK\r\n" + (with_length ? "Content-Length: " + std::to_string(body.size()) + "\r\n" : "") +
           "Connection: close\r\n\r\n" + body;
}

// Records what a transfer reports.
struct watched {
    std::shared_ptr<HTTPDownload> download;
    std::vector<int> percents;
    int finishes = 0;
    bool done_during_finish = true;

    watched(const QString& file, const std::string& url)
        : download(HTTPDownload::init(file, QUrl(QString::fromStdString(url))))
    {
        download->updateEvent.set([this](HTTPDownload& d) {
            percents.push_back(HTTPDownload::percentOf(d.offset().value_or(0), d.length()));
        });
        download->finishEvent.set([this](HTTPDownload& d) {
            ++finishes;
            done_during_finish = d.isDone();
        });
    }
    void run(std::chrono::milliseconds timeout = std::chrono::milliseconds(5000))
    {
        download->setTimeout(timeout);
        download->start();
        download->waitForFinish();
    }
};

} // namespace

class Transfer : public ::testing::Test {
protected:
    log_capture quiet;
    QTemporaryDir dir;
    const QString file = dir.path() + "/download";
};

TEST_F(Transfer, PercentIsTheQuotientTimesAHundredCutDown)
{
    // 1000 bytes in 10-byte pieces: 29 and 58 never show, 98 events in all.
    watched w(file, "http://127.0.0.1:9/");
    w.download->didReceiveResponse(200, 1000);
    const std::string piece(10, 'x');
    for (int i = 0; i < 100; ++i)
        w.download->didReceiveData(piece.data(), 10);
    EXPECT_EQ(w.percents.size(), 98u);
    EXPECT_EQ(std::count(w.percents.begin(), w.percents.end(), 29), 0);
    EXPECT_EQ(std::count(w.percents.begin(), w.percents.end(), 58), 0);
    EXPECT_EQ(w.percents.front(), 1);
    EXPECT_EQ(w.percents.back(), 100);
    EXPECT_EQ(*w.download->offset(), 1000u);

    EXPECT_EQ(HTTPDownload::percentOf(5, 0), INT_MIN);
    EXPECT_EQ(HTTPDownload::percentOf(3ull << 31, 3ll << 31), 100); // past 32 bits
}

TEST_F(Transfer, BodyGoesToTheFileAsItArrives)
{
    std::string body(1000, '\0');
    for (std::size_t i = 0; i < body.size(); ++i)
        body[i] = static_cast<char>('a' + i % 26);
    scripted_server server(std::vector<scripted_server::reply>{{ok(body), std::string::npos, {}, 10, std::chrono::milliseconds(2)}});
    // An existing file is replaced, not appended to.
    QFile old(file);
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.write(QByteArray(5000, 'o'));
    old.close();

    watched w(file, server.url("/stream"));
    w.run();
    EXPECT_FALSE(w.download->error());
    EXPECT_EQ(w.download->statusCode(), 200);
    EXPECT_EQ(*w.download->length(), 1000);
    EXPECT_EQ(contents(file), QByteArray::fromStdString(body));
    EXPECT_EQ(w.finishes, 1);
    EXPECT_FALSE(w.done_during_finish);
    EXPECT_TRUE(w.download->isDone());
    ASSERT_FALSE(w.percents.empty());
    EXPECT_LE(w.percents.size(), 98u);
    EXPECT_TRUE(std::is_sorted(w.percents.begin(), w.percents.end()));
    EXPECT_EQ(w.percents.back(), 100);
}

TEST_F(Transfer, WithoutALengthProgressIsReportedOnce)
{
    // A 404 is no transfer: the status is the error, its body is kept.
    scripted_server not_found("HTTP/1.1 404 Not Found\r\nContent-Length: 9\r\nConnection: close\r\n\r\nnot here!");
    watched missing(file, not_found.url());
    missing.run();
    ASSERT_TRUE(missing.download->error());
    EXPECT_EQ(missing.download->error()->domain, "http.download");
    EXPECT_EQ(missing.download->error()->code, 404);
    EXPECT_FALSE(missing.download->length());
    EXPECT_EQ(contents(file), "not here!");
    EXPECT_EQ(missing.percents, std::vector<int>{INT_MIN});
    EXPECT_EQ(missing.finishes, 1);

    scripted_server unknown_length(ok(std::string(30000, 'z'), false));
    watched w(file, unknown_length.url());
    w.run();
    EXPECT_FALSE(w.download->error());
    EXPECT_EQ(w.percents, std::vector<int>{INT_MIN});
    EXPECT_EQ(contents(file).size(), 30000);
}

TEST_F(Transfer, StalledTransferTimesOut)
{
    const std::string cut = "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nonly half of it";
    scripted_server stalled(std::vector<scripted_server::reply>{{cut, cut.size()}});
    watched w(file, stalled.url());
    w.run(std::chrono::milliseconds(300));
    ASSERT_TRUE(w.download->error());
    EXPECT_EQ(w.download->error()->description, "No data arrived for 0.3 s; the transfer timed out.");
    EXPECT_EQ(w.finishes, 1);
}

TEST_F(Transfer, CancelEndsWithoutEvents)
{
    const std::string reply = "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nsome";
    scripted_server stalled(std::vector<scripted_server::reply>{{reply, reply.size()}});
    watched w(file, stalled.url());
    w.download->start();
    w.download->cancel();
    QEventLoop loop;
    QTimer::singleShot(300, &loop, &QEventLoop::quit);
    loop.exec();
    EXPECT_EQ(w.finishes, 0);
    EXPECT_FALSE(w.download->isDone());
}

TEST_F(Transfer, UnwritableFileFailsTheTransfer)
{
    scripted_server server(ok("body"));
    watched w(dir.path() + "/no/such/folder/file", server.url());
    w.run();
    ASSERT_TRUE(w.download->error());
    EXPECT_EQ(w.download->error()->domain, "file");
    EXPECT_EQ(w.finishes, 1);
}
