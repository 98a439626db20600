// The picture decoder, loaded by ImageDecoder on the first picture.
#include <QBuffer>
#include <QImage>
#include <QImageReader>

namespace {

// The formats the service's pictures come in, told by their first bytes.
const char* formatOf(const QByteArray& bytes)
{
    if (bytes.startsWith("\xFF\xD8\xFF"))
        return "jpeg";
    if (bytes.startsWith("\x89PNG\r\n\x1A\n"))
        return "png";
    if (bytes.startsWith("GIF8"))
        return "gif";
    return nullptr;
}

} // namespace

// A named format is read by its own reader alone; a reader left to find one
// loads every image plugin (the SVG one with its library), which held up the
// first picture of every search.
extern "C" Q_DECL_EXPORT const QImage* melodrift_decode_image(const char* data, qint64 size)
{
    const QByteArray bytes = QByteArray::fromRawData(data, size);
    const char* format = formatOf(bytes);
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, format);
    reader.setAutoDetectImageFormat(format == nullptr);
    QImage image = reader.read();
    return image.isNull() ? nullptr : new QImage(std::move(image));
}

extern "C" Q_DECL_EXPORT void melodrift_release_image(const QImage* image)
{
    delete image;
}
