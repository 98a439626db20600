#include "downloads/DownloadRecord.h"

#include "downloads/DownloadItem.h"

#include <QFileInfo>

namespace {

// The container a video stream keeps when it is not converted.
QString containerOf(const QString& type)
{
    static const std::pair<const char*, const char*> known[] = {
        {"video/mp4", "MP4"}, {"video/webm", "WEBM"}, {"video/x-flv", "FLV"}, {"video/3gpp", "3GP"}};
    for (const auto& [mime, kind] : known)
        if (type.startsWith(QLatin1String(mime)))
            return QLatin1String(kind);
    return QStringLiteral("Video");
}

} // namespace

DownloadRecord DownloadRecord::of(const DownloadItem& job)
{
    DownloadRecord record;
    record.audio = job.isAudio();
    record.title = job.video()->title();
    record.link = job.video()->link().toString();
    const QString saved = job.fileToPlay();
    record.file = saved.isEmpty() ? job.destinationfile() : saved;
    // The name's suffix only: no file is looked at.
    const QString suffix = QFileInfo(saved).suffix().toUpper();
    const QString planned = job.savedKind();
    record.kind = !suffix.isEmpty()  ? suffix
                  : !planned.isEmpty() ? planned
                  : record.audio       ? QStringLiteral("MP3")
                                       : containerOf(job.url()->type());
    switch (job.state()) {
    case DownloadItem::State::Done: record.state = State::Done; break;
    case DownloadItem::State::Failed: record.state = State::Failed; break;
    case DownloadItem::State::Canceled: record.state = State::Canceled; break;
    default: record.state = State::Running; break;
    }
    record.reason = job.failureReason();
    if (!record.hasEnded())
        record.partial = job.tempfile();
    return record;
}
