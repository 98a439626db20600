#pragma once

#include "downloads/FileTags.h"
#include "platform/Event.h"
#include "platform/Property.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <atomic>
#include <memory>
#include <optional>

class ChildProcess;

// Runs the external ffmpeg program to turn a downloaded stream into an MP3 or an
// H.264 MP4 file, or to copy it, titled, into a file of its own; and reports from
// its diagnostic output the second of media it is working on. The events come on
// the converting thread.
class FFmpeg : public std::enable_shared_from_this<FFmpeg> {
public:
    // Joined: a picture alone and a sound alone copied into one file. Sound: the
    // sound copied as it came. Copy: an MP4 copied as it is, to title it.
    enum class Kind { Video, Audio, Joined, Sound, Copy };
    // The file a sound is copied into: each holds its codec as it is.
    enum class Container { M4A, Opus, Ogg, MP3 };

    static std::shared_ptr<FFmpeg> create();
    static std::shared_ptr<FFmpeg> create(const QString& source, const QString& destination);
    ~FFmpeg();

    // Return when the process has ended.
    void convertH264Video();
    void convertMP3(int bitrate);
    // Return at once; the conversion runs on a thread of its own that holds
    // the converter, and sends convertedEvent when it ends, however it ends.
    void convertH264VideoAsync();
    void convertMP3Async(int bitrate);
    // Copies the source's picture and soundFile's sound into the destination,
    // without encoding; returns at once, as above.
    void joinAsync(const QString& soundFile);
    // Copies the source's first sound into the destination, a file of that
    // container, without encoding; returns at once, as above.
    void copySoundAsync(Container container);
    // Copies the source MP4's picture and sound into the destination, an MP4,
    // with the tags; returns at once, as above.
    void remuxAsync();
    // Stops the running conversion (or the one about to start). Any thread.
    void cancel();

    QString sourceFile() const { return sourceFile_.get(); }
    void setSourceFile(const QString& path) { sourceFile_.set(path); }
    QString destinationFile() const { return destinationFile_.get(); }
    void setDestinationFile(const QString& path) { destinationFile_.set(path); }
    // What the next runs title their file with; empty tags: they write none.
    // A cover or subtitle file that is not there when a run starts is left out.
    FileTags tags() const { return tags_.get(); }
    void setTags(const FileTags& tags) { tags_.set(tags); }
    std::optional<quint64> workingOnSecond() const { return workingOnSecond_.get(); }

    // Outcome of the last run: true only when the process started, exited with
    // status 0 and left a non-empty output file; else a reason for the user.
    bool succeeded() const { return outcome_.get().succeeded; }
    QString failureReason() const { return outcome_.get().reason; }

    // (converter, second)
    platform::Event<FFmpeg&, quint64> newSecondEvent;
    // (converter)
    platform::Event<FFmpeg&> convertedEvent;

    // The ffmpeg beside the program's own executable when there is one there,
    // else the one on PATH; empty when there is none.
    static QString executable();
    static QString locateExecutable(const QString& besideDir, const QStringList& searchPath);
    // Tests point the converter at another program (an empty path: none at all);
    // nullopt restores the lookup.
    static void setExecutableOverride(std::optional<QString> path);

    static QStringList videoArguments(const QString& source, const QString& destination, const FileTags& tags = {});
    static QStringList audioArguments(const QString& source, const QString& destination, int bitrate,
                                      const FileTags& tags = {});
    // Into an MP4 file when the destination's suffix is none of ".webm" and ".mkv".
    static QStringList joinArguments(const QString& picture, const QString& sound, const QString& destination,
                                     const FileTags& tags = {});
    static QStringList soundArguments(const QString& source, const QString& destination, Container container,
                                      const FileTags& tags = {});
    static QStringList copyArguments(const QString& source, const QString& destination, const FileTags& tags = {});
    // Where the audio conversion writes: the destination, with ".mp3" added
    // unless it ends so already.
    static QString audioDestination(const QString& destination);

    // The container that holds a stream's sound as it is, from the stream's MIME
    // type and codecs ("audio/webm; codecs=\"opus\""), and its file suffix.
    static Container soundContainer(QStringView mimeType);
    static QString suffix(Container container);

    // The second a chunk of diagnostic output reports, when it is a progress
    // report of this kind of conversion that names a time.
    static std::optional<qint32> progressSecond(QStringView chunk, Kind kind);

private:
    struct Outcome {
        bool succeeded = false;
        QString reason;
    };

    FFmpeg() = default;

    std::shared_ptr<ChildProcess> newTask();
    void runAsync(Kind kind, int bitrate);
    void run(const std::shared_ptr<ChildProcess>& task, Kind kind, int bitrate);
    void handleChunk(const QByteArray& chunk, Kind kind);
    void fail(const QString& reason);

    platform::Property<std::shared_ptr<ChildProcess>> task_;
    platform::Property<QString> sourceFile_;
    platform::Property<QString> destinationFile_;
    platform::Property<QString> soundFile_;
    platform::Property<Container> container_;
    platform::Property<FileTags> tags_;
    platform::Property<std::optional<quint64>> workingOnSecond_;
    platform::Property<Outcome> outcome_;
};
