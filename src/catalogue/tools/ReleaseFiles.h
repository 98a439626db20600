#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace tools {

// What a release server sends beside its programs, read as strangers' bytes:
// nothing here trusts a length, a line or a name it finds.
namespace release {

// A SHA-256 as 32 raw bytes, from the lower- or upper-case hex of a sums file.
using Digest = QByteArray;

// The digest a sha256sum-style list (one "HEX  NAME" or "HEX *NAME" a line)
// gives for name; nothing when no line names it, or when two lines name it
// with different digests.
std::optional<Digest> digestFor(const QByteArray& sums, const QString& name);

// The first 64-hex-digit word of a checksum file, whatever else it holds:
// the layout of such files has changed across releases.
std::optional<Digest> firstDigest(const QByteArray& text);

// The binary packets of an ASCII-armored OpenPGP public key block (gpgv reads
// only those); nothing when the armor is broken.
std::optional<QByteArray> dearmoredKey(const QByteArray& armored);

// A program's --version answer, its first line, when it is one of that
// program's: "2025.11.12" (yt-dlp, nightlies with a fourth part), "2.5.6" of
// "deno 2.5.6 (stable, …)", "20.19.2" of node's "v20.19.2".
std::optional<QString> ytDlpVersionIn(const QByteArray& output);
std::optional<QString> denoVersionIn(const QByteArray& output);
std::optional<QString> nodeVersionIn(const QByteArray& output);

// Orders dotted versions by their numbers: <0, 0 or >0. A part that is no
// number counts as 0.
int compareVersions(const QString& a, const QString& b);

} // namespace release
} // namespace tools
