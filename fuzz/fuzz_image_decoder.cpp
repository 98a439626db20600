// Hands arbitrary bytes to the picture decoder, as a thumbnail's body would
// come: whatever they are, what comes back fits the largest cell.
#include "platform/imaging/ImageLimits.h"

#include <QCoreApplication>
#include <QImage>

#include <cstdint>
#include <cstdlib>

extern "C" const QImage* melodrift_decode_image(const char* data, qint64 size);
extern "C" void melodrift_release_image(const QImage* image);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // The image plugins (JPEG, GIF, WebP) are found through the application.
    static int argc = 1;
    static char name[] = "fuzz_image_decoder";
    static char* argv[] = {name, nullptr};
    static QCoreApplication application(argc, argv);

    const QImage* image = melodrift_decode_image(reinterpret_cast<const char*>(data), static_cast<qint64>(size));
    if (image) {
        if (image->isNull() || image->width() > imaging::largestShown.width() ||
            image->height() > imaging::largestShown.height())
            std::abort();
        melodrift_release_image(image);
    }
    return 0;
}
