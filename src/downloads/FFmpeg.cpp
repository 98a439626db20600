#include "downloads/FFmpeg.h"

#include "core/id3_url_frame.h"
#include "platform/ChildProcess.h"
#include "platform/Log.h"
#include "platform/Text.h"
#include "platform/WorkerPool.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
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

// The cover and the subtitles, read after the media inputs. Each is read as
// the one format it should be, from a local file.
struct Extras {
    QStringList inputs;
    QStringList maps;
    int cover = -1; // input number, -1: none
    int subtitles = -1;
};

Extras extraInputs(const FileTags& tags, int first, bool withCover, bool withSubtitles)
{
    Extras extras;
    int next = first;
    const auto add = [&](const QString& format, const QString& file) {
        extras.inputs +=
            {u"-protocol_whitelist"_s, u"file"_s, u"-format_whitelist"_s, format, u"-f"_s, format, u"-i"_s, file};
        extras.maps += {u"-map"_s, QString::number(next) + u":0"_s};
        return next++;
    };
    if (withCover && !tags.coverFile.isEmpty())
        extras.cover = add(u"jpeg_pipe"_s, tags.coverFile);
    if (withSubtitles && !tags.subtitleFile.isEmpty())
        extras.subtitles = add(u"webvtt"_s, tags.subtitleFile);
    return extras;
}

// The tags of the whole file. The source's own come from the network unread,
// stream tags included: none of them are copied.
QStringList metadataArguments(const FileTags& tags)
{
    QStringList arguments{u"-map_metadata"_s, u"-1"_s};
    const auto add = [&](const QString& key, const QString& value) {
        if (!value.isEmpty())
            arguments += {u"-metadata"_s, key + u'=' + value};
    };
    add(u"title"_s, FileTags::clean(tags.title));
    add(u"artist"_s, FileTags::clean(tags.artist));
    static const QRegularExpression dateForm(u"^[0-9]{4}(-[0-9]{2}(-[0-9]{2})?)?$"_s);
    if (const QString date = FileTags::clean(tags.date); dateForm.match(date).hasMatch())
        add(u"date"_s, date);
    add(u"comment"_s, FileTags::clean(tags.address));
    add(u"album"_s, FileTags::clean(tags.album));
    if (tags.track > 0)
        add(u"track"_s, QString::number(tags.track));
    return arguments;
}

// ID3v2.3 rather than ffmpeg's 2.4: more players read it, and the link frame
// is added to it afterwards (ffmpeg writes no link frames), into padding left
// for it with room to spare.
QStringList id3Arguments(const FileTags& tags, const Extras& extras)
{
    QStringList arguments{u"-id3v2_version"_s, u"3"_s};
    if (const QString address = FileTags::clean(tags.address); !address.isEmpty())
        arguments += {u"-metadata_header_padding"_s, QString::number(256 + 10 + address.toUtf8().size())};
    // Made the front cover (APIC type 3) by its comment.
    if (extras.cover >= 0)
        arguments += {u"-metadata:s:v"_s, u"title=Album cover"_s, u"-metadata:s:v"_s, u"comment=Cover (front)"_s};
    return arguments;
}

// The cover and subtitles inside an MP4 or Matroska file: the cover follows
// the picture (it is the second picture stream), the subtitles are the only ones.
QStringList attachedArguments(const FileTags& tags, const Extras& extras, bool mp4)
{
    QStringList arguments;
    if (extras.subtitles >= 0) {
        // MP4 holds its own timed text only; WebM and Matroska take WebVTT as it is.
        arguments += {u"-c:s"_s, mp4 ? u"mov_text"_s : u"webvtt"_s};
        if (const QString language = tags.subtitleLanguageCode(!mp4); !language.isEmpty())
            arguments += {u"-metadata:s:s:0"_s, u"language="_s + language};
    }
    if (extras.cover >= 0)
        arguments += {u"-disposition:v:1"_s, u"attached_pic"_s};
    return arguments;
}

// A second output of the same run: the subtitles as SubRip beside the video.
QStringList subtitleCopyArguments(const FileTags& tags, const Extras& extras)
{
    if (extras.subtitles < 0 || tags.subtitleCopy.isEmpty())
        return {};
    return {u"-map"_s, QString::number(extras.subtitles) + u":0"_s, u"-c:s"_s, u"srt"_s, u"-f"_s, u"srt"_s,
            u"-y"_s, tags.subtitleCopy};
}

