#pragma once

#include <QByteArray>
#include <QString>

namespace tools {

// A detached OpenPGP signature checked by Debian's gpgv against a keyring of
// one key, in a folder of its own: the user's own keyrings play no part.
class SignatureCheck {
public:
    // armoredKey: the signer's public key, ASCII-armored. fingerprint: when
    // not empty, the primary key that must have made the signature (40 hex
    // digits, blanks ignored).
    SignatureCheck(QByteArray armoredKey, QString fingerprint);

    // Empty when signature is a valid signature of data by the key; else why not.
    QString whyNotSigned(const QByteArray& data, const QByteArray& signature) const;

private:
    QByteArray key_;
    QString fingerprint_;
};

} // namespace tools
