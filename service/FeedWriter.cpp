#include "service/FeedWriter.h"

#include "service/Markup.h"

#include <algorithm>

namespace service {

FeedWriter::FeedWriter(std::string base) : base_(std::move(base)) {}

std::string FeedWriter::write(std::string_view words, const std::vector<const Video*>& matches,
                              std::size_t startIndex, std::size_t padTo) const
{
    const std::size_t first = startIndex > 0 ? startIndex - 1 : 0;
    std::vector<const Video*> items;
    if (padTo > 0) {
        for (std::size_t i = 0; !matches.empty() && i < padTo; ++i)
            items.push_back(matches[(first + i) % matches.size()]);
    } else if (first < matches.size()) {
        items.assign(matches.begin() + static_cast<std::ptrdiff_t>(first),
                     matches.begin() + static_cast<std::ptrdiff_t>(std::min(matches.size(), first + pageSize)));
    }
    const std::size_t total = padTo > 0 ? items.size() : matches.size();

    std::string out;
    out.reserve(1024 + items.size() * 1024);
    out += "<?xml version='1.0' encoding='UTF-8'?>\n"
           "<rss version='2.0' xmlns:openSearch='http://a9.com/-/spec/opensearchrss/1.0/' "
           "xmlns:atom='http://www.w3.org/2005/Atom' xmlns:media='http://search.yahoo.com/mrss/' "
           "xmlns:gd='http://schemas.google.com/g/2005' xmlns:yt='http://gdata.youtube.com/schemas/2007' "
           "xmlns:itunes='http://www.itunes.com/dtds/podcast-1.0.dtd'>\n"
           "  <channel>\n";
    out += "    <atom:id>" + escapeXml(base_) + "/feeds/api/videos</atom:id>\n";
    out += "    <lastBuildDate>Tue, 20 Nov 2012 17:02:11 +0000</lastBuildDate>\n";
    out += "    <title>YouTube Videos matching query: " + escapeXml(words) + "</title>\n";
    out += "    <link>" + escapeXml(base_) + "</link>\n";
    out += "    <openSearch:totalResults>" + std::to_string(total) + "</openSearch:totalResults>\n";
    out += "    <openSearch:startIndex>" + std::to_string(first + 1) + "</openSearch:startIndex>\n";
    out += "    <openSearch:itemsPerPage>" + std::to_string(padTo > 0 ? padTo : pageSize) +
           "</openSearch:itemsPerPage>\n";
    for (const Video* video : items)
        writeItem(out, *video);
    out += "  </channel>\n</rss>\n";
    return out;
}

void FeedWriter::writeItem(std::string& out, const Video& video) const
{
    const std::string base = escapeXml(base_);
    const Video::Hostile none;
    const Video::Hostile& hostile = video.hostile ? *video.hostile : none;
    const std::string title = hostile.titleXml.empty() ? escapeXml(video.title) : hostile.titleXml;
    const std::string channel = hostile.channelXml.empty() ? escapeXml(video.channel) : hostile.channelXml;
    const std::string description = escapeXml(video.description);
    const std::string watch = base + "/watch?v=" + escapeXml(video.id);
    const std::string seconds = std::to_string(video.seconds);
    const std::string thumbnail = base + "/vi/" + escapeXml(video.id) + "/default.jpg";

    out += "    <item>\n";
    out += "      <guid isPermaLink='false'>" + base + "/feeds/api/videos/" + escapeXml(video.id) + "</guid>\n";
    out += "      <pubDate>" + rfc822Date(video.uploaded) + "</pubDate>\n";
    out += "      <title>" + title + "</title>\n";
    out += "      <description>" + description + "</description>\n";
    out += "      <link>" + (hostile.link.empty() ? watch + "&amp;feature=youtube_gdata" : hostile.link) + "</link>\n";
    // RSS wants an address here, the name after it in parentheses.
    out += "      <author>noreply@melodrift.invalid (" + channel + ")</author>\n";
    out += "      <media:group>\n";
    out += "        <media:description type='plain'>" + description + "</media:description>\n";
    out += "        <media:player url='" + watch + "&amp;feature=youtube_gdata_player'/>\n";
    out += "        <media:thumbnail url='" + thumbnail + "' height='180' width='320' time='00:00:02'/>\n";
    out += "        <media:title type='plain'>" + title + "</media:title>\n";
    out += "        <yt:duration seconds='" + seconds + "'/>\n";
    out += "      </media:group>\n";
    // The podcast elements: general feed readers (yt-dlp's among them) take the
    // length and the picture from them, podcast readers the bare channel name.
    out += "      <itunes:author>" + channel + "</itunes:author>\n";
    out += "      <itunes:duration>" + seconds + "</itunes:duration>\n";
    out += "      <itunes:image href='" + thumbnail + "'/>\n";
    out += "    </item>\n";
}

} // namespace service
