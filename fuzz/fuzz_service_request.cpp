// Feeds arbitrary bytes to the local service as a client's request: the head read
// by Beast with the server's limits, then routed over a one-video catalogue. Every
// answer must be a sane one: a known status, and for a range a slice of the file.
#include "service/ByteRange.h"
#include "service/Catalogue.h"
#include "service/HttpServer.h"
#include "service/ServiceRouter.h"

#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

namespace http = boost::beast::http;
namespace fs = std::filesystem;
using namespace service;

void check(bool condition)
{
    if (!condition)
        std::abort();
}

constexpr std::uint64_t mediaSize = 1000;

struct Fixture {
    Fixture()
    {
        std::string pattern = (fs::temp_directory_path() / "melodrift-fuzz-XXXXXX").string();
        dir = ::mkdtemp(pattern.data());
        fs::create_directories(dir / "media");
        fs::create_directories(dir / "thumbs");
        std::ofstream(Catalogue::mediaPath(dir, "clip", *findStreamFormat(22)), std::ios::binary)
            << std::string(mediaSize, 'm');
        std::ofstream(Catalogue::thumbnailPath(dir, "clip"), std::ios::binary) << "JPEG";
        catalogue = Catalogue(dir, {Video{"clip", 30, VideoKind::normal, "Café & Crème", "A tone.", {22}, {}}});
    }
    ~Fixture() { fs::remove_all(dir); }

    fs::path dir;
    Catalogue catalogue;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Fixture fixture;
    static const ServiceRouter router(fixture.catalogue, Faults{}, "http://127.0.0.1:1");
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);

    // The Range reader on its own, against sizes around the input's length.
    for (const std::uint64_t body : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{size}, mediaSize}) {
        const ByteRange range = ByteRange::parse(bytes, body);
        if (range.kind == ByteRange::Kind::partial)
            check(range.first <= range.last && range.last < body);
    }

    http::request_parser<http::string_body> parser;
    parser.header_limit(static_cast<std::uint32_t>(HttpServer::headerLimit));
    parser.body_limit(HttpServer::bodyLimit);
    parser.eager(true);
    boost::system::error_code error;
    parser.put(boost::asio::buffer(bytes.data(), bytes.size()), error);
    if (error || !parser.is_header_done())
        return 0;
    const auto& message = parser.get();
    HttpRequest request;
    request.method = std::string(message.method_string());
    request.target = std::string(message.target());
    request.host = std::string(message[http::field::host]);
    request.range = std::string(message[http::field::range]);
    request.body = message.body();

    const HttpResponse response = router.handle(request);
    check(response.status >= 200 && response.status <= 599);
    check(response.delivery == Delivery::whole && response.delay.count() == 0);
    if (response.file) {
        const auto fileSize = fs::file_size(response.file->path);
        check(response.file->offset + response.file->length <= fileSize);
        check(response.status == 200 || response.status == 206);
    }
    return 0;
}
