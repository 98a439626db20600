#pragma once

#include <QString>

#include <functional>

namespace platform {

// The program's log: one line per call on standard error (which the journal
// collects when the program runs under it).
class Log {
public:
    static void line(const QString& text);

    // Tests watch the log through a sink; an unset sink restores standard error.
    using Sink = std::function<void(const QString&)>;
    static void setSink(Sink sink);
};

} // namespace platform
