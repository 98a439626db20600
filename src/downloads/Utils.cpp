#include "downloads/Utils.h"

#include "platform/ChildProcess.h"

#include <QStringDecoder>

using namespace Qt::StringLiterals;

std::optional<QString> Utils::DoCmdWithResult(const QString& command)
{
    ChildProcess shell;
    if (!shell.start(u"/bin/bash"_s, {u"-c"_s, command}, ChildProcess::Capture::StandardOutput))
        return std::nullopt;
    // Read before waiting, so that a long output cannot stall the command.
    const QByteArray output = shell.readAll();
    shell.wait();

    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(output);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