QStringList videoArgumentsFor(const QString& program, const QString& source, const QString& destination,
                              const FileTags& tags)
{
    const bool tagged = !tags.isEmpty();
    const Extras extras = tagged ? extraInputs(tags, 1, true, true) : Extras{};
    QStringList arguments = inputArguments(source) + extras.inputs;
    // With more inputs, ffmpeg's own choice would take one stream of each kind from any.
    if (!extras.maps.isEmpty())
        arguments += QStringList{u"-map"_s, u"0:v:0"_s, u"-map"_s, u"0:a:0?"_s} + extras.maps;
    // The cover is copied: encoding it would make it a second film.
    const QStringList videoCodec = extras.cover >= 0
                                       ? QStringList{u"-c:v:0"_s, u"libx264"_s, u"-c:v:1"_s, u"copy"_s}
                                       : QStringList{u"-vcodec"_s, u"libx264"_s};
    // Today's ffmpeg builds have no libfaac; their own AAC encoder refuses 44000 Hz.
    const bool faac = hasEncoder(program, u"libfaac"_s);
    arguments += QStringList{u"-r"_s, u"30"_s} + videoCodec + QStringList{
            u"-acodec"_s, faac ? u"libfaac"_s : u"aac"_s,
            u"-ar"_s,     faac ? u"44000"_s : u"44100"_s,
            u"-ab"_s,     u"320k"_s,
            u"-ac"_s,     u"2"_s};
    if (tagged)
        arguments += attachedArguments(tags, extras, true) + metadataArguments(tags);
    return arguments + QStringList{u"-y"_s, u"-crf"_s, u"21"_s, destination} + subtitleCopyArguments(tags, extras);
}

bool isMatroska(const QString& destination)
{
    return destination.endsWith(u".webm"_s, Qt::CaseInsensitive) ||
           destination.endsWith(u".mkv"_s, Qt::CaseInsensitive);
}

