// The service as a client sees it: raw requests over loopback to an HttpServer
// serving a ServiceRouter on a one-video catalogue made by the test, with the
// records of its media answers; the range reader its streams answer with, and
// the catalogue's upload records.
#include "service/ByteRange.h"
#include "service/Catalogue.h"
#include "service/HttpServer.h"
#include "service/ServiceRouter.h"
#include "service/StreamSignature.h"
#include "service/Subtitles.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <regex>
#include <set>
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

    static Reply of(const std::string& all)
    {
        const auto end = all.find("\r\n\r\n");
        if (end == std::string::npos || all.size() < 12)
            return {};
        return {std::stoi(all.substr(9, 3)), all.substr(0, end + 2), all.substr(end + 4)};
    }
};

struct Cue {
    std::uint64_t fromMs = 0, toMs = 0;
    std::string text;
};

std::vector<Cue> cuesOf(const std::string& track)
{
    static const std::regex cue(
        "(\\d\\d):(\\d\\d):(\\d\\d)\\.(\\d{3}) --> (\\d\\d):(\\d\\d):(\\d\\d)\\.(\\d{3})\n([^\n]*)\n");
    const auto ms = [](const std::smatch& m, int first) {
        return ((std::stoull(m[first]) * 60 + std::stoull(m[first + 1])) * 60 + std::stoull(m[first + 2])) * 1000 +
               std::stoull(m[first + 3]);
    };
    std::vector<Cue> cues;
    for (std::sregex_iterator it(track.begin(), track.end(), cue), end; it != end; ++it)
        cues.push_back({ms(*it, 1), ms(*it, 5), (*it)[9]});
    return cues;
}

std::string between(const std::string& text, const std::string& start, const std::string& end)
{
    const auto at = text.find(start);
    if (at == std::string::npos)
        return {};
    const auto from = at + start.size();
    return text.substr(from, text.find(end, from) - from);
}

std::int64_t unixNow()
{
    return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

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

    void route(Faults faults = {})
    {
        catalogue = Catalogue(dir, {clip});
        router = std::make_unique<ServiceRouter>(catalogue, std::move(faults), server ? server->base() : "",
                                                 [this](std::string_view line) {
                                                     std::lock_guard lock(recordsMutex);
                                                     records.emplace_back(line);
                                                     recordAdded.notify_all();
                                                 });
    }
    void serve(Faults faults = {}, bool keepConnections = false)
    {
        server = std::make_unique<HttpServer>(0);
        if (keepConnections)
            server->keepConnections();
        route(std::move(faults));
        server->start([this](const HttpRequest& request) { return router->handle(request); });
    }

    // Connected to the server, the request sent.
    int open(const std::string& request) const
    {
        const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(server->port());
        if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
            timeval timeout{10, 0};
            ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
            [[maybe_unused]] const auto sent = ::send(fd, request.data(), request.size(), MSG_NOSIGNAL);
        }
        return fd;
    }
    // Reads into all until the server closes, or until all holds the head and
    // atLeast bytes of body.
    static void read(int fd, std::string& all, std::size_t atLeast = std::string::npos)
    {
        char chunk[16384];
        for (ssize_t n; (n = ::recv(fd, chunk, sizeof chunk, 0)) > 0;) {
            all.append(chunk, static_cast<std::size_t>(n));
            const auto end = all.find("\r\n\r\n");
            if (atLeast != std::string::npos && end != std::string::npos && all.size() - end - 4 >= atLeast)
                return;
        }
    }
    // Sends raw bytes, reads until the server closes.
    Reply roundTrip(const std::string& request) const
    {
        const int fd = open(request);
        std::string all;
        read(fd, all);
        ::close(fd);
        return Reply::of(all);
    }
    Reply get(const std::string& target, const std::string& range = {}) const
    {
        return roundTrip("GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" +
                         (range.empty() ? "" : "Range: " + range + "\r\n") + "\r\n");
    }

    // The next record of a media answer, without its newline; empty when none
    // comes.
    std::string nextRecord()
    {
        std::unique_lock lock(recordsMutex);
        if (!recordAdded.wait_for(lock, std::chrono::seconds(10), [this] { return !records.empty(); }))
            return {};
        std::string line = std::move(records.front());
        records.pop_front();
        if (line.ends_with('\n'))
            line.pop_back();
        return line;
    }

    const std::string signedStream = "/videoplayback?id=clip&itag=22&signature=" + streamSignature("clip", 22);
    // What route() serves; a test may change it first.
    Video clip{"clip", 30, VideoKind::normal, "Café & Crème", "A tone.", {22}, {}};
    fs::path dir;
    std::string media;
    Catalogue catalogue;
    std::unique_ptr<HttpServer> server;
    std::unique_ptr<ServiceRouter> router;
    std::mutex recordsMutex;
    std::condition_variable recordAdded;
    std::deque<std::string> records;
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

