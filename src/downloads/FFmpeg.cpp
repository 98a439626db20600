#include "downloads/FFmpeg.h"

#include "platform/ChildProcess.h"
#include "platform/Log.h"
#include "platform/Text.h"
#include "platform/WorkerPool.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QHash>
#include <QStandardPaths>

#include <algorithm>
#include <limits>
#include <mutex>

using namespace Qt::StringLiterals;

namespace {

std::mutex overrideMutex;
std::optional<QString> executableOverride;

// The folder of the program's own executable, asked of Qt once: Qt's answer
// is cached without a lock, and conversions ask from their own threads.
QString programDir()
{
    static std::mutex mutex;
    static QString dir;
    std::lock_guard lock(mutex);
    if (dir.isEmpty() && QCoreApplication::instance())
        dir = QCoreApplication::applicationDirPath();
    return dir;
}

// Whether the program offers the encoder; asked once per program and run.
bool hasEncoder(const QString& program, const QString& encoder)
{
    static std::mutex mutex;
    static QHash<QString, QStringList> encoders;
    if (program.isEmpty())
        return false;
    std::lock_guard lock(mutex);
    auto found = encoders.constFind(program);
    if (found == encoders.constEnd()) {
        QStringList names;
        ChildProcess probe;
        if (probe.start(program, {u"-hide_banner"_s, u"-encoders"_s}, ChildProcess::Capture::StandardOutput)) {
            const QString listing = QString::fromUtf8(probe.readAll());
            probe.wait();
            // Lines like " A..... aac                  AAC (Advanced Audio Coding)".
            for (QStringView line : QStringView(listing).split(u'\n')) {
                const QList<QStringView> words = line.trimmed().split(u' ', Qt::SkipEmptyParts);
                if (words.size() >= 2 && words[0].size() == 6)
                    names.append(words[1].toString());
            }
        }
        found = encoders.insert(program, names);
    }
    return found->contains(encoder);
}

// The input is what a server sent: ffmpeg reads it as a local file of one of the
// containers the service offers (MP4 and 3GP, FLV, WebM), never guessing another
// format from its content nor following an address inside it.
QStringList inputArguments(const QString& source)
{
    return {u"-protocol_whitelist"_s, u"file"_s, u"-format_whitelist"_s, u"mov,flv,matroska,webm"_s, u"-i"_s, source};
}

QStringList videoArgumentsFor(const QString& program, const QString& source, const QString& destination)
{
    // Today's ffmpeg builds have no libfaac; their own AAC encoder refuses 44000 Hz.
    const bool faac = hasEncoder(program, u"libfaac"_s);
    return inputArguments(source) + QStringList{
            u"-r"_s,      u"30"_s,
            u"-vcodec"_s, u"libx264"_s,
            u"-acodec"_s, faac ? u"libfaac"_s : u"aac"_s,
            u"-ar"_s,     faac ? u"44000"_s : u"44100"_s,
            u"-ab"_s,     u"320k"_s,
            u"-ac"_s,     u"2"_s,
            u"-y"_s,      u"-crf"_s,
            u"21"_s,      destination};
}

QString lastLine(const QByteArray& output)
{
    const QString text = QString::fromUtf8(output);
    const QList<QStringView> lines = QStringView(text).split(u'\n');
    for (auto line = lines.crbegin(); line != lines.crend(); ++line) {
        // Progress reports end in a carriage return, not a line feed.
        const QList<QStringView> pieces = line->split(u'\r', Qt::SkipEmptyParts);
        for (auto piece = pieces.crbegin(); piece != pieces.crend(); ++piece) {
            if (!piece->trimmed().isEmpty())
                return piece->trimmed().toString();
        }
    }
    return {};
}

} // namespace

std::shared_ptr<FFmpeg> FFmpeg::create()
{
    return std::shared_ptr<FFmpeg>(new FFmpeg());
}

std::shared_ptr<FFmpeg> FFmpeg::create(const QString& source, const QString& destination)
{
    auto converter = create();
    converter->setSourceFile(source);
    converter->setDestinationFile(destination);
    return converter;
}

