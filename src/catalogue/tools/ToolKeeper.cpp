#include "catalogue/tools/ToolKeeper.h"

#include "platform/CancelToken.h"
#include "platform/MainThread.h"
#include "platform/WorkerPool.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QPointer>

namespace tools {

namespace {

// Its time is that of the last check that found both tools current.
QString stampOf(const ToolFolder& folder)
{
    return folder.file(QStringLiteral("last-check"));
}

} // namespace

ToolKeeper::ToolKeeper(ToolFolder folder, Sources sources, QObject* parent)
    : QObject(parent), folder_(std::move(folder)), sources_(std::move(sources)),
      cancel_(std::make_shared<platform::CancelToken>())
{
}

ToolKeeper::~ToolKeeper()
{
    cancel_->cancel();
}

void ToolKeeper::updateIfDue()
{
    // The stamp is a file: looked at off this thread too.
    const QPointer<ToolKeeper> self(this);
    platform::WorkerPool::run([self, folder = folder_] {
        const QFileInfo stamp(stampOf(folder));
        const bool due = !stamp.exists() || stamp.lastModified().secsTo(QDateTime::currentDateTime()) >=
                                                qint64(hoursBetweenChecks) * 3600;
        if (due)
            platform::MainThread::post([self] {
                if (self)
                    self->update();
            });
    });
}

void ToolKeeper::update()
{
    if (updating_)
        return;
    updating_ = true;
    emit updateStarted();
    const QPointer<ToolKeeper> self(this);
    platform::WorkerPool::run([self, folder = folder_, sources = sources_, cancel = cancel_] {
        ToolUpdater updater(folder, sources, cancel);
        updater.setProgress([self](const QString& tool, qint64 done, std::optional<qint64> total) {
            platform::MainThread::post([self, tool, done, total] {
                if (self)
                    emit self->progressed(tool, done, total.value_or(-1));
            });
        });
        const QList<Outcome> outcomes{updater.updateYtDlp(), updater.updateDeno()};
        if (std::all_of(outcomes.begin(), outcomes.end(), [](const Outcome& o) { return o.ok(); })) {
            QFile stamp(stampOf(folder));
            if (stamp.open(QIODevice::WriteOnly))
                stamp.setFileTime(QDateTime::currentDateTime(), QFileDevice::FileModificationTime);
        }
        platform::MainThread::post([self, outcomes] {
            if (!self)
                return;
            self->updating_ = false;
            emit self->updateEnded(outcomes);
        });
    });
}

void ToolKeeper::askSizes()
{
    const QPointer<ToolKeeper> self(this);
    platform::WorkerPool::run([self, folder = folder_, sources = sources_, cancel = cancel_] {
        const auto sizes = ToolUpdater(folder, sources, cancel).sizes();
        platform::MainThread::post([self, ytDlp = sizes.first.value_or(-1), deno = sizes.second.value_or(-1)] {
            if (self)
                emit self->sizesKnown(ytDlp, deno);
        });
    });
}

} // namespace tools