// (Parallel and resumed downloads are tested against these faults; what they
// count is the records.)
TEST_F(Service, CutsTheFirstTimesThenSendsWhole)
{
    Faults faults;
    faults.cutStreams["clip"] = {1000, 2};
    serve(faults);
    for (int i = 0; i < 2; ++i) {
        const Reply cut = get(signedStream);
        EXPECT_EQ(cut.header("Content-Length"), "100000");
        EXPECT_TRUE(cut.body == media.substr(0, 1000)) << cut.body.size() << " bytes";
        EXPECT_EQ(nextRecord(), "media clip 22 200 0-99999 1000 " + std::to_string(i + 1));
    }
    const Reply range = get(signedStream, "bytes=500-1999");
    EXPECT_EQ(range.status, 206);
    EXPECT_TRUE(range.body == media.substr(500, 1500)) << range.body.size() << " bytes";
    EXPECT_EQ(nextRecord(), "media clip 22 206 500-1999 1500 3");
    EXPECT_TRUE(get(signedStream).body == media);
    EXPECT_EQ(nextRecord(), "media clip 22 200 0-99999 100000 4");
}

// As media servers do, when asked to: whole answers keep the connection for the
// next request; a cut one, or a client that says close, ends it.
TEST_F(Service, KeepsConnectionsWhenAsked)
{
    Faults faults;
    faults.cutStreams["clip"] = {1000, 1};
    serve(faults, true);
    const std::string range = "GET " + signedStream + " HTTP/1.1\r\nHost: 127.0.0.1\r\nRange: bytes=0-99\r\n\r\n";
    const std::string last =
        "GET " + signedStream + " HTTP/1.1\r\nHost: 127.0.0.1\r\nRange: bytes=100-199\r\nConnection: close\r\n\r\n";
    // The first answer is cut: the connection goes with it.
    const Reply cut = roundTrip(range + last);
    EXPECT_EQ(cut.header("Connection"), "close");
    EXPECT_EQ(nextRecord(), "media clip 22 206 0-99 100 1");
    // Two whole ones on one connection, the second asking it to close.
    const int fd = open(range + last);
    std::string both;
    read(fd, both);
    ::close(fd);
    EXPECT_EQ(nextRecord(), "media clip 22 206 0-99 100 2");
    EXPECT_EQ(nextRecord(), "media clip 22 206 100-199 100 2");
    EXPECT_NE(both.find("Connection: keep-alive"), std::string::npos);
    EXPECT_TRUE(both.ends_with(media.substr(100, 100)));
}

TEST(StreamCut, ReadsIdBytesAndTimes)
{
    using Cut = std::optional<std::pair<std::string, StreamCut>>;
    const auto expect = [](const char* text, const Cut& want) {
        SCOPED_TRACE(text);
        const Cut got = StreamCut::parse(text);
        ASSERT_EQ(got.has_value(), want.has_value());
        if (got) {
            EXPECT_EQ(got->first, want->first);
            EXPECT_EQ(got->second.after, want->second.after);
            EXPECT_EQ(got->second.times, want->second.times);
        }
    };
    expect("clip", std::pair{"clip", StreamCut{}});
    expect("clip:0", std::pair{"clip", StreamCut{0, {}}});
    expect("clip:4096:3", std::pair{"clip", StreamCut{4096, 3}});
    for (const char* wrong : {"", ":10", "clip:", "clip:x", "clip:-1", "clip:10:", "clip:10:0", "clip:10:2:1"})
        expect(wrong, std::nullopt);
}

TEST_F(Service, ThrottlesWholeStreamsAndWideRangesOnly)
{
    // Sparse: a range wider than the limit without writing one.
    fs::resize_file(Catalogue::mediaPath(dir, "clip", *findStreamFormat(22)), Faults::throttledRange + 2);
    const std::string limit = std::to_string(Faults::throttledRange);
    const struct {
        std::uint64_t throttle, perConnection;
        const char* range;
        std::uint64_t kib;
    } cases[] = {
        {100, 0, "", 100},
        {100, 0, "bytes=0-1048575", 0},
        {100, 0, "bytes=1-", 100}, // one byte more than the limit
        {100, 50, "", 50},
        {100, 200, "", 100},
        {100, 200, "bytes=0-1048575", 200},
    };
    for (const auto& c : cases) {
        Faults faults;
        faults.throttleKiB = c.throttle;
        faults.perConnectionKiB = c.perConnection;
        route(faults);
        SCOPED_TRACE(std::string(c.range) + " at " + std::to_string(c.throttle) + "/" +
                     std::to_string(c.perConnection));
        EXPECT_EQ(router->handle({"GET", signedStream, "", c.range, ""}).bytesPerSecond, c.kib * 1024);
    }
    Faults faults;
    faults.throttleKiB = 100;
    route(faults);
    EXPECT_EQ(router->handle({"GET", signedStream, "", "bytes=1-" + limit, ""}).bytesPerSecond, 0u) << "10 MiB";
}

