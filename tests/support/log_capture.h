#pragma once

#include "platform/Log.h"

#include <QStringList>

#include <mutex>

// Collects the program's log while it lives, and keeps it off the console.
class log_capture {
public:
    log_capture()
    {
        platform::Log::setSink([this](const QString& line) {
            std::lock_guard lock(mutex_);
            lines_.append(line);
        });
    }
    ~log_capture() { platform::Log::setSink(nullptr); }
    log_capture(const log_capture&) = delete;
    log_capture& operator=(const log_capture&) = delete;

    QStringList lines() const
    {
        std::lock_guard lock(mutex_);
        return lines_;
    }

private:
    mutable std::mutex mutex_;
    QStringList lines_;
};
