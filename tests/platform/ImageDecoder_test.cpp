// Thumbnails as a hostile server could send them: only the four picture formats
// are read, a declared size beyond the bound is refused unread, and a large
// picture comes out at the largest cell's size.
#include "platform/ImageDecoder.h"

#include <QFile>
#include <QImage>
#include <gtest/gtest.h>

namespace {

QByteArray picture(const char* name)
{
    QFile file(QStringLiteral(MELODRIFT_TEST_DATA "/pictures/") + QLatin1String(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

TEST(ImageDecoder, ReadsTheFourFormatsWithinBounds)
{
    const platform::Image wide = platform::ImageDecoder::decode(picture("wide.png")); // 1600 x 900
    ASSERT_TRUE(wide);
    EXPECT_EQ(wide->size(), QSize(800, 450));
    const platform::Image webp = platform::ImageDecoder::decode(picture("small.webp"));
    ASSERT_TRUE(webp);
    EXPECT_EQ(webp->size(), QSize(16, 16));

    EXPECT_FALSE(platform::ImageDecoder::decode(picture("toowide.png"))); // declares 5000 x 10
    EXPECT_FALSE(platform::ImageDecoder::decode(picture("picture.svg")));
}
