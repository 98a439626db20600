#pragma once

// A loopback stand-in of the video service for the catalogue tests: search feed,
// watch pages, thumbnails and the parser service, each switchable per test.
// Thumbnails by id: one with "missing" in it is not found, "garbage" is no
// picture, "stall" sends half a picture and holds on until the client gives up;
// an id that begins with a number N gets a picture N pixels wide, any other 4;
// a PNG, or a JPEG when "jpeg" is in the id.
#include "core/parser_result.h"
#include "route_server.h"

#include <QBuffer>
#include <QImage>

#include <algorithm>
#include <cctype>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

struct feed_item {
    std::string id;
    std::string title; // as it stands in the XML, references and all
    std::string description;
    std::string seconds;
};

class catalogue_server {
public:
    using ms = std::chrono::milliseconds;

    std::string base() const { return server_.base(); }
    std::string watch_url(const std::string& id) const { return base() + "/watch?v=" + id; }
    std::size_t count(const std::string& prefix) const { return server_.count(prefix); }
    std::size_t open_connections() const { return server_.open_connections(); }
    std::vector<route_server::request> requests() const { return server_.requests(); }

    // Feed answers by the "q" value as sent; unknown words get an empty feed.
    void set_feed(const std::string& q, const std::vector<feed_item>& items) { set_feed_response(q, {200, feed(items)}); }
    void set_feed_response(const std::string& q, route_server::response r)
    {
        std::lock_guard lock(mutex_);
        feeds_[q] = std::move(r);
    }
    void set_page(const std::string& id, const std::string& html)
    {
        std::lock_guard lock(mutex_);
        pages_[id] = html;
    }
    // The parser service's whole reply body; empty: it answers 503.
    void set_parser_reply(const std::string& body)
    {
        std::lock_guard lock(mutex_);
        parser_reply_ = body;
    }
    // Each thumbnail is answered after its id's hold, else after `every`.
    void hold_thumbnails(ms every, std::map<std::string, ms> by_id = {})
    {
        std::lock_guard lock(mutex_);
        hold_ = every;
        holds_ = std::move(by_id);
    }
    // The most thumbnail requests that were being answered at once.
    std::size_t peak_thumbnails() const
    {
        std::lock_guard lock(mutex_);
        return peak_;
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

private:
    route_server::response answer(const route_server::request& r)
    {
        std::unique_lock lock(mutex_);
        const std::string& t = r.target;
        if (t.starts_with("/feeds/api/videos?")) {
            const auto q = t.find("&q=");
            const auto it = feeds_.find(q == std::string::npos ? "" : t.substr(q + 3));
            return it != feeds_.end() ? it->second : route_server::response{200, feed({})};
        }
        if (t.starts_with("/watch?v=")) {
            const auto it = pages_.find(t.substr(9, t.find('&') - 9));
            return it != pages_.end() ? route_server::response{200, it->second}
                                      : route_server::response{404, "no such video"};
        }
        if (t.starts_with("/thumb/"))
            return thumbnail(lock, t.substr(7, t.rfind('.') - 7));
        if (t == "/cgi-bin/zor.parser")
            return parser_reply_.empty() ? route_server::response{503, "down"} : route_server::response{200, parser_reply_};
        return {404, ""};
    }

    route_server::response thumbnail(std::unique_lock<std::mutex>& lock, const std::string& id)
    {
        peak_ = std::max(peak_, ++inside_);
        const auto held = holds_.find(id);
        const ms hold = held == holds_.end() ? hold_ : held->second;
        lock.unlock();
        std::this_thread::sleep_for(hold);
        lock.lock();
        --inside_;

        if (id.find("missing") != std::string::npos)
            return {404, ""};
        if (id.find("garbage") != std::string::npos)
            return {200, "GIF89a, or so it says"};
        QImage image(std::isdigit(static_cast<unsigned char>(id[0])) ? std::stoi(id) : 4, 3, QImage::Format_RGB32);
        image.fill(Qt::red);
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, id.find("jpeg") != std::string::npos ? "JPEG" : "PNG");
        route_server::response reply{200, bytes.toStdString()};
        reply.stall = id.find("stall") != std::string::npos;
        return reply;
    }

    mutable std::mutex mutex_;
    ms hold_{0};
    std::map<std::string, ms> holds_;
    std::size_t inside_ = 0, peak_ = 0;
    std::map<std::string, route_server::response> feeds_;
    std::map<std::string, std::string> pages_;
    std::string parser_reply_;
    route_server server_{[this](const route_server::request& r) { return answer(r); }}; // last: it may answer at once
};
