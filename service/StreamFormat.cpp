#include "service/StreamFormat.h"

#include <algorithm>

namespace service {

namespace {

constexpr StreamFormat formats[] = {
    {22, "hd720", R"(video/mp4; codecs="avc1.64001F, mp4a.40.2")", "video/mp4", "mp4", 1280, 720},
    {35, "large", "video/x-flv", "video/x-flv", "flv", 854, 480},
    {43, "medium", R"(video/webm; codecs="vp8.0, vorbis")", "video/webm", "webm", 640, 360},
    {18, "medium", R"(video/mp4; codecs="avc1.42001E, mp4a.40.2")", "video/mp4", "mp4", 640, 360},
    {5, "small", "video/x-flv", "video/x-flv", "flv", 400, 240},
    {36, "small", R"(video/3gpp; codecs="mp4v.20.3, mp4a.40.2")", "video/3gpp", "3gp", 320, 240},
    {17, "small", R"(video/3gpp; codecs="mp4v.20.3, mp4a.40.2")", "video/3gpp", "3gp", 176, 144},
};

} // namespace

std::span<const StreamFormat> streamFormats()
{
    return formats;
}

const StreamFormat* findStreamFormat(int itag)
{
    const auto it = std::find_if(std::begin(formats), std::end(formats), [itag](const auto& f) { return f.itag == itag; });
    return it == std::end(formats) ? nullptr : it;
}

} // namespace service
