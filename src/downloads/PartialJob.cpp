#include "downloads/PartialJob.h"

#include "downloads/ByteRanges.h"
#include "downloads/HTTPDownload.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStringList>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

const QByteArray header = "melodrift job 1";

std::optional<ByteRanges> rangesOf(const QString& partial)
{
    QFile record(HTTPDownload::recordOf(partial));
    return record.open(QIODevice::ReadOnly) ? ByteRanges::fromRecord(record.read(8 << 20)) : std::nullopt;
}

} // namespace

bool PartialJob::write(const QString& partial) const
{
    QSaveFile out(pathOf(partial));
    if (!out.open(QIODevice::WriteOnly))
        return false;
    const auto line = [&out](const char* key, const QString& value) {
        // One value a line: a line break in a title would make another.
        QString plain = value;
        plain.replace(QLatin1Char('\n'), QLatin1Char(' ')).replace(QLatin1Char('\r'), QLatin1Char(' '));
        out.write(QByteArray(key) + ' ' + plain.toUtf8() + '\n');
    };
    out.write(header + '\n');
    line("link", link);
    line("title", title);
    line("audio", audio ? QStringLiteral("1") : QStringLiteral("0"));
    line("format", format);
    line("soundFormat", soundFormat);
    line("soundPartial", soundPartial);
    line("folder", folder);
    line("convert", !convert ? QString() : *convert ? QStringLiteral("1") : QStringLiteral("0"));
    if (sound)
        line("sound", *sound == Settings::Sound::Original ? QStringLiteral("original") : QStringLiteral("mp3"));
    if (tags)
        line("tags", *tags ? QStringLiteral("1") : QStringLiteral("0"));
    if (subtitles)
        line("subtitles", *subtitles);
    line("channel", channel);
    line("uploadDate", uploadDate);
    line("cover", cover);
    return out.commit();
}

std::optional<PartialJob> PartialJob::read(const QString& partial)
{
    QFile in(pathOf(partial));
    if (!in.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QList<QByteArray> lines = in.read(64 * 1024).split('\n');
    if (lines.isEmpty() || lines.first() != header)
        return std::nullopt;
    PartialJob job;
    for (const QByteArray& line : lines.mid(1)) {
        const qsizetype space = line.indexOf(' ');
        if (space < 0)
            continue;
        const QByteArray key = line.left(space);
        const QString value = QString::fromUtf8(line.mid(space + 1));
        if (key == "link")
            job.link = value;
        else if (key == "title")
            job.title = value;
        else if (key == "audio")
            job.audio = value == QLatin1String("1");
        else if (key == "format")
            job.format = value;
        else if (key == "soundFormat")
            job.soundFormat = value;
        else if (key == "soundPartial")
            job.soundPartial = value;
        else if (key == "folder")
            job.folder = value;
        else if (key == "convert" && !value.isEmpty())
            job.convert = value == QLatin1String("1");
        else if (key == "sound")
            job.sound = Settings::soundNamed(value);
        else if (key == "tags" && !value.isEmpty())
            job.tags = value == QLatin1String("1");
        else if (key == "subtitles" && (value.isEmpty() || Settings::isLanguageCode(value)))
            job.subtitles = value;
        else if (key == "channel")
            job.channel = value;
        else if (key == "uploadDate")
            job.uploadDate = value;
        else if (key == "cover")
            job.cover = value;
    }
    // The sound's partial lies beside the picture's, in the cache, or nowhere.
    if (!job.soundPartial.isEmpty() && QFileInfo(job.soundPartial).absolutePath() != QFileInfo(partial).absolutePath())
        return std::nullopt;
    if (job.link.isEmpty() || job.format.isEmpty())
        return std::nullopt;
    return job;
}

std::pair<qint64, qint64> PartialJob::progress(const QString& partial) const
{
    qint64 done = 0, total = 0;
    QStringList partials{partial};
    if (!soundPartial.isEmpty())
        partials.append(soundPartial);
    for (const QString& file : partials) {
        const auto ranges = rangesOf(file);
        done += ranges ? ranges->doneBytes() : 0;
        if (!ranges || !ranges->total())
            total = -1;
        else if (total >= 0)
            total += *ranges->total();
    }
    return {done, total};
}

bool PartialJob::isHeld(const QString& partial)
{
    const int fd = ::open(QFile::encodeName(partial).constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0)
        return false;
    const bool held = ::flock(fd, LOCK_EX | LOCK_NB) != 0;
    ::close(fd);
    return held;
}

QStringList PartialJob::files(const QString& partial) const
{
    QStringList all{partial, HTTPDownload::recordOf(partial), pathOf(partial)};
    if (!soundPartial.isEmpty())
        all << soundPartial << HTTPDownload::recordOf(soundPartial);
    return all;
}
