#include "catalogue/tools/SignatureCheck.h"

#include "catalogue/tools/ReleaseFiles.h"
#include "platform/ChildProcess.h"

#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <chrono>

namespace tools {

namespace {

bool write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush();
}

} // namespace

SignatureCheck::SignatureCheck(QByteArray armoredKey, QString fingerprint)
    : key_(std::move(armoredKey)), fingerprint_(fingerprint.remove(QLatin1Char(' ')).toUpper())
{
}

QString SignatureCheck::whyNotSigned(const QByteArray& data, const QByteArray& signature) const
{
    const auto keyring = release::dearmoredKey(key_);
    if (!keyring)
        return QStringLiteral("the signing key cannot be read");
    const QString gpgv = QStandardPaths::findExecutable(QStringLiteral("gpgv"));
    if (gpgv.isEmpty())
        return QStringLiteral("gpgv is not installed (sudo apt install gpgv)");
    QTemporaryDir folder;
    if (!folder.isValid() || !write(folder.filePath(QStringLiteral("keyring.gpg")), *keyring) ||
        !write(folder.filePath(QStringLiteral("signed")), data) ||
        !write(folder.filePath(QStringLiteral("signature")), signature))
        return QStringLiteral("the signature could not be checked: %1").arg(folder.errorString());

    ChildProcess process;
    process.setDeadline(std::chrono::steady_clock::now() + std::chrono::seconds(30));
    // The status lines on standard output say what gpgv found; its words on
    // standard error are kept for a failure that has no status.
    const QStringList arguments{QStringLiteral("--homedir"),
                                folder.path(),
                                QStringLiteral("--status-fd"),
                                QStringLiteral("1"),
                                QStringLiteral("--keyring"),
                                folder.filePath(QStringLiteral("keyring.gpg")),
                                folder.filePath(QStringLiteral("signature")),
                                folder.filePath(QStringLiteral("signed"))};
    if (!process.start(gpgv, arguments, ChildProcess::Capture::StandardOutputKeepingErrors))
        return QStringLiteral("gpgv could not be started: %1").arg(process.error());
    const QByteArray status = process.readAll().left(64 * 1024);
    const ChildProcess::Exit exit = process.wait();

    QByteArray signer;
    for (const QByteArray& line : status.split('\n')) {
        // "[GNUPG:] VALIDSIG <fpr> <date> … <primary key fpr>"
        if (line.startsWith("[GNUPG:] VALIDSIG ")) {
            const QList<QByteArray> fields = line.simplified().split(' ');
            signer = fields.last();
        }
    }
    if (!exit.exited || exit.code != 0 || signer.isEmpty())
        return QStringLiteral("the signature is not valid");
    if (!fingerprint_.isEmpty() && QString::fromLatin1(signer).toUpper() != fingerprint_)
        return QStringLiteral("the signature was made by another key (%1)").arg(QString::fromLatin1(signer.left(40)));
    return {};
}

} // namespace tools
