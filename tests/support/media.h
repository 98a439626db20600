#pragma once

// Tiny media files made with the real ffmpeg, and what ffprobe says of a file.
#include "platform/ChildProcess.h"

#include <QFile>
#include <QStandardPaths>
#include <QStringList>

namespace media {

// Through the program's own process runner: QProcess's way of starting children
// is one ThreadSanitizer cannot follow.
inline ChildProcess::Exit run(const QString& tool, const QStringList& args, QByteArray* output = nullptr)
{
    ChildProcess p;
    if (!p.start(QStandardPaths::findExecutable(tool), args, ChildProcess::Capture::StandardOutput))
        return {};
    const QByteArray out = p.readAll();
    if (output)
        *output = out;
    return p.wait();
}

// A clip of test picture and tone; the container and codecs follow the suffix
// (webm: VP8 + Vorbis, mp4: H.264 + AAC, flv: FLV1 + MP3).
inline bool make(const QString& path, int seconds)
{
    const QString length = QString::number(seconds);
    QStringList args{"-hide_banner", "-loglevel", "error", "-y",
                     "-f", "lavfi", "-i", "testsrc=size=160x120:rate=15:duration=" + length,
                     "-f", "lavfi", "-i", "sine=frequency=440:sample_rate=44100:duration=" + length};
    if (path.endsWith(".webm"))
        args << "-c:v" << "libvpx" << "-b:v" << "200k" << "-c:a" << "libvorbis";
    else if (path.endsWith(".mp4"))
        args << "-c:v" << "libx264" << "-preset" << "ultrafast" << "-c:a" << "aac";
    else if (path.endsWith(".flv"))
        args << "-c:v" << "flv1" << "-c:a" << "libmp3lame" << "-ar" << "44100";
    args << "-shortest" << path;
    const ChildProcess::Exit exit = run("ffmpeg", args);
    return exit.exited && exit.code == 0;
}

// One field of ffprobe's view of a file ("format=duration", "stream=codec_name"...).
inline QString probe(const QString& path, const QString& entry, const QString& streams = "a:0")
{
    QByteArray out;
    run("ffprobe", {"-v", "error", "-select_streams", streams, "-show_entries", entry, "-of",
                    "default=noprint_wrappers=1:nokey=1", path},
        &out);
    return QString::fromUtf8(out).trimmed();
}

// The MD5 of one stream's packets as they are in a file ("a:0", "v:0"): equal for
// a stream copied into another container without re-encoding.
inline QString packetHash(const QString& path, const QString& stream)
{
    QByteArray out;
    run("ffmpeg", {"-v", "error", "-i", path, "-map", "0:" + stream, "-c", "copy", "-f", "hash", "-hash", "md5", "-"},
        &out);
    return QString::fromUtf8(out).trimmed();
}

// A whole file; empty when it cannot be read.
inline QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace media
