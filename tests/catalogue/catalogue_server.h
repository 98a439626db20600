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
#include <condition_variable>
#include <map>
#include <mutex>
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
    ~catalogue_server()
    {
        std::lock_guard lock(mutex_);
        release_thumbnails();
    }

    std::string base() const { return server_.base(); }
    std::string watch_url(const std::string& id) const { return base() + "/watch?v=" + id; }
    std::size_t count(const std::string& prefix) const { return server_.count(prefix); }
    std::size_t open_connections() const { return server_.open_connections(); }
    std::vector<route_server::request> requests() const { return server_.requests(); }

    // Feed answers by the "q" value as sent; unknown words get an empty feed.
    void set_feed(const std::string& q, const std::vector<feed_item>& items)
    {
        std::lock_guard lock(mutex_);
        feeds_[q] = {200, feed(items), {}, {}};
    }
    void set_feed_response(const std::string& q, route_server::response r)
    {
        std::lock_guard lock(mutex_);
        feeds_[q] = std::move(r);
    }
    void set_page(const std::string& id, const std::string& html)
    {
        std::lock_guard lock(mutex_);
        pages_[id] = {200, html, {}, {}};
    }
    // The parser service's whole reply body; empty: it answers 503.
    void set_parser_reply(const std::string& body)
    {
        std::lock_guard lock(mutex_);
        parser_reply_ = body;
    }

    std::string thumbnail_url(const std::string& id) const { return base() + "/thumb/" + id + ".png"; }

    // The thumbnails of these ids answer in this order, each after those before it.
    void answer_thumbnails_in_order(std::vector<std::string> ids)
    {
        std::lock_guard lock(mutex_);
        order_ = std::move(ids);
        answered_ = 0;
    }
    // Every thumbnail waits until `together` wait at once, or until the
    // `expected`-th has come: a client that asks for fewer at once gets nowhere
    // for a while, one that asks for more shows in peak_thumbnails().
    void gather_thumbnails(std::size_t together, std::size_t expected)
    {
        std::lock_guard lock(mutex_);
        together_ = together;
        expected_ = expected;
    }
    // The most thumbnail requests that were being answered at once.
    std::size_t peak_thumbnails() const
    {
        std::lock_guard lock(mutex_);
        return peak_;
    }

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

    static std::string picture(int width, const char* format)
    {
        QImage image(width, 3, QImage::Format_RGB32);
        image.fill(Qt::red);
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, format);
        return bytes.toStdString();
    }

private:
    route_server::response answer(const route_server::request& r)
    {
        std::unique_lock lock(mutex_);
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
            return thumbnail(lock, t.substr(7, t.rfind('.') - 7));
        if (t == "/cgi-bin/zor.parser")
            return parser_reply_.empty() ? route_server::response{503, "down", {}, {}}
                                         : route_server::response{200, parser_reply_, {}, {}};
        return {404, "", {}, {}};
    }

    route_server::response thumbnail(std::unique_lock<std::mutex>& lock, const std::string& id)
    {
        ++arrived_;
        peak_ = std::max(peak_, ++inside_);
        hold(lock, id);
        --inside_;
        ++answered_;
        turn_.notify_all();

        if (id.find("missing") != std::string::npos)
            return {404, "", {}, {}};
        if (id.find("garbage") != std::string::npos)
            return {200, "GIF89a, or so it says", {}, {}};
        const int width = std::isdigit(static_cast<unsigned char>(id[0])) ? std::stoi(id) : 4;
        route_server::response reply{200, picture(width, id.find("jpeg") != std::string::npos ? "JPEG" : "PNG"), {}, {}};
        reply.stall = id.find("stall") != std::string::npos;
        return reply;
    }

    void hold(std::unique_lock<std::mutex>& lock, const std::string& id)
    {
        // A client that never lets a gate open gets through after a while, so
        // that its test fails on what it saw rather than hanging.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        bool open = true;
        const auto turn = std::find(order_.begin(), order_.end(), id);
        if (turn != order_.end()) {
            const auto before = static_cast<std::size_t>(turn - order_.begin());
            open = turn_.wait_until(lock, deadline, [&] { return order_.empty() || answered_ == before; });
        }
        if (open && together_ > 0) {
            const std::size_t group = group_;
            if (++waiting_ == together_ || arrived_ == expected_) {
                // The full group is held a little longer: a request beyond the
                // bound would be on its way by now.
                if (waiting_ == together_)
                    turn_.wait_for(lock, std::chrono::milliseconds(100), [&] { return together_ == 0; });
                waiting_ = 0;
                ++group_;
                turn_.notify_all();
            } else {
                open = turn_.wait_until(lock, deadline, [&] { return group_ != group || together_ == 0; });
            }
        }
        if (!open)
            release_thumbnails();
    }

    void release_thumbnails()
    {
        order_.clear();
        together_ = 0;
        turn_.notify_all();
    }

    mutable std::mutex mutex_;
    std::condition_variable turn_;
    std::vector<std::string> order_;
    std::size_t together_ = 0, expected_ = 0, group_ = 0, waiting_ = 0;
    std::size_t arrived_ = 0, inside_ = 0, peak_ = 0, answered_ = 0;
    std::map<std::string, route_server::response> feeds_;
    std::map<std::string, route_server::response> pages_;
    std::string parser_reply_;
    route_server server_; // last: it may answer as soon as it exists
};
