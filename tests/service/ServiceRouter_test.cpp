// The service as a client sees it: requests over loopback to an HttpServer
// serving a ServiceRouter on a small catalogue made by the test.
#include "service/Catalogue.h"
#include "service/HttpServer.h"
#include "service/ServiceRouter.h"
#include "service/StreamSignature.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>

using namespace service;
namespace fs = std::filesystem;

namespace {

struct Reply {
    int status = 0; // 0: the connection closed without an answer
    std::string head;
    std::string body;

    std::string header(const std::string& name) const
    {
        const auto at = head.find("\r\n" + name + ": ");
        if (at == std::string::npos)
            return {};
        const auto start = at + name.size() + 4;
        return head.substr(start, head.find("\r\n", start) - start);
    }
};

// Sends raw bytes, reads until the server closes.
Reply roundTrip(unsigned short port, const std::string& request)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    Reply reply;
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        ::close(fd);
        return reply;
    }
    timeval timeout{10, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    [[maybe_unused]] const auto sent = ::send(fd, request.data(), request.size(), MSG_NOSIGNAL);
    std::string all;
    char chunk[16384];
    for (ssize_t n; (n = ::recv(fd, chunk, sizeof chunk, 0)) > 0;)
        all.append(chunk, static_cast<std::size_t>(n));
    ::close(fd);
    const auto end = all.find("\r\n\r\n");
    if (end == std::string::npos || all.size() < 12)
        return reply;
    reply.status = std::stoi(all.substr(9, 3));
    reply.head = all.substr(0, end + 2);
    reply.body = all.substr(end + 4);
    return reply;
}

Reply get(unsigned short port, const std::string& target, const std::string& extra = {})
{
    return roundTrip(port, "GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" + extra + "\r\n");
}

class Service : public ::testing::Test {
protected:
    void SetUp() override
    {
        dir = fs::temp_directory_path() / ("melodrift-service-test-" + std::to_string(std::random_device()()));
        fs::create_directories(dir / "media");
        fs::create_directories(dir / "thumbs");
        for (int i = 0; i < 100000; ++i)
            media += static_cast<char>(i * 7 + i / 256);
        std::ofstream(Catalogue::mediaPath(dir, "clip", *findStreamFormat(22)), std::ios::binary) << media;

        Video clip{"clip", 30, VideoKind::normal, "Café & Crème", "A tone.", {22}};
        catalogue = Catalogue(dir, {clip});
    }
    void TearDown() override
    {
        if (server)
            server->stop();
        fs::remove_all(dir);
    }

    unsigned short serve(Faults faults = {})
    {
        server = std::make_unique<HttpServer>(0);
        router = std::make_unique<ServiceRouter>(catalogue, std::move(faults), server->base());
        server->start([this](const HttpRequest& request) { return router->handle(request); });
        return server->port();
    }

    std::string streamTarget(const std::string& id = "clip") const
    {
        return "/videoplayback?id=" + id + "&itag=22&signature=" + streamSignature(id, 22);
    }

    fs::path dir;
    std::string media;
    Catalogue catalogue;
    std::unique_ptr<HttpServer> server;
    std::unique_ptr<ServiceRouter> router;
};

} // namespace

TEST_F(Service, StreamsWholeOrInRangesAndOnlyWhenSigned)
{
    const auto port = serve();

    const Reply whole = get(port, streamTarget());
    EXPECT_EQ(whole.status, 200);
    EXPECT_EQ(whole.header("Content-Length"), "100000");
    EXPECT_EQ(whole.header("Accept-Ranges"), "bytes");
    EXPECT_EQ(whole.header("Content-Type"), "video/mp4");
    EXPECT_TRUE(whole.body == media);

    const Reply part = get(port, streamTarget(), "Range: bytes=70000-\r\n");
    EXPECT_EQ(part.status, 206);
    EXPECT_EQ(part.header("Content-Range"), "bytes 70000-99999/100000");
    EXPECT_TRUE(part.body == media.substr(70000));

    const Reply beyond = get(port, streamTarget(), "Range: bytes=100000-\r\n");
    EXPECT_EQ(beyond.status, 416);
    EXPECT_EQ(beyond.header("Content-Range"), "bytes */100000");

    const Reply head = roundTrip(port, "HEAD " + streamTarget() + " HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_EQ(head.status, 200);
    EXPECT_EQ(head.header("Content-Length"), "100000");
    EXPECT_TRUE(head.body.empty());

    EXPECT_EQ(get(port, "/videoplayback?id=clip&itag=22").status, 403);
    EXPECT_EQ(get(port, "/videoplayback?id=clip&itag=22&signature=" + streamSignature("clip", 18)).status, 403);
    EXPECT_EQ(get(port, "/videoplayback?id=clip&itag=18&signature=" + streamSignature("clip", 18)).status, 404);
    EXPECT_EQ(get(port, "/videoplayback?id=clip&itag=x22").status, 404);
    EXPECT_EQ(roundTrip(port, "POST " + streamTarget() + " HTTP/1.1\r\nContent-Length: 0\r\n\r\n").status, 405);
}

TEST_F(Service, StopEndsAStalledStream)
{
    Faults faults;
    faults.stallStreams.insert("clip");
    const auto port = serve(faults);
    std::thread client([&] {
        const Reply stalled = get(port, streamTarget());
        EXPECT_EQ(stalled.header("Content-Length"), "100000");
        EXPECT_EQ(stalled.body.size(), 4096u);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    server->stop(); // must not wait for the client to give up
    client.join();
}

TEST_F(Service, MalformedRequestsGetAClearAnswer)
{
    const auto port = serve();
    EXPECT_EQ(roundTrip(port, "\x01\x02 nonsense\r\n\r\n").status, 400);
    EXPECT_EQ(roundTrip(port, "GET / HTTP/1.1\r\nX: " + std::string(HttpServer::headerLimit, 'a') + "\r\n\r\n").status,
              400);
    EXPECT_EQ(roundTrip(port, "POST /cgi-bin/zor.parser HTTP/1.1\r\nContent-Length: 999999999999\r\n\r\n").status, 413);
    // Nothing outside the thumbnails folder is served.
    EXPECT_EQ(get(port, "/vi/../../etc/passwd").status, 404);
    // The server lives on.
    EXPECT_EQ(get(port, "/watch?v=clip").status, 200);
}