FFmpeg::~FFmpeg() = default;

void FFmpeg::convertH264Video()
{
    run(newTask(), Kind::Video, 0);
}

void FFmpeg::convertMP3(int bitrate)
{
    run(newTask(), Kind::Audio, bitrate);
}

void FFmpeg::convertH264VideoAsync()
{
    runAsync(Kind::Video, 0);
}

void FFmpeg::convertMP3Async(int bitrate)
{
    runAsync(Kind::Audio, bitrate);
}

void FFmpeg::joinAsync(const QString& soundFile)
{
    soundFile_.set(soundFile);
    runAsync(Kind::Joined, 0);
}

void FFmpeg::cancel()
{
    if (const auto task = task_.get())
        task->terminate();
}

std::shared_ptr<ChildProcess> FFmpeg::newTask()
{
    auto task = std::make_shared<ChildProcess>();
    task_.set(task);
    return task;
}

void FFmpeg::runAsync(Kind kind, int bitrate)
{
    // The task exists before this returns, so a cancel right after it counts.
    auto task = newTask();
    platform::WorkerPool::run([self = shared_from_this(), task, kind, bitrate] {
        self->run(task, kind, bitrate);
        self->convertedEvent(*self);
    });
}

void FFmpeg::run(const std::shared_ptr<ChildProcess>& task, Kind kind, int bitrate)
{
    outcome_.set({});
    const QString program = executable();
    if (program.isEmpty()) {
        fail(u"ffmpeg was found neither beside the program nor on PATH"_s);
        return;
    }
    const QString source = sourceFile();
    const QString destination = destinationFile();
    const QStringList arguments = kind == Kind::Video  ? videoArgumentsFor(program, source, destination)
                                  : kind == Kind::Joined ? joinArguments(source, soundFile_.get(), destination)
                                                         : audioArguments(source, destination, bitrate);
    const QString output = kind == Kind::Audio ? audioDestination(destination) : destination;

    if (!task->start(program, arguments, ChildProcess::Capture::StandardError)) {
        fail(task->terminateRequested() ? u"cancelled"_s : task->error());
        return;
    }
    // The end of the output, for the reason of a failure.
    constexpr qsizetype tailSize = 4096;
    QByteArray tail;
    for (QByteArray chunk = task->readChunk(); !chunk.isEmpty(); chunk = task->readChunk()) {
        handleChunk(chunk, kind);
        tail += chunk;
        if (tail.size() > tailSize)
            tail.remove(0, tail.size() - tailSize);
    }
    const ChildProcess::Exit exit = task->wait();

    if (task->terminateRequested()) {
        fail(u"cancelled"_s);
    } else if (!exit.exited) {
        fail(exit.signal != 0 ? u"ffmpeg was ended by signal %1"_s.arg(exit.signal)
                              : u"the exit status of ffmpeg is unknown"_s);
    } else if (exit.code != 0) {
        const QString why = lastLine(tail);
        fail(u"ffmpeg exited with status %1"_s.arg(exit.code) + (why.isEmpty() ? QString() : u": "_s + why));
    } else if (QFileInfo(output).size() <= 0) {
        fail(u"ffmpeg left no output in %1"_s.arg(output));
    } else {
        outcome_.set({true, {}});
    }
}

void FFmpeg::handleChunk(const QByteArray& chunk, Kind kind)
{
    const bool ascii = std::all_of(chunk.cbegin(), chunk.cend(), [](char c) { return static_cast<uchar>(c) < 0x80; });
    if (!ascii) {
        // Not decodable as ASCII: nothing to log, nothing to read.
        platform::Log::line(u"OUTPUT:(null)"_s);
        return;
    }
    const QString text = QString::fromLatin1(chunk);
    platform::Log::line(u"OUTPUT:"_s + text);

    const std::optional<qint32> seconds = progressSecond(text, kind);
    if (!seconds)
        return;
    // Sign-extended like the unsigned reading of a negative number.
    const auto value = static_cast<quint64>(static_cast<qint64>(*seconds));
    if (value == workingOnSecond_.get().value_or(0))
        return;
    workingOnSecond_.set(value);
    platform::Log::line(u"Working on second: "_s + QString::number(*seconds));
    newSecondEvent(*this, value);
}

