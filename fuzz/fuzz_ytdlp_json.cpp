// Hands arbitrary bytes to the readers of yt-dlp's answers, as a child process
// fed by a hostile page could print them: whatever they are, what is read keeps
// to the bounds, and every address it would fetch is a web one.
#include "catalogue/engine/YtDlpJson.h"

#include <cstdint>
#include <cstdlib>

namespace {

bool web(const QUrl& url)
{
    return url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace engine::ytdlp;
    const QByteArray json = QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));

    const auto search = readSearch(json);
    if (search.value) {
        if (search.value->size() > mostVideos)
            std::abort();
        for (const FoundVideo& video : *search.value)
            // A link is checked when it is used; a picture is fetched at once.
            if ((video.thumbnail && !web(*video.thumbnail)) || video.seconds < 0)
                std::abort();
    } else if (search.error.isEmpty()) {
        std::abort();
    }

    const auto video = readVideo(json);
    if (video.value) {
        if (video.value->formats.size() > mostFormats || video.value->seconds < 0)
            std::abort();
        for (const Format& format : video.value->formats) {
            if (!web(format.url) || format.headers.size() > mostHeaders)
                std::abort();
            for (const auto& [name, value] : format.headers)
                if (name.contains('\n') || name.contains('\r') || value.contains('\n') || value.contains('\r'))
                    std::abort();
            if (!streamOf(format))
                std::abort();
        }
    } else if (video.error.isEmpty()) {
        std::abort();
    }
    reasonIn(json);
    return 0;
}
