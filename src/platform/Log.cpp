#include "platform/Log.h"

#include "platform/Text.h"

#include <QByteArray>

#include <mutex>
#include <unistd.h>

namespace platform {

namespace {

std::mutex sinkMutex;
Log::Sink sink;

} // namespace

void Log::line(const QString& text)
{
    Log::Sink current;
    {
        std::lock_guard lock(sinkMutex);
        current = sink;
    }
    if (current) {
        current(text);
        return;
    }
    // One write per line, so lines of different threads never interleave; what
    // the network sent may be in it, and no control character reaches a terminal.
    QByteArray bytes = withoutControls(text, QLatin1Char(' ')).toUtf8();
    bytes.append('\n');
    for (qsizetype written = 0; written < bytes.size();) {
        const ssize_t n = ::write(STDERR_FILENO, bytes.constData() + written, static_cast<size_t>(bytes.size() - written));
        if (n <= 0)
            return;
        written += n;
    }
}

void Log::setSink(Sink newSink)
{
    std::lock_guard lock(sinkMutex);
    sink = std::move(newSink);
}

} // namespace platform
