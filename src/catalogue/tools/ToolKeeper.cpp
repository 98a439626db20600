#include "catalogue/tools/ToolKeeper.h"

#include "platform/CancelToken.h"
#include "platform/WorkerPool.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

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
    platform::WorkerPool::run(
        this,
        [folder = folder_] {
            const QFileInfo stamp(stampOf(folder));
            return !stamp.exists() ||
                   stamp.lastModified().secsTo(QDateTime::currentDateTime()) >= qint64(hoursBetweenChecks) * 3600;
        },
        [this](bool due) {
            if (due)
                update();
        });
}

void ToolKeeper::update()
{
    if (updating_)
        return;
    updating_ = true;
    emit updateStarted();
    platform::WorkerPool::run(
        this,
        [courier = platform::Courier(this), this, folder = folder_, sources = sources_, cancel = cancel_] {
            ToolUpdater updater(folder, sources, cancel);
            updater.setProgress([courier, this](const QString& tool, qint64 done, std::optional<qint64> total) {
                courier.post([this, tool, done, total] { emit progressed(tool, done, total.value_or(-1)); });
            });
            const QList<Outcome> outcomes{updater.updateYtDlp(), updater.updateDeno()};
            if (std::all_of(outcomes.begin(), outcomes.end(), [](const Outcome& o) { return o.ok(); })) {
                QFile stamp(stampOf(folder));
                if (stamp.open(QIODevice::WriteOnly))
                    stamp.setFileTime(QDateTime::currentDateTime(), QFileDevice::FileModificationTime);
            }
            return outcomes;
        },
        [this](const QList<Outcome>& outcomes) {
            updating_ = false;
            emit updateEnded(outcomes);
        });
}

void ToolKeeper::askSizes()
{
    platform::WorkerPool::run(
        this,
        [folder = folder_, sources = sources_, cancel = cancel_] {
            return ToolUpdater(folder, sources, cancel).sizes();
        },
        [this](const std::pair<std::optional<qint64>, std::optional<qint64>>& sizes) {
            emit sizesKnown(sizes.first.value_or(-1), sizes.second.value_or(-1));
        });
}

} // namespace tools
