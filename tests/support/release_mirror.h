#pragma once

// Releases of yt-dlp and Deno made for a test (tests/support/make-release),
// and a mirror on loopback that serves one of them, changed as a test likes.
#include "platform/ChildProcess.h"
#include "route_server.h"

#include <QDir>
#include <QUrl>
#include <QFile>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>

#include <map>
#include <mutex>
#include <string>

namespace release_mirror {

using files = std::map<std::string, std::string>;

inline std::string read(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string();
}

// Runs a program with environment additions ("NAME=VALUE"); its exit status.
inline int run(const QString& program, const QStringList& arguments, const QStringList& environment = {})
{
    ChildProcess p;
    if (!p.start(QStringLiteral("/usr/bin/env"), environment + QStringList{program} + arguments,
                 ChildProcess::Capture::StandardOutput))
        return -1;
    p.readAll();
    const ChildProcess::Exit exit = p.wait();
    return exit.exited ? exit.code : -1;
}

// A signing key and the releases made with it.
class releases {
public:
    QString keys() const { return dir_.filePath("keys"); }
    QString key() const { return dir_.filePath("keys/key.asc"); }

    // The files of a release with these versions.
    files make(const QString& ytDlp, const QString& deno) const
    {
        const QString out = dir_.filePath(ytDlp + "-" + deno);
        if (run(QStringLiteral(MELODRIFT_MAKE_RELEASE), {keys(), out, ytDlp, deno}) != 0)
            return {};
        files made;
        for (const QString& name : QDir(out).entryList(QDir::Files))
            made[name.toStdString()] = read(out + "/" + name);
        return made;
    }

    // A detached signature of bytes by the key.
    std::string sign(const std::string& bytes) const
    {
        const QString in = dir_.filePath("to-sign"), out = in + ".sig";
        QFile file(in);
        QFile::remove(out);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes.data(), qint64(bytes.size())) < 0)
            return {};
        file.close();
        run(QStringLiteral("gpg"), {"--batch", "--quiet", "--detach-sign", "-o", out, in}, {"GNUPGHOME=" + keys()});
        return read(out);
    }

private:
    QTemporaryDir dir_;
};

// Serves the files it holds under /, and /moved/NAME as a redirect to `moved`.
class mirror {
public:
    explicit mirror(files served) : files_(std::move(served)) {}

    void serve(files served)
    {
        std::lock_guard lock(mutex_);
        files_ = std::move(served);
    }
    void redirectTo(std::string to)
    {
        std::lock_guard lock(mutex_);
        moved_ = std::move(to);
    }
    QUrl base() const { return QUrl(QString::fromStdString(server_.base() + "/")); }
    std::size_t count(const std::string& path) const { return server_.count(path); }

private:
    route_server::response answer(const route_server::request& r)
    {
        std::lock_guard lock(mutex_);
        if (r.target.starts_with("/moved/"))
            return {302, "", {{"Location", moved_ + r.target.substr(7)}}};
        const auto found = files_.find(r.target.substr(1));
        if (found == files_.end())
            return {404, "no such file"};
        return {200, found->second};
    }

    std::mutex mutex_;
    files files_;
    std::string moved_;
    route_server server_{[this](const route_server::request& r) { return answer(r); }};
};

} // namespace release_mirror
