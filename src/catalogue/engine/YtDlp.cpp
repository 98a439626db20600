#include "catalogue/engine/YtDlp.h"

#include "catalogue/engine/YtDlpJson.h"
#include "catalogue/tools/Toolbox.h"
#include "platform/ChildProcess.h"
#include "platform/Log.h"
#include "platform/ServiceEndpoints.h"

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

namespace {

// How a text is known to say there is no yt-dlp.
const QLatin1String missingMark("Melodrift can get a current yt-dlp and Deno");

} // namespace

QString YtDlp::missingText(const QString& chosen)
{
    const QString where = chosen.isEmpty() ? QStringLiteral("There is no yt-dlp: neither Melodrift's own nor one on PATH.")
                                           : QStringLiteral("There is no program at %1.").arg(chosen);
    return where + QStringLiteral(" %1, the JavaScript runtime it needs (Update now in the settings, or "
                                  "melodrift-cli tools update), or choose Melodrift's own reader.")
                       .arg(missingMark);
}

QString YtDlp::missingNote()
{
    return QStringLiteral("Today's service is read through yt-dlp, and there is none here. %1 "
                          "(Update now in the settings, or melodrift-cli tools update).")
        .arg(missingMark);
}

bool YtDlp::isMissingFailure(const QString& text)
{
    return text.contains(missingMark);
}

namespace {

// The words of a current yt-dlp's note on an old one: how the text of a
// failure is known to carry it.
const QLatin1String outdatedNote("a current yt-dlp may read it");

const QStringList& outdatedReasons()
{
    static const QStringList reasons{QStringLiteral("Sign in to confirm you’re not a bot"),
                                     QStringLiteral("Sign in to confirm you're not a bot"),
                                     QStringLiteral("nsig extraction failed"),
                                     QStringLiteral("HTTP Error 403"),
                                     QStringLiteral("Requested format is not available"),
                                     QStringLiteral("No supported JavaScript runtime"),
                                     QStringLiteral("Unable to extract")};
    return reasons;
}

// The service's own search or one of its addresses among the arguments.
bool readsTheService(const QStringList& arguments)
{
    const platform::ServiceEndpoints service = platform::ServiceEndpoints::defaults();
    return std::any_of(arguments.begin(), arguments.end(), [&service](const QString& argument) {
        const QUrl url(argument);
        return argument.startsWith(QLatin1String("ytsearch")) || service.isWatchPage(url) ||
               url.host().compare(QLatin1String("youtu.be"), Qt::CaseInsensitive) == 0;
    });
}

QString outdatedText(const tools::Tool& ytDlp)
{
    const auto age = ytDlp.ageDays();
    if (ytDlp.version.isEmpty() || !age)
        return QStringLiteral("This yt-dlp gave no version; the service changes often, and %1.").arg(outdatedNote);
    return QStringLiteral("This yt-dlp (%1) is %2 days old; the service changes often, and %3.")
        .arg(ytDlp.version)
        .arg(*age)
        .arg(outdatedNote);
}

} // namespace

bool YtDlp::soundsOutdated(const QString& reason, bool serviceAddress)
{
    if (serviceAddress && reason.contains(QLatin1String("Unsupported URL")))
        return true;
    return std::any_of(outdatedReasons().begin(), outdatedReasons().end(),
                       [&reason](const QString& said) { return reason.contains(said, Qt::CaseInsensitive); });
}

bool YtDlp::isOutdatedFailure(const QString& text)
{
    return text.contains(outdatedNote);
}

YtDlp::Answer YtDlp::run(const Choice& choice, const QStringList& arguments,
                         const std::shared_ptr<platform::CancelToken>& cancel, std::chrono::milliseconds timeout)
{
    // Asked each run, so that an update or a new choice counts at once; the
    // versions are remembered, so this costs a few file lookups.
    const tools::Toolbox toolbox;
    const tools::Tool ytDlp = toolbox.ytDlp(choice.ytDlp);
    if (!ytDlp.found())
        return {{}, missingText(choice.ytDlp)};
    const QStringList command = ytDlp.command.isEmpty() ? QStringList{ytDlp.path} : ytDlp.command;
    const QString program = command.first();
    QStringList options = command.mid(1) + commonOptions + tools::Toolbox::runtimeOptions(ytDlp, toolbox.jsRuntime());
    if (Choice::browsers().contains(choice.signIn))
        options << QStringLiteral("--cookies-from-browser") << choice.signIn;
    const auto token = cancel ? cancel : std::make_shared<platform::CancelToken>();
    const Turn turn(token);
    if (!turn.held())
        return {{}, QStringLiteral("cancelled"), true};

    ChildProcess process;
    process.setKillDelay(std::chrono::seconds(2));
    process.setDeadline(std::chrono::steady_clock::now() + timeout);
    const auto hook = token->watch([&process] { process.terminate(); });
    const QStringList all = options + arguments;
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
        if (soundsOutdated(reason, readsTheService(arguments)))
            reason += QLatin1Char(' ') + outdatedText(ytDlp);
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
