#include "service/HostileVideos.h"

#include "service/Markup.h"

namespace service {

namespace {

// "Rule 110 in Five Seconds": a five-second MP4 stream (itag 18) of the demo.
constexpr const char* borrowedMedia = "UnVsZTExMF8";

Video hostile(std::string id, std::string title)
{
    Video video;
    video.id = std::move(id);
    video.seconds = 5;
    video.title = std::move(title);
    video.description = "A hostile service's video.";
    video.itags = {18};
    video.hostile.emplace().mediaOf = borrowedMedia;
    return video;
}

} // namespace

const char* const hostileEscapeTitle = "Escape \x1b]0;pwned\x07\x1b[2J\x1b[31mRed\x1b[0m Title";

std::vector<Video> hostileVideos(const std::filesystem::path& secret, const std::filesystem::path& bombPicture,
                                 const std::filesystem::path& subtitles)
{
    const std::string local = "file://" + secret.string();
    std::vector<Video> videos = {hostile("TG9jYWxMaW5", "Local Link"), hostile("TG9jYWxTdHJ", "Local Stream"),
                                 hostile("Qm9tYlBpY3R", "Bomb Picture"), hostile("RXNjYXBlVGl", hostileEscapeTitle),
                                 hostile("UGVyY2VudDE", "%1 and %2")};
    videos[0].hostile->link = escapeXml(local);
    videos[1].hostile->stream = local;
    videos[2].hostile->picture = bombPicture;
    // In the feed both ways an escape can come: the raw byte, and a reference.
    videos[3].hostile->titleXml = "Escape \x1b]0;pwned\x07&#27;[2J&#x1B;[31mRed\x1b[0m Title";
    videos[3].channel = "Escape \x1b]0;owned\x07\x1b[31mRed\x1b[0m Channel";
    videos[3].hostile->channelXml = "Escape \x1b]0;owned\x07&#x1B;[31mRed\x1b[0m Channel";
    videos[3].hostile->subtitles = subtitles;
    // Longer than any file name or tag field.
    while (videos[4].channel.size() < 40000)
        videos[4].channel += "A Channel Whose Name Goes On And On ";
    return videos;
}

} // namespace service
