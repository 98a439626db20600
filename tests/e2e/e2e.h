#pragma once

// End-to-end runs: melodrift-service started on loopback with the demo catalogue,
// melodrift-cli run against it in a home of its own.
#include "downloads/ChildProcess.h"
#include "media.h"
#include "service_process.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <thread>

namespace e2e {

struct video {
    QString id;
    qint64 seconds = 0;
    QString kind; // normal, notice1..notice4, rtmpe
    QString title;
};

inline QString catalogueDir()
{
    return QStringLiteral(MELODRIFT_CATALOGUE);
}

inline std::vector<video> catalogue()
{
    std::vector<video> videos;
    QFile file(catalogueDir() + "/catalogue.tsv");
    if (!file.open(QIODevice::ReadOnly))
        return videos;
    for (const QByteArray& line : file.readAll().split('\n')) {
        const QList<QByteArray> f = line.split('\t');
        if (f.size() == 4)
            videos.push_back({QString::fromUtf8(f[0]), f[1].toLongLong(), QString::fromUtf8(f[2]), QString::fromUtf8(f[3])});
    }
    return videos;
}

// The media file of one stream of a video, by itag; empty when there is none.
inline QString mediaFile(const QString& id, int itag)
{
    const QStringList found =
        QDir(catalogueDir() + "/media").entryList({QStringLiteral("%1-%2.*").arg(id).arg(itag)}, QDir::Files);
    return found.isEmpty() ? QString() : catalogueDir() + "/media/" + found.first();
}

struct result {
    int status = -1;
    QString output; // standard output and error together
};

// A running melodrift-service on the demo catalogue; stopped when it goes.
class service : public service_process {
public:
    explicit service(const QStringList& options = {})
        : service_process(QStringLiteral(MELODRIFT_SERVICE_BINARY), catalogueDir(), options)
    {
    }
};

// melodrift-cli with its own home, cache and settings, against one service.
class cli {
public:
    cli()
    {
        QDir().mkpath(home_.path() + "/Downloads");
    }
    QString downloads() const { return home_.path() + "/Downloads"; }
    QString cache() const { return home_.path() + "/.cache/Melodrift"; }

    // Starts a run and leaves it going; finish() collects it.
    std::unique_ptr<ChildProcess> start(const QString& base, const QStringList& args) const
    {
        const QString env = QStringLiteral("HOME=%1 XDG_CACHE_HOME=%1/.cache XDG_CONFIG_HOME=%1/.config").arg(home_.path());
        // One stream for both outputs, in the order they were written.
        QStringList command{QStringLiteral("-c"), QStringLiteral("unset MELODRIFT_SERVICE; exec env %1 \"$@\" 2>&1").arg(env),
                            QStringLiteral("sh"), QStringLiteral(MELODRIFT_CLI_BINARY), QStringLiteral("--service"), base};
        command += args;
        auto p = std::make_unique<ChildProcess>();
        if (!p->start(QStringLiteral("/bin/sh"), command, ChildProcess::Capture::StandardOutput))
            return nullptr;
        return p;
    }

    static result finish(ChildProcess* p)
    {
        result r;
        if (!p)
            return r;
        r.output = QString::fromUtf8(p->readAll());
        const ChildProcess::Exit exit = p->wait();
        r.status = exit.exited ? exit.code : 128 + exit.signal;
        return r;
    }

    result run(const QString& base, const QStringList& args) const { return finish(start(base, args).get()); }

private:
    QTemporaryDir home_;
};

inline QByteArray bytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace e2e
