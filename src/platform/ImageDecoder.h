#pragma once

#include <QByteArray>

#include <memory>

class QImage;

namespace platform {

// A decoded picture, shared and never changed; empty when there is none.
using Image = std::shared_ptr<const QImage>;

// Pictures are decoded by a module of their own, loaded with the first one: a
// program that shows none, the command line, then starts without the graphics
// libraries, whose loading took longer than the rest of its start.
class ImageDecoder {
public:
    // A JPEG, PNG, GIF or WebP picture, scaled down to the largest cell's size
    // when larger. Empty for anything else, for one that declares more than
    // 4096 pixels either way, and when the module cannot be loaded (which the
    // log says once). Safe on any thread.
    static Image decode(const QByteArray& bytes);
};

} // namespace platform
