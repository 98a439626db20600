#include "downloads/SaveExtras.h"

#include "platform/BlockingHttp.h"
#include "platform/ImageDecoder.h"
#include "platform/Log.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <QSaveFile>

using platform::Log;

namespace {

constexpr std::chrono::seconds extrasTimeout{30};

std::optional<QByteArray> fetchCapped(const QUrl& url, qint64 cap, const std::shared_ptr<platform::CancelToken>& cancel)
{
    platform::BlockingHttp::Options options;
    options.timeout = extrasTimeout;
    options.maxBytes = cap;
    options.cancel = cancel;
    const platform::HttpResponse response = platform::BlockingHttp::get(url, options);
    if (!response.ok()) {
        Log::line(QStringLiteral("Not fetched: %1 (%2)")
                      .arg(url.toString(QUrl::RemoveQuery),
                           response.error ? response.error->description : QString::number(response.status)));
        return std::nullopt;
    }
    return response.body;
}

bool write(const QString& path, const QByteArray& bytes)
{
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
}

} // namespace

QByteArray SaveExtras::coverJpeg(const QByteArray& picture)
{
    const char* format = platform::ImageDecoder::formatOf(picture);
    const platform::Image image = platform::ImageDecoder::decode(picture, QSize(largestSide, largestSide));
    if (!image)
        return {};
    // A JPEG that needed no scaling goes in as it came: no second loss of quality.
    if (format && qstrcmp(format, "jpeg") == 0) {
        QBuffer source;
        source.setData(picture);
        source.open(QIODevice::ReadOnly);
        if (QImageReader(&source, "jpeg").size() == image->size())
            return picture;
    }
    QByteArray jpeg;
    QBuffer buffer(&jpeg);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(90);
    return writer.write(image->convertToFormat(QImage::Format_RGB32)) ? jpeg : QByteArray();
}

SaveExtras::Files SaveExtras::fetch(const std::optional<QUrl>& cover, const std::optional<QUrl>& subtitles,
                                    const QString& beside, const std::shared_ptr<platform::CancelToken>& cancel)
{
    Files files;
    if (cover) {
        if (const auto bytes = fetchCapped(*cover, largestCover, cancel)) {
            const QByteArray jpeg = coverJpeg(*bytes);
            if (jpeg.isEmpty())
                Log::line(QStringLiteral("The cover is no picture that can be read; the file goes without."));
            else if (write(beside + QStringLiteral(".cover.jpg"), jpeg))
                files.cover = beside + QStringLiteral(".cover.jpg");
        }
    }
    if (subtitles) {
        if (const auto bytes = fetchCapped(*subtitles, largestSubtitles, cancel)) {
            // ffmpeg reads it as WebVTT alone; what does not even begin as one is left out here.
            const QByteArray head = bytes->startsWith("\xEF\xBB\xBF") ? bytes->mid(3, 6) : bytes->left(6);
            if (head != "WEBVTT")
                Log::line(QStringLiteral("The subtitles are no WebVTT; the video goes without."));
            else if (write(beside + QStringLiteral(".vtt"), *bytes))
                files.subtitles = beside + QStringLiteral(".vtt");
        }
    }
    // The job is gone meanwhile (its program may be ending): nothing is left behind.
    if (cancel && cancel->isCancelled()) {
        remove(files);
        return {};
    }
    return files;
}

void SaveExtras::remove(const Files& files)
{
    for (const QString& path : {files.cover, files.subtitles})
        if (!path.isEmpty())
            QFile::remove(path);
}