void FFmpeg::fail(const QString& reason)
{
    outcome_.set({false, reason});
    platform::Log::line(u"Conversion failed: "_s + reason);
}

QString FFmpeg::executable()
{
    {
        std::lock_guard lock(overrideMutex);
        if (executableOverride)
            return *executableOverride;
    }
    // An empty PATH entry would mean the current folder: not a place to run ffmpeg from.
    return locateExecutable(programDir(), qEnvironmentVariable("PATH").split(u':', Qt::SkipEmptyParts));
}

QString FFmpeg::locateExecutable(const QString& besideDir, const QStringList& searchPath)
{
    if (!besideDir.isEmpty()) {
        const QFileInfo beside(besideDir + u"/ffmpeg"_s);
        if (beside.isFile() && beside.isExecutable())
            return beside.absoluteFilePath();
    }
    // findExecutable() would search the system's PATH for an empty list.
    if (searchPath.isEmpty())
        return {};
    return QStandardPaths::findExecutable(u"ffmpeg"_s, searchPath);
}

void FFmpeg::setExecutableOverride(std::optional<QString> path)
{
    std::lock_guard lock(overrideMutex);
    executableOverride = std::move(path);
}

QStringList FFmpeg::videoArguments(const QString& source, const QString& destination)
{
    return videoArgumentsFor(executable(), source, destination);
}

QStringList FFmpeg::audioArguments(const QString& source, const QString& destination, int bitrate)
{
    return inputArguments(source) + QStringList{
            u"-vn"_s,
            u"-ac"_s,
            u"2"_s,
            u"-ar"_s,
            u"44100"_s,
            u"-ab"_s,
            QString::number(bitrate) + u'k',
            u"-acodec"_s,
            u"libmp3lame"_s,
            u"-y"_s,
            audioDestination(destination)};
}

QStringList FFmpeg::joinArguments(const QString& picture, const QString& sound, const QString& destination)
{
    return inputArguments(picture) + inputArguments(sound) +
           QStringList{u"-map"_s, u"0:v:0"_s, u"-map"_s, u"1:a:0"_s, u"-c"_s, u"copy"_s, u"-y"_s, destination};
}

QString FFmpeg::audioDestination(const QString& destination)
{
    return destination.endsWith(u".mp3"_s) ? destination : destination + u".mp3"_s;
}

std::optional<qint32> FFmpeg::progressSecond(QStringView chunk, Kind kind)
{
    // A copy with a picture reports frames, as a conversion to video does.
    if (!chunk.startsWith(kind == Kind::Audio ? u"size=" : u"frame="))
        return std::nullopt;
    const qsizetype time = chunk.indexOf(u"time=");
    const qsizetype bitrate = chunk.indexOf(u" bitrate=");
    constexpr qsizetype timeLabel = 5;
    if (time < 0 || bitrate < time + timeLabel)
        return std::nullopt;

    QStringView text = chunk.mid(time + timeLabel, bitrate - time - timeLabel);
    if (const qsizetype dot = text.indexOf(u'.'); dot >= 0)
        text = text.left(dot);
    // Hours, minutes, seconds; missing parts count 0.
    qint64 parts[3] = {0, 0, 0};
    const QList<QStringView> fields = text.split(u':');
    for (qsizetype i = 0; i < 3 && i < fields.size(); ++i)
        parts[i] = std::clamp<qint64>(platform::leadingInteger(fields[i]), std::numeric_limits<qint32>::min(),
                                       std::numeric_limits<qint32>::max());
    // 32-bit signed arithmetic, wrapping as the machine's would.
    const qint64 total = parts[0] * 3600 + parts[1] * 60 + parts[2];
    return static_cast<qint32>(static_cast<quint32>(static_cast<quint64>(total)));
}
