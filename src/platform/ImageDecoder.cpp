#include "platform/ImageDecoder.h"

#include "platform/ImageLimits.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>

namespace platform {

// The formats the service's pictures come in, told by their first bytes. Only
// these are decoded: a reader left to guess would hand network bytes to every
// installed image plugin (SVG's among them).
const char* ImageDecoder::formatOf(const QByteArray& bytes)
{
    if (bytes.startsWith("\xFF\xD8\xFF"))
        return "jpeg";
    if (bytes.startsWith("\x89PNG\r\n\x1A\n"))
        return "png";
    if (bytes.startsWith("GIF8"))
        return "gif";
    if (bytes.startsWith("RIFF") && bytes.mid(8, 4) == "WEBP")
        return "webp";
    return nullptr;
}

// A named format is read by its own reader alone, never guessed. A picture that
// declares more than the largest size is refused before a pixel is decoded; one
// larger than the cells show is scaled down while it is read.
Image ImageDecoder::decode(const QByteArray& bytes)
{
    return decode(bytes, imaging::largestShown);
}

Image ImageDecoder::decode(const QByteArray& bytes, QSize largest)
{
    const char* format = formatOf(bytes);
    if (!format)
        return {};
    // A second guard below the size check, for decoders that allocate by frame.
    static const bool limited = (QImageReader::setAllocationLimit(imaging::allocationLimitMiB), true);
    (void)limited;
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, format);
    reader.setAutoDetectImageFormat(false);
    const QSize declared = reader.size();
    if (!declared.isValid() || declared.width() > imaging::largestDeclared || declared.height() > imaging::largestDeclared)
        return {};
    if (declared.width() > largest.width() || declared.height() > largest.height())
        reader.setScaledSize(declared.scaled(largest, Qt::KeepAspectRatio).expandedTo(QSize(1, 1)));
    QImage image = reader.read();
    return image.isNull() ? Image() : std::make_shared<const QImage>(std::move(image));
}

} // namespace platform
