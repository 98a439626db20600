#pragma once

#include <QByteArray>
#include <QSize>

#include <memory>

class QImage;

namespace platform {

// A decoded picture, shared and never changed; empty when there is none.
using Image = std::shared_ptr<const QImage>;

class ImageDecoder {
public:
    // A JPEG, PNG, GIF or WebP picture, scaled down to the largest cell's size
    // when larger. Empty for anything else and for one that declares more
    // than 4096 pixels either way. Safe on any thread.
    static Image decode(const QByteArray& bytes);
    // The same, scaled down to fit largest instead; a format name of the bytes
    // ("jpeg", "png", "gif", "webp") when one is wanted.
    static Image decode(const QByteArray& bytes, QSize largest);
    static const char* formatOf(const QByteArray& bytes);
};

} // namespace platform
