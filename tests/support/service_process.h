#pragma once

// A melodrift-service started by a test, on a port of the system's choosing,
// with its catalogue in a folder of the test's; stopped as a user would stop it
// (SIGTERM) when it goes.
#include "platform/ChildProcess.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <thread>

class service_process {
public:
    service_process(const QString& binary, const QString& dataDir, const QStringList& options = {})
    {
        // It goes with the test, even one that crashes or runs out of time.
        QStringList args{QStringLiteral("--pdeathsig"), QStringLiteral("TERM"), QStringLiteral("--"), binary,
                         QStringLiteral("--data"), dataDir};
        args += options;
        process_.start(QStringLiteral("/usr/bin/setpriv"), args, ChildProcess::Capture::StandardOutput);
        // The first line is the address it listens on.
        QByteArray first;
        while (!first.contains('\n')) {
            const QByteArray chunk = process_.readChunk();
            if (chunk.isEmpty())
                break;
            first += chunk;
        }
        base_ = QString::fromUtf8(first.left(first.indexOf('\n'))).trimmed();
        // Keep draining what it prints, so it never blocks on a full pipe.
        drain_ = std::thread([this] {
            for (QByteArray chunk; !(chunk = process_.readChunk()).isEmpty();)
                printed_ += chunk;
        });
    }
    ~service_process() { stop(); }
    service_process(const service_process&) = delete;
    service_process& operator=(const service_process&) = delete;

    // How it ended.
    ChildProcess::Exit stop()
    {
        if (drain_.joinable()) {
            process_.terminate();
            drain_.join();
            exit_ = process_.wait();
        }
        return exit_;
    }
    const QString& base() const { return base_; }
    // What it printed after the address; complete once it was stopped.
    const QByteArray& printed() const { return printed_; }
    QString watch(const QString& id) const { return base_ + "/watch?v=" + id; }

private:
    ChildProcess process_;
    QString base_;
    QByteArray printed_;
    std::thread drain_;
    ChildProcess::Exit exit_{};
};
