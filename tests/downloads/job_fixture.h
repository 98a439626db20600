#pragma once

// What the job tests share: the user's folders in a temporary home, a loopback
// server for the streams, and a way to run a job until it ends.
#include "downloads/DownloadItem.h"
#include "log_capture.h"
#include "route_server.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>

#include <map>
#include <mutex>
#include <string>

class JobTest : public ::testing::Test {
protected:
    JobTest()
    {
        for (const char* name : {"HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME"})
            saved_[name] = qgetenv(name);
        qputenv("HOME", QFile::encodeName(home_.path()));
        qputenv("XDG_CACHE_HOME", QFile::encodeName(home_.path() + "/.cache"));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(home_.path() + "/.config"));
        // Qt reads the settings folder once per process: tell it again.
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, home_.path() + "/.config");
    }
    ~JobTest() override
    {
        for (const auto& [name, value] : saved_)
            qputenv(name.c_str(), value);
    }

    QString downloads() const { return home_.path() + "/Downloads"; }
    QString cache() const { return home_.path() + "/.cache/Melodrift"; }

    // Serves path -> body; anything else is a 404.
    void serve(const std::string& path, std::string body)
    {
        std::lock_guard lock(mutex_);
        routes_[path] = std::move(body);
    }
    QUrl url(const std::string& path) const { return QUrl(QString::fromStdString(server_.base() + path)); }
    std::size_t requests(const std::string& path) const { return server_.count(path); }

    std::shared_ptr<YouTubeVideo> video(const QString& title, qint64 seconds = 3) const
    {
        auto v = YouTubeVideo::initFromURL(QUrl("http://127.0.0.1/watch?v=x"), QUrl());
        v->setTitle(title);
        v->setSeconds(seconds);
        return v;
    }
    std::shared_ptr<YouTubeUrl> stream(const std::string& path, const std::string& type) const
    {
        return YouTubeUrl::init({server_.base() + path, "medium", type});
    }

    // Turns the event loop until the job reaches a final state (or 60 s pass).
    void runUntilEnd(const std::shared_ptr<DownloadItem>& job)
    {
        job->startDownload();
        waitFor([&] { return isFinal(job->state()); });
    }

    static bool isFinal(DownloadItem::State s)
    {
        return s == DownloadItem::State::Done || s == DownloadItem::State::Failed || s == DownloadItem::State::Canceled;
    }

    static void waitFor(const std::function<bool()>& condition, int milliseconds = 60000)
    {
        for (int waited = 0; waited < milliseconds && !condition(); waited += 10) {
            QEventLoop loop;
            QTimer::singleShot(10, &loop, &QEventLoop::quit);
            loop.exec();
        }
    }

    static QStringList files(const QString& folder)
    {
        return QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    }

private:
    QTemporaryDir home_;
    std::map<std::string, QByteArray> saved_;
    mutable std::mutex mutex_;
    log_capture log_;
    std::map<std::string, std::string> routes_;
    route_server server_{[this](const route_server::request& r) -> route_server::response {
        std::lock_guard lock(mutex_);
        const auto it = routes_.find(r.target);
        if (it == routes_.end())
            return {404, "no such stream", {}, {}};
        return {200, it->second, {}, {}};
    }};
};