TEST_F(Service, ThrottledStreamTakesItsTime)
{
    Faults faults;
    faults.throttleKiB = 200;
    serve(faults);
    const auto start = std::chrono::steady_clock::now();
    const Reply whole = get(signedStream);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    EXPECT_TRUE(whole.body == media) << whole.body.size() << " bytes";
    EXPECT_GE(took.count(), 0.8 * static_cast<double>(media.size()) / (200 * 1024));
}

TEST_F(Service, StopEndsAThrottledStream)
{
    Faults faults;
    faults.perConnectionKiB = 1; // the whole body would take over a minute and a half
    serve(faults);
    const int fd = open("GET " + signedStream + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    std::string all;
    read(fd, all, 1);
    server->stop();
    read(fd, all);
    ::close(fd);
    const Reply reply = Reply::of(all);
    EXPECT_EQ(reply.status, 200);
    EXPECT_GT(reply.body.size(), 0u);
    EXPECT_LT(reply.body.size(), media.size());
    EXPECT_EQ(nextRecord(), "media clip 22 200 0-99999 " + std::to_string(reply.body.size()) + " 1");
}

TEST_F(Service, ExpiredAddressesAreRefused)
{
    Faults faults;
    faults.expireAfter = std::chrono::seconds(600);
    serve(faults);
    const std::string page = get("/watch?v=clip").body;
    std::smatch source;
    ASSERT_TRUE(std::regex_search(page, source, std::regex("<source src=\"[^\"]*(/videoplayback\\?[^\"]*)\"")));
    const std::string fresh = std::regex_replace(source[1].str(), std::regex("&amp;"), "&");
    std::smatch expire;
    ASSERT_TRUE(std::regex_search(fresh, expire, std::regex("expire=([0-9]+)")));
    const std::int64_t at = std::stoll(expire[1].str());
    EXPECT_NEAR(at, unixNow() + 600, 5);
    // The parser service hands out the same address.
    EXPECT_NE(ServiceRouter::parserReply(page).find("expire=" + expire[1].str()), std::string::npos);

    EXPECT_EQ(get(fresh, "bytes=0-99").status, 206);
    EXPECT_EQ(nextRecord(), "media clip 22 206 0-99 100 2");

    const std::string past = std::to_string(unixNow() - 10);
    const Reply expired = get("/videoplayback?id=clip&itag=22&expire=" + past +
                              "&signature=" + streamSignature("clip", 22, std::stoll(past)));
    EXPECT_EQ(expired.status, 403);
    EXPECT_EQ(expired.body, "Forbidden: the stream address has expired.\n");
    EXPECT_EQ(nextRecord(), "media clip 22 403 - " + std::to_string(expired.body.size()) + " 3");

    // Nor can an address be prolonged, or its expiry left out.
    const std::string prolonged =
        std::regex_replace(fresh, std::regex("expire=[0-9]+"), "expire=" + std::to_string(at + 1));
    for (const std::string& edited : {prolonged, signedStream})
        EXPECT_EQ(get(edited).body, "Forbidden: the stream address is not signed.\n") << edited;
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

TEST_F(Service, FeedAndPageNameTheChannelAndUploadDate)
{
    using namespace std::chrono_literals;
    clip.channel = "Chaîne <Test> & Co";
    clip.uploaded = 2012y / 2 / 29;
    clip.title = "Clip </script><script>alert(1)</script>";
    serve();

    const std::string feed = get("/feeds/api/videos?q=clip").body;
    EXPECT_NE(feed.find("<pubDate>Wed, 29 Feb 2012 12:00:00 +0000</pubDate>"), std::string::npos) << feed;
    EXPECT_NE(feed.find("<author>noreply@melodrift.invalid (Chaîne &lt;Test&gt; &amp; Co)</author>"), std::string::npos)
        << feed;
    EXPECT_NE(feed.find("<itunes:author>Chaîne &lt;Test&gt; &amp; Co</itunes:author>"), std::string::npos) << feed;

    const Reply watch = get("/watch?v=clip");
    EXPECT_EQ(watch.header("Last-Modified"), "Wed, 29 Feb 2012 12:00:00 GMT");
    const std::string& page = watch.body;
    // The title cannot end the linked data's script early.
    const std::string linked = between(page, "<script type=\"application/ld+json\">", "</script>");
    EXPECT_TRUE(linked.ends_with(R"("author": {"@type": "Person", "name": "Chaîne \u003cTest\u003e \u0026 Co"}})"))
        << linked;
    EXPECT_NE(linked.find(R"("uploadDate": "2012-02-29")"), std::string::npos) << linked;
    EXPECT_NE(linked.find("/vi/clip/maxresdefault.webp"), std::string::npos) << linked;
    EXPECT_NE(page.find("<meta itemprop=\"uploadDate\" content=\"2012-02-29\">"), std::string::npos);
    EXPECT_NE(page.find("<meta itemprop=\"name\" content=\"Cha&#238;ne &lt;Test&gt; &amp; Co\">"), std::string::npos);
    for (const auto& language : subtitleLanguages())
        EXPECT_NE(page.find("<track kind=\"subtitles\" srclang=\"" + std::string(language.code) + "\""),
                  std::string::npos)
            << language.code;
    // The parser service still takes the small JPEG, the first thumbnail link.
    const std::string parsed = ServiceRouter::parserReply(page);
    EXPECT_TRUE(parsed.starts_with("DONE: ")) << parsed;
    EXPECT_NE(parsed.find("/vi/clip/default.jpg"), std::string::npos) << parsed;
}

TEST_F(Service, ServesLargeWebpThumbnailsAndSubtitleTracks)
{
    std::ofstream(Catalogue::thumbnailPath(dir, "clip"), std::ios::binary) << "small jpeg";
    std::ofstream(Catalogue::webpThumbnailPath(dir, "clip"), std::ios::binary) << "large webp";
    serve();
    const Reply webp = get("/vi/clip/maxresdefault.webp");
    EXPECT_EQ(webp.header("Content-Type"), "image/webp");
    EXPECT_EQ(webp.body, "large webp");
    EXPECT_EQ(get("/vi/clip/default.jpg").body, "small jpeg");

    // Followed from the page, as a player or extractor would.
    const std::string page = get("/watch?v=clip").body;
    std::smatch track;
    ASSERT_TRUE(
        std::regex_search(page, track, std::regex("<track [^>]*srclang=\"en\"[^>]* src=\"http://[^/]*([^\"]*)\"")));
    const Reply english = get(std::regex_replace(track[1].str(), std::regex("&amp;"), "&"));
    EXPECT_EQ(english.status, 200);
    EXPECT_EQ(english.header("Content-Type"), "text/vtt; charset=utf-8");
    EXPECT_TRUE(english.body.starts_with("WEBVTT\n\n")) << english.body.substr(0, 40);

    // Cue after cue from the start to the end of the video (30 s is no whole
    // number of cues), each naming the second it starts at, one beyond ASCII.
    for (const auto& [language, word] : {std::pair{"en", "Second "}, std::pair{"de", "Sekunde "}}) {
        SCOPED_TRACE(language);
        const std::string body = get("/api/timedtext?v=clip&fmt=vtt&lang=" + std::string(language)).body;
        const auto cues = cuesOf(body);
        ASSERT_FALSE(cues.empty()) << body;
        std::uint64_t at = 0;
        for (const Cue& cue : cues) {
            EXPECT_EQ(cue.fromMs, at);
            EXPECT_GT(cue.toMs, cue.fromMs);
            EXPECT_LE(cue.toMs - cue.fromMs, cueSeconds * 1000);
            EXPECT_NE(cue.text.find(word + std::to_string(cue.fromMs / 1000)), std::string::npos) << cue.text;
            at = cue.toMs;
        }
        EXPECT_EQ(at, 30000u);
        EXPECT_TRUE(std::ranges::any_of(body, [](char c) { return static_cast<unsigned char>(c) >= 0x80; }));
    }

    for (const char* target : {"/api/timedtext?v=other&lang=en&fmt=vtt", "/api/timedtext?v=clip&lang=fr&fmt=vtt",
                               "/api/timedtext?v=clip&fmt=vtt", "/api/timedtext?v=clip&lang=en&fmt=srv3",
                               "/vi/other/maxresdefault.webp", "/vi/clip/maxresdefault.png"})
        EXPECT_EQ(get(target).status, 404) << target;
}

// A hostile track is larger than anyone should hold: it goes out from its file.
TEST_F(Service, SendsAHostileSubtitleTrackWhole)
{
    const fs::path file = dir / "hostile.vtt";
    {
        std::ofstream out(file, std::ios::binary);
        writeHostileTrack(out, 5 * 1024 * 1024 + 1);
    }
    std::ifstream in(file, std::ios::binary);
    const std::string written((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    clip.hostile.emplace().subtitles = file;
    serve();
    const Reply track = get("/api/timedtext?v=clip&lang=de&fmt=vtt");
    EXPECT_GT(track.body.size(), 5u * 1024 * 1024);
    EXPECT_TRUE(track.body == written) << track.body.size() << " bytes";
    EXPECT_TRUE(track.body.starts_with("WEBVTT\n\n"));
    EXPECT_NE(track.body.find('\x1b'), std::string::npos);
    EXPECT_FALSE(cuesOf(track.body.substr(0, 100000)).empty());
    EXPECT_EQ(get("/api/timedtext?v=clip&lang=xx&fmt=vtt").status, 404);
}

TEST(Catalogue, ReadsUploadsAndMakesUpWhatIsMissing)
{
    using namespace std::chrono_literals;
    std::string pattern = (fs::temp_directory_path() / "melodrift-catalogue-test-XXXXXX").string();
    const fs::path dir = ::mkdtemp(pattern.data());
    std::ofstream(Catalogue::listPath(dir)) << "a\t10\tnormal\tA\nb\t10\tnormal\tB\nc\t10\tnormal\tC\n";
    // A catalogue made before uploads.tsv.
    const Catalogue old = Catalogue::load(dir);
    for (const Video& video : old.videos()) {
        EXPECT_EQ(video.channel, channelFromId(video.id));
        EXPECT_EQ(video.uploaded, uploadDateFromId(video.id));
    }
    // Empty fields, and a video not listed, get their id's.
    std::ofstream(Catalogue::uploadsPath(dir)) << "a\tÄ & Co\t2012-02-29\r\nb\t\t\n";
    const Catalogue catalogue = Catalogue::load(dir);
    EXPECT_EQ(catalogue.find("a")->channel, "Ä & Co");
    EXPECT_EQ(catalogue.find("a")->uploaded, 2012y / 2 / 29);
    EXPECT_EQ(catalogue.find("b")->channel, channelFromId("b"));
    EXPECT_EQ(catalogue.find("b")->uploaded, uploadDateFromId("b"));
    EXPECT_EQ(catalogue.find("c")->channel, channelFromId("c"));

    for (const char* wrong : {"a\tA\t2013-02-29\n", "a\tA\t2012-2-29\n", "a\tA\n", "a\tA\t2012-02-29\tx\n"}) {
        std::ofstream(Catalogue::uploadsPath(dir)) << wrong;
        EXPECT_THROW(Catalogue::load(dir), std::runtime_error) << wrong;
    }
    fs::remove_all(dir);
}

TEST(UploadDate, IsWrittenAndReadAsFeedsAndPagesWantIt)
{
    using namespace std::chrono_literals;
    // Weekdays across a leap day and a year's turn.
    EXPECT_EQ(rfc822Date(2012y / 2 / 29), "Wed, 29 Feb 2012 12:00:00 +0000");
    EXPECT_EQ(rfc822Date(2012y / 3 / 1), "Thu, 01 Mar 2012 12:00:00 +0000");
    EXPECT_EQ(httpDate(2005y / 12 / 31), "Sat, 31 Dec 2005 12:00:00 GMT");
    EXPECT_EQ(isoDate(2007y / 1 / 9), "2007-01-09");
    EXPECT_EQ(parseIsoDate("2007-01-09"), 2007y / 1 / 9);
    for (const char* wrong : {"", "2007-1-09", "2007-01-09 ", "2007-13-01", "2011-02-29", "-007-01-09", "2007/01/09"})
        EXPECT_EQ(parseIsoDate(wrong), std::nullopt) << wrong;

    // Made-up ones: real days of the service's years, not all the same.
    std::set<std::string> channels;
    std::set<std::string> days;
    for (int i = 0; i < 50; ++i) {
        const std::string id = "video" + std::to_string(i);
        const auto day = uploadDateFromId(id);
        EXPECT_TRUE(day.ok()) << id;
        EXPECT_GE(day, 2005y / 4 / 23) << id;
        EXPECT_LE(day, 2012y / 11 / 19) << id;
        days.insert(isoDate(day));
        channels.insert(channelFromId(id));
    }
    EXPECT_GT(days.size(), 40u);
    EXPECT_GT(channels.size(), 3u);
}
