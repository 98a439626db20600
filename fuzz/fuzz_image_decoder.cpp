// Hands arbitrary bytes to the picture decoder, as a thumbnail's body would
// come: whatever they are, what comes back fits the largest cell.
#include "platform/ImageDecoder.h"
#include "platform/ImageLimits.h"

#include <QCoreApplication>
#include <QImage>

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // The image plugins (JPEG, GIF, WebP) are found through the application.
    static int argc = 1;
    static char name[] = "fuzz_image_decoder";
    static char* argv[] = {name, nullptr};
    static QCoreApplication application(argc, argv);

    using platform::imaging::largestShown;
    const platform::Image image = platform::ImageDecoder::decode(
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    if (image && (image->isNull() || image->width() > largestShown.width() || image->height() > largestShown.height()))
        std::abort();
    return 0;
}
