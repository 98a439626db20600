#include "catalogue/engine/YtDlp.h"

#include "catalogue/engine/YtDlpJson.h"
#include "platform/ChildProcess.h"
#include "platform/Log.h"

#include <QFileInfo>
#include <QStandardPaths>

#include <condition_variable>
#include <mutex>
#include <set>

namespace engine {

namespace {

// The options every run takes: the user's configuration could turn the answer
// into something else, and warnings are no answer.
const QStringList commonOptions{QStringLiteral("--ignore-config"), QStringLiteral("--no-warnings"),
                                QStringLiteral("--socket-timeout"), QStringLiteral("20"), QStringLiteral("-J")};

struct Turns {
    std::mutex mutex;
    std::condition_variable freed;
    int busy = 0;
    std::set<std::shared_ptr<platform::CancelToken>> runs; // every run waiting or under way
};

Turns& turns()
{
    static Turns* const all = new Turns; // outlives threads still running at the exit
    return *all;
}

// Holds one of the slots while it lives; none when cancelled while waiting.
class Turn {
public:
    explicit Turn(const std::shared_ptr<platform::CancelToken>& cancel) : cancel_(cancel)
    {
        Turns& s = turns();
        std::unique_lock lock(s.mutex);
        s.runs.insert(cancel_);
        // A cancel is seen within a tenth of a second: waking the waiters from the
        // token's hook would take the two locks in the other order.
        while (s.busy >= YtDlp::mostAtOnce && !cancel_->isCancelled())
            s.freed.wait_for(lock, std::chrono::milliseconds(100));
        if (!cancel_->isCancelled()) {
            ++s.busy;
            held_ = true;
        }
    }
    ~Turn()
    {
        Turns& s = turns();
        std::lock_guard lock(s.mutex);
        s.runs.erase(cancel_);
        if (held_)
            --s.busy;
        s.freed.notify_all();
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    bool held() const { return held_; }

private:
    std::shared_ptr<platform::CancelToken> cancel_;
    bool held_ = false;
};

} // namespace

QString YtDlp::locate(const QString& configured)
{
    if (!configured.isEmpty()) {
        const QFileInfo program(configured);
        return program.isFile() && program.isExecutable() ? program.absoluteFilePath() : QString();
    }
    return QStandardPaths::findExecutable(QStringLiteral("yt-dlp"));
}

QString YtDlp::missingText(const QString& configured)
{
    const QString where = configured.isEmpty() ? QStringLiteral("There is no yt-dlp on PATH.")
                                               : QStringLiteral("There is no program at %1.").arg(configured);
    return where + QStringLiteral(" Install yt-dlp (sudo apt install yt-dlp; a current release from the yt-dlp "
                                  "project reaches today's service best), or choose Melodrift's own reader.");
}

std::optional<QString> YtDlp::version(const QString& configured)
{
    const QString program = locate(configured);
    if (program.isEmpty())
        return std::nullopt;
    ChildProcess process;
    process.setDeadline(std::chrono::steady_clock::now() + std::chrono::seconds(20));
    if (!process.start(program, {QStringLiteral("--version")}, ChildProcess::Capture::StandardOutputKeepingErrors))
        return std::nullopt;
    const QString text = QString::fromUtf8(process.readAll().left(200)).trimmed();
    const ChildProcess::Exit exit = process.wait();
    if (!exit.exited || exit.code != 0 || text.isEmpty())
        return std::nullopt;
    return text.section(QLatin1Char('\n'), 0, 0);
}

YtDlp::Answer YtDlp::run(const QString& configured, const QStringList& arguments,
                         const std::shared_ptr<platform::CancelToken>& cancel, std::chrono::milliseconds timeout)
{
    const QString program = locate(configured);
    if (program.isEmpty())
        return {{}, missingText(configured)};
    const auto token = cancel ? cancel : std::make_shared<platform::CancelToken>();
    const Turn turn(token);
    if (!turn.held())
        return {{}, QStringLiteral("cancelled"), true};

    ChildProcess process;
    process.setKillDelay(std::chrono::seconds(2));
    process.setDeadline(std::chrono::steady_clock::now() + timeout);
    const auto hook = token->watch([&process] { process.terminate(); });
    const QStringList all = commonOptions + arguments;
    platform::Log::line(QStringLiteral("yt-dlp: ") + all.join(QLatin1Char(' ')));
    Answer answer;
    if (!process.start(program, all, ChildProcess::Capture::StandardOutputKeepingErrors)) {
        token->forget(hook);
        if (token->isCancelled())
            return {{}, QStringLiteral("cancelled"), true};
        return {{}, QStringLiteral("yt-dlp could not be started: %1").arg(process.error())};
    }
    bool tooLarge = false;
    for (QByteArray chunk = process.readChunk(); !chunk.isEmpty(); chunk = process.readChunk()) {
        if (answer.json.size() + chunk.size() > ytdlp::largestAnswer) {
            tooLarge = true;
            process.terminate();
            answer.json.clear();
            continue; // read on to the end, so that it is reaped
        }
        if (!tooLarge)
            answer.json += chunk;
    }
    const ChildProcess::Exit exit = process.wait();
    token->forget(hook);

    if (token->isCancelled()) {
        answer = {{}, QStringLiteral("cancelled"), true};
    } else if (process.timedOut()) {
        answer = {{}, QStringLiteral("yt-dlp gave no answer within %1 seconds.")
                          .arg(std::chrono::duration_cast<std::chrono::seconds>(timeout).count())};
    } else if (tooLarge) {
        answer = {{}, QStringLiteral("yt-dlp's answer is larger than %1 MiB.").arg(ytdlp::largestAnswer / (1024 * 1024))};
    } else if (!exit.exited || exit.code != 0) {
        QString reason = ytdlp::reasonIn(process.errorOutput());
        if (reason.isEmpty())
            reason = exit.exited ? QStringLiteral("yt-dlp exited with status %1.").arg(exit.code)
                                 : QStringLiteral("yt-dlp was ended by signal %1.").arg(exit.signal);
        answer = {{}, reason};
    }
    if (!answer.error.isEmpty())
        platform::Log::line(QStringLiteral("yt-dlp failed: ") + answer.error);
    return answer;
}

void YtDlp::cancelAll()
{
    std::set<std::shared_ptr<platform::CancelToken>> runs;
    {
        Turns& s = turns();
        std::lock_guard lock(s.mutex);
        runs = s.runs;
    }
    for (const auto& run : runs)
        run->cancel();
}

int YtDlp::running()
{
    Turns& s = turns();
    std::lock_guard lock(s.mutex);
    return s.busy;
}

} // namespace engine