// The tags' cover and subtitles as far as they are readable files now; a
// download goes on without them rather than fail for them.
FileTags present(FileTags tags)
{
    const auto readable = [](const QString& path) {
        const QFileInfo file(path);
        return file.isFile() && file.isReadable();
    };
    if (!tags.coverFile.isEmpty() && !readable(tags.coverFile)) {
        platform::Log::line(u"The cover is left out: "_s + tags.coverFile);
        tags.coverFile.clear();
    }
    if (!tags.subtitleFile.isEmpty() && !readable(tags.subtitleFile)) {
        platform::Log::line(u"The subtitles are left out: "_s + tags.subtitleFile);
        tags.subtitleFile.clear();
    }
    return tags;
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

void FFmpeg::copySoundAsync(Container container)
{
    container_.set(container);
    runAsync(Kind::Sound, 0);
}

void FFmpeg::remuxAsync()
{
    runAsync(Kind::Copy, 0);
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
    const FileTags tags = present(tags_.get());
    const Container container = container_.get();
    QStringList arguments;
    switch (kind) {
    case Kind::Video: arguments = videoArgumentsFor(program, source, destination, tags); break;
    case Kind::Audio: arguments = audioArguments(source, destination, bitrate, tags); break;
    case Kind::Joined: arguments = joinArguments(source, soundFile_.get(), destination, tags); break;
    case Kind::Sound: arguments = soundArguments(source, destination, container, tags); break;
    case Kind::Copy: arguments = copyArguments(source, destination, tags); break;
    }
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
        const bool mp3 = kind == Kind::Audio || (kind == Kind::Sound && container == Container::MP3);
        const QString address = FileTags::clean(tags.address);
        // Not worth failing the download for: the address is in the comment too.
        if (mp3 && !address.isEmpty() &&
            !add_id3_url_frame(QFile::encodeName(output).toStdString(), "WOAS", address.toStdString()))
            platform::Log::line(u"The source address was not added to "_s + output);
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

QStringList FFmpeg::videoArguments(const QString& source, const QString& destination, const FileTags& tags)
{
    return videoArgumentsFor(executable(), source, destination, tags);
}

QStringList FFmpeg::audioArguments(const QString& source, const QString& destination, int bitrate,
                                   const FileTags& tags)
{
    if (!tags.isEmpty()) {
        const Extras extras = extraInputs(tags, 1, true, false);
        // Mapped, not -vn, which would drop the cover too.
        QStringList arguments =
            inputArguments(source) + extras.inputs + QStringList{u"-map"_s, u"0:a:0"_s} + extras.maps;
        if (extras.cover >= 0)
            arguments += {u"-c:v"_s, u"copy"_s};
        return arguments +
               QStringList{u"-ac"_s, u"2"_s, u"-ar"_s, u"44100"_s, u"-ab"_s, QString::number(bitrate) + u'k',
                           u"-acodec"_s, u"libmp3lame"_s} +
               id3Arguments(tags, extras) + metadataArguments(tags) +
               QStringList{u"-y"_s, audioDestination(destination)};
    }
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

QStringList FFmpeg::joinArguments(const QString& picture, const QString& sound, const QString& destination,
                                  const FileTags& tags)
{
    const QStringList streams{u"-map"_s, u"0:v:0"_s, u"-map"_s, u"1:a:0"_s};
    if (tags.isEmpty())
        return inputArguments(picture) + inputArguments(sound) + streams +
               QStringList{u"-c"_s, u"copy"_s, u"-y"_s, destination};
    // ffmpeg 5.1 writes a cover into Matroska as one more film: there, none.
    const bool mp4 = !isMatroska(destination);
    const Extras extras = extraInputs(tags, 2, mp4, true);
    return inputArguments(picture) + inputArguments(sound) + extras.inputs + streams + extras.maps +
           QStringList{u"-c"_s, u"copy"_s} + attachedArguments(tags, extras, mp4) + metadataArguments(tags) +
           QStringList{u"-y"_s, destination} + subtitleCopyArguments(tags, extras);
}

QStringList FFmpeg::soundArguments(const QString& source, const QString& destination, Container container,
                                   const FileTags& tags)
{
    // ffmpeg 5.1 writes no picture into Ogg.
    const bool coverFits = container == Container::M4A || container == Container::MP3;
    const Extras extras = tags.isEmpty() ? Extras{} : extraInputs(tags, 1, coverFits, false);
    QStringList arguments = inputArguments(source) + extras.inputs + QStringList{u"-map"_s, u"0:a:0"_s} + extras.maps;
    if (extras.cover >= 0) {
        arguments += {u"-c:v"_s, u"copy"_s};
        if (container == Container::M4A)
            arguments += {u"-disposition:v:0"_s, u"attached_pic"_s};
    } else {
        arguments += u"-vn"_s;
    }
    arguments += {u"-c:a"_s, u"copy"_s};
    if (!tags.isEmpty()) {
        if (container == Container::MP3)
            arguments += id3Arguments(tags, extras);
        arguments += metadataArguments(tags);
    }
    // The partial file's name need not tell ffmpeg the format.
    const QString muxer = container == Container::M4A    ? u"ipod"_s
                          : container == Container::Opus ? u"opus"_s
                          : container == Container::Ogg  ? u"ogg"_s
                                                         : u"mp3"_s;
    return arguments + QStringList{u"-f"_s, muxer, u"-y"_s, destination};
}

QStringList FFmpeg::copyArguments(const QString& source, const QString& destination, const FileTags& tags)
{
    const Extras extras = tags.isEmpty() ? Extras{} : extraInputs(tags, 1, true, true);
    // The source's picture and sound alone: any other stream of it would
    // shift the cover's and the subtitles' numbers.
    QStringList arguments = inputArguments(source) + extras.inputs +
                            QStringList{u"-map"_s, u"0:v:0"_s, u"-map"_s, u"0:a:0?"_s} + extras.maps +
                            QStringList{u"-c"_s, u"copy"_s};
    if (!tags.isEmpty())
        arguments += attachedArguments(tags, extras, true) + metadataArguments(tags);
    return arguments + QStringList{u"-f"_s, u"mp4"_s, u"-y"_s, destination} + subtitleCopyArguments(tags, extras);
}

FFmpeg::Container FFmpeg::soundContainer(QStringView mimeType)
{
    const qsizetype semicolon = mimeType.indexOf(u';');
    const QString type = mimeType.left(semicolon).trimmed().toString().toLower();
    QStringList codecs;
    if (semicolon >= 0) {
        const QStringView parameters = mimeType.mid(semicolon + 1);
        if (const qsizetype at = parameters.indexOf(u"codecs="_s, 0, Qt::CaseInsensitive); at >= 0) {
            QStringView list = parameters.mid(at + 7);
            list = list.left(list.indexOf(u';')); // indexOf -1: all of it
            for (QStringView codec : list.split(u','))
                codecs += codec.trimmed().toString().remove(u'"').toLower();
        }
    }
    for (const QString& codec : codecs) {
        // mp4a.69 and mp4a.6B are MPEG audio in an MP4 file, not AAC.
        if (codec == u"mp3"_s || codec == u"mp4a.69"_s || codec == u"mp4a.6b"_s)
            return Container::MP3;
        if (codec.startsWith(u"mp4a"_s) || codec == u"aac"_s)
            return Container::M4A;
        if (codec == u"opus"_s)
            return Container::Opus;
        if (codec == u"vorbis"_s)
            return Container::Ogg;
    }
    // No known sound codec named: the one each type has carried from the
    // service. WebM sound has been Opus for years, Vorbis only in streams
    // that name it; FLV without codecs is the oldest H.263 with MP3; the
    // MP4 family holds AAC, and M4A is its sound-only form.
    if (type.endsWith(u"/webm"_s))
        return Container::Opus;
    if (type == u"video/x-flv"_s || type == u"audio/mpeg"_s)
        return Container::MP3;
    if (type.endsWith(u"/ogg"_s))
        return Container::Ogg;
    return Container::M4A;
}

QString FFmpeg::suffix(Container container)
{
    switch (container) {
    case Container::M4A: return u"m4a"_s;
    case Container::Opus: return u"opus"_s;
    case Container::Ogg: return u"ogg"_s;
    case Container::MP3: return u"mp3"_s;
    }
    return {};
}

QString FFmpeg::audioDestination(const QString& destination)
{
    return destination.endsWith(u".mp3"_s) ? destination : destination + u".mp3"_s;
}

std::optional<qint32> FFmpeg::progressSecond(QStringView chunk, Kind kind)
{
    // A copy with a picture reports frames, as a conversion to video does; so
    // does a sound with its cover.
    const bool sound = kind == Kind::Audio || kind == Kind::Sound;
    if (!chunk.startsWith(u"frame=") && !(sound && chunk.startsWith(u"size=")))
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
