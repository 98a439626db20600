#pragma once

// A loopback stand-in of the video service for the catalogue tests: search feed,
// watch pages, thumbnails and the parser service, each switchable per test.
#include "core/parser_result.h"
#include "route_server.h"

#include <QBuffer>
#include <QImage>

#include <fstream>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

struct feed_item {
    std::string id;
    std::string title; // as it stands in the XML, references and all
    std::string description;
    std::string seconds;
};

class catalogue_server {
public:
    catalogue_server()
        : server_([this](const route_server::request& r) { return answer(r); })
    {
    }

    std::string base() const { return server_.base(); }
    std::string watch_url(const std::string& id) const { return base() + "/watch?v=" + id; }
    std::size_t count(const std::string& prefix) const { return server_.count(prefix); }
    std::vector<route_server::request> requests() const { return server_.requests(); }

    // Feed answers by the "q" value as sent; unknown words get an empty feed.
    void set_feed(const std::string& q, const std::vector<feed_item>& items, std::chrono::milliseconds delay = {})
    {
        std::lock_guard lock(mutex_);
        feeds_[q] = {200, feed(items), {}, delay};
    }
    void set_feed_response(const std::string& q, route_server::response r)
    {
        std::lock_guard lock(mutex_);
        feeds_[q] = std::move(r);
    }
    void set_page(const std::string& id, const std::string& html, int status = 200)
    {
        std::lock_guard lock(mutex_);
        pages_[id] = {status, html, {}, {}};
    }
    // The parser service's whole reply body; empty: it answers 503.
    void set_parser_reply(const std::string& body)
    {
        std::lock_guard lock(mutex_);
        parser_reply_ = body;
    }

    std::string thumbnail_url(const std::string& id) const { return base() + "/thumb/" + id + ".png"; }

    std::string feed(const std::vector<feed_item>& items) const
    {
        std::string xml = "<?xml version='1.0' encoding='UTF-8'?>\n"
                          "<rss xmlns:media='http://search.yahoo.com/mrss/' "
                          "xmlns:yt='http://gdata.youtube.com/schemas/2007' version='2.0'>\n"
                          "<channel>\n<title>Videos</title>\n<link>" +
                          base() + "</link>\n";
        for (const auto& i : items) {
            xml += "<item>\n<guid isPermaLink='false'>tag:" + i.id + "</guid>\n<title>" + i.title +
                   "</title>\n<description>" + i.description + "</description>\n<link>" + watch_url(i.id) +
                   "&amp;feature=youtube_gdata</link>\n<media:group>\n<media:title type='plain'>" + i.title +
                   "</media:title>\n<media:thumbnail url='" + thumbnail_url(i.id) +
                   "' height='90' width='120' time='00:00:01'/>\n<yt:duration seconds='" + i.seconds +
                   "'/>\n</media:group>\n</item>\n";
        }
        return xml + "</channel>\n</rss>\n";
    }

    static std::string png(int width = 4, int height = 3)
    {
        QImage image(width, height, QImage::Format_RGB32);
        image.fill(Qt::red);
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, "PNG");
        return bytes.toStdString();
    }

    static std::string data_file(const std::string& name)
    {
        std::ifstream in(std::string(MELODRIFT_TEST_DATA) + "/" + name, std::ios::binary);
        std::ostringstream text;
        text << in.rdbuf();
        return text.str();
    }

private:
    route_server::response answer(const route_server::request& r)
    {
        std::lock_guard lock(mutex_);
        const std::string& t = r.target;
        if (t.rfind("/feeds/api/videos?", 0) == 0) {
            const auto q = t.find("&q=");
            const auto it = feeds_.find(q == std::string::npos ? "" : t.substr(q + 3));
            return it != feeds_.end() ? it->second : route_server::response{200, feed({}), {}, {}};
        }
        if (t.rfind("/watch?v=", 0) == 0) {
            std::string id = t.substr(9);
            id = id.substr(0, id.find('&'));
            const auto it = pages_.find(id);
            return it != pages_.end() ? it->second : route_server::response{404, "no such video", {}, {}};
        }
        if (t.rfind("/thumb/", 0) == 0)
            return t.find("missing") == std::string::npos ? route_server::response{200, png(), {}, {}}
                                                          : route_server::response{404, "", {}, {}};
        if (t == "/cgi-bin/zor.parser")
            return parser_reply_.empty() ? route_server::response{503, "down", {}, {}}
                                         : route_server::response{200, parser_reply_, {}, {}};
        return {404, "", {}, {}};
    }

    std::mutex mutex_;
    std::map<std::string, route_server::response> feeds_;
    std::map<std::string, route_server::response> pages_;
    std::string parser_reply_;
    route_server server_; // last: it may answer as soon as it exists
};
