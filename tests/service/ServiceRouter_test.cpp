// The service as a client sees it: raw requests over loopback to an HttpServer
// serving a ServiceRouter on a one-video catalogue made by the test; and the
// range reader its streams answer with.
#include "service/ByteRange.h"
#include "service/Catalogue.h"
#include "service/HttpServer.h"
#include "service/ServiceRouter.h"
#include "service/StreamSignature.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>

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
        const auto start = at + name.size() + 4;
        return at == std::string::npos ? std::string() : head.substr(start, head.find("\r\n", start) - start);
    }
};

class Service : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::string pattern = (fs::temp_directory_path() / "melodrift-service-test-XXXXXX").string();
        dir = ::mkdtemp(pattern.data());
        fs::create_directories(dir / "media");
        fs::create_directories(dir / "thumbs");
        for (int i = 0; i < 100000; ++i)
            media += static_cast<char>(i * 7 + i / 256);
        std::ofstream(Catalogue::mediaPath(dir, "clip", *findStreamFormat(22)), std::ios::binary) << media;
    }
    void TearDown() override
    {
        if (server)
            server->stop();
        fs::remove_all(dir);
    }

    void serve(Faults faults = {})
    {
        catalogue = Catalogue(dir, {Video{"clip", 30, VideoKind::normal, "Café & Crème", "A tone.", {22}, {}}});
        server = std::make_unique<HttpServer>(0);
        router = std::make_unique<ServiceRouter>(catalogue, std::move(faults), server->base());
        server->start([this](const HttpRequest& request) { return router->handle(request); });
    }

    // Sends raw bytes, reads until the server closes.
    Reply roundTrip(const std::string& request) const
    {
        const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(server->port());
        std::string all;
        if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
            timeval timeout{10, 0};
            ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
            [[maybe_unused]] const auto sent = ::send(fd, request.data(), request.size(), MSG_NOSIGNAL);
            char chunk[16384];
            for (ssize_t n; (n = ::recv(fd, chunk, sizeof chunk, 0)) > 0;)
                all.append(chunk, static_cast<std::size_t>(n));
        }
        ::close(fd);
        const auto end = all.find("\r\n\r\n");
        if (end == std::string::npos || all.size() < 12)
            return {};
        return {std::stoi(all.substr(9, 3)), all.substr(0, end + 2), all.substr(end + 4)};
    }
    Reply get(const std::string& target) const
    {
        return roundTrip("GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    }

    const std::string signedStream = "/videoplayback?id=clip&itag=22&signature=" + streamSignature("clip", 22);
    fs::path dir;
    std::string media;
    Catalogue catalogue;
    std::unique_ptr<HttpServer> server;
    std::unique_ptr<ServiceRouter> router;
};

} // namespace

// (The whole stream the command-line downloads check byte for byte; ranges, the
// preview's player as it plays from the service.)
TEST_F(Service, StreamsOnlyWhenSigned)
{
    serve();
    const std::pair<std::string, int> refused[] = {
        {"/videoplayback?id=clip&itag=22", 403},
        {"/videoplayback?id=clip&itag=22&signature=" + streamSignature("clip", 18), 403},
        {"/videoplayback?id=clip&itag=18&signature=" + streamSignature("clip", 18), 404},
        {"/videoplayback?id=clip&itag=x22", 404},
        // Nothing outside the thumbnails folder is served.
        {"/vi/../../etc/passwd", 404},
    };
    for (const auto& [target, status] : refused)
        EXPECT_EQ(get(target).status, status) << target;
}

TEST_F(Service, StopEndsAStalledStream)
{
    Faults faults;
    faults.stallStreams.insert("clip");
    serve(faults);
    std::thread client([&] {
        const Reply stalled = get(signedStream);
        EXPECT_EQ(stalled.header("Content-Length"), "100000");
        EXPECT_EQ(stalled.body.size(), 4096u);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    server->stop(); // must not wait for the client to give up
    client.join();
}

TEST_F(Service, MalformedRequestsGetAClearAnswer)
{
    serve();
    const std::pair<std::string, int> requests[] = {
        {"\x01\x02 nonsense\r\n\r\n", 400},
        {"GET / HTTP/1.1\r\nX: " + std::string(HttpServer::headerLimit, 'a') + "\r\n\r\n", 400},
        {"POST /cgi-bin/zor.parser HTTP/1.1\r\nContent-Length: 999999999999\r\n\r\n", 413},
        {"POST " + signedStream + " HTTP/1.1\r\nContent-Length: 0\r\n\r\n", 405},
    };
    for (const auto& [request, status] : requests)
        EXPECT_EQ(roundTrip(request).status, status) << request.substr(0, 40);
    // The server lives on.
    EXPECT_EQ(get("/watch?v=clip").status, 200);
}

TEST(ByteRange, AnswersWhatTheHeaderAsks)
{
    using Kind = ByteRange::Kind;
    const struct {
        const char* header;
        std::uint64_t size;
        Kind kind;
        std::uint64_t first = 0, last = 0;
    } cases[] = {
        // What a player seeking in a stream sends; an end past the body is cut to it.
        {"bytes=0-", 1000, Kind::partial, 0, 999},
        {"bytes=900-5000", 1000, Kind::partial, 900, 999},
        // The last n bytes, all of them when n is larger.
        {"bytes=-100", 1000, Kind::partial, 900, 999},
        // Blanks and case are not held against the client.
        {"  Bytes = 1 - 2 ", 1000, Kind::partial, 1, 2},
        // Starts at or past the end.
        {"bytes=1000-", 1000, Kind::unsatisfiable},
        {"bytes=0-", 0, Kind::unsatisfiable},
        // Anything else is ignored and the whole body sent.
        {"", 1000, Kind::whole},
        {"bytes=5-1", 1000, Kind::whole},
        {"bytes=1-2x", 1000, Kind::whole},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.header) + " of " + std::to_string(c.size));
        const ByteRange range = ByteRange::parse(c.header, c.size);
        EXPECT_EQ(range.kind, c.kind);
        if (c.kind == Kind::partial && range.kind == Kind::partial) {
            EXPECT_EQ(range.first, c.first);
            EXPECT_EQ(range.last, c.last);
            EXPECT_EQ(range.length(), c.last - c.first + 1);
        }
    }
}
