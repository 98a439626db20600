// What a release server sends beside its programs, read as strangers' bytes.
#include "catalogue/tools/ReleaseFiles.h"

#include <QFile>
#include <gtest/gtest.h>

using namespace tools::release;

namespace {

const QByteArray a(64, 'a');
const QByteArray b(64, 'b');

} // namespace

TEST(ReleaseFiles, TheDigestOfOneNameOrNone)
{
    const QByteArray sums = b + "  yt-dlp.exe\n" + a + "  yt-dlp\r\n" + b + " *yt-dlp_linux\n";
    EXPECT_EQ(digestFor(sums, "yt-dlp"), QByteArray::fromHex(a));
    EXPECT_EQ(digestFor(sums, "yt-dlp_linux"), QByteArray::fromHex(b)); // binary mode's marker
    EXPECT_FALSE(digestFor(sums, "yt-dlp_macos"));
    EXPECT_FALSE(digestFor(sums, "yt"));
    // Two answers are none; the same one twice is one.
    EXPECT_FALSE(digestFor(sums + b + "  yt-dlp\n", "yt-dlp"));
    EXPECT_EQ(digestFor(sums + a + "  yt-dlp\n", "yt-dlp"), QByteArray::fromHex(a));
    // A digest that is no digest, or a name with a path, names nothing.
    EXPECT_FALSE(digestFor(QByteArray(64, 'g') + "  yt-dlp\n", "yt-dlp"));
    EXPECT_FALSE(digestFor(a.left(63) + "  yt-dlp\n", "yt-dlp"));
    EXPECT_FALSE(digestFor(a + "  ../yt-dlp\n", "yt-dlp"));
}

TEST(ReleaseFiles, TheFirstDigestWhateverTheLayout)
{
    // Deno's checksum files have come in several shapes.
    for (const QByteArray& text : {a + "  deno-x86_64-unknown-linux-gnu.zip\n", a + "\n", a,
                                   "SHA256 (deno.zip) = " + a + "\n",
                                   "Algorithm Hash Path\n--------- ---- ----\nSHA256 " + a.toUpper() + " C:\\deno.zip\n"})
        EXPECT_EQ(firstDigest(text), QByteArray::fromHex(a)) << text.toStdString();
    // Not the tail or the head of a longer word.
    EXPECT_FALSE(firstDigest("x" + a));
    EXPECT_FALSE(firstDigest(a + "0"));
    EXPECT_FALSE(firstDigest(a.left(40)));
    EXPECT_EQ(firstDigest("deadbeef " + b + " " + a), QByteArray::fromHex(b));
}

TEST(ReleaseFiles, TheShippedKeyDearmorsAndBrokenArmorDoesNot)
{
    QFile shipped(QStringLiteral(MELODRIFT_SOURCE_DIR "/src/catalogue/tools/keys/yt-dlp-signing-key.asc"));
    ASSERT_TRUE(shipped.open(QIODevice::ReadOnly));
    const QByteArray armored = shipped.readAll();
    const auto key = dearmoredKey(armored);
    ASSERT_TRUE(key);
    // An old-format packet of tag 6, the public key.
    EXPECT_EQ(static_cast<unsigned char>(key->at(0)) & 0xFC, 0x98);
    EXPECT_GT(key->size(), 500);
    EXPECT_FALSE(dearmoredKey(armored.left(armored.size() / 2)));
    EXPECT_FALSE(dearmoredKey("-----BEGIN PGP PUBLIC KEY BLOCK-----\n\n!!!!\n-----END PGP PUBLIC KEY BLOCK-----\n"));
    EXPECT_FALSE(dearmoredKey("-----BEGIN PGP PUBLIC KEY BLOCK-----\n\naGVsbG8=\n-----END PGP PUBLIC KEY BLOCK-----\n"));
}

TEST(ReleaseFiles, VersionsAreReadOnlyFromTheirProgramsAnswers)
{
    EXPECT_EQ(ytDlpVersionIn("2025.11.12\n"), "2025.11.12");
    EXPECT_EQ(ytDlpVersionIn("2025.11.13.232936\n"), "2025.11.13.232936");
    EXPECT_FALSE(ytDlpVersionIn("yt-dlp 2025.11.12\n"));
    EXPECT_FALSE(ytDlpVersionIn(""));
    EXPECT_EQ(denoVersionIn("deno 2.5.6 (stable, release, x86_64-unknown-linux-gnu)\nv8 14.0\n"), "2.5.6");
    EXPECT_FALSE(denoVersionIn("denox 2.5.6\n"));
    EXPECT_EQ(nodeVersionIn("v20.19.2\n"), "20.19.2");
    EXPECT_FALSE(nodeVersionIn("20.19.2\n"));
    // A line of megabytes is no version line.
    EXPECT_FALSE(ytDlpVersionIn(QByteArray(1 << 20, '1')));

    EXPECT_LT(compareVersions("2023.03.04", "2025.11.12"), 0);
    EXPECT_GT(compareVersions("2025.11.12.1", "2025.11.12"), 0);
    EXPECT_EQ(compareVersions("2.0", "2.0.0"), 0);
    EXPECT_GT(compareVersions("20.1.0", "9.9.9"), 0);
}
