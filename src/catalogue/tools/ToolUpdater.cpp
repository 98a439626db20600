#include "catalogue/tools/ToolUpdater.h"

#include "catalogue/tools/ArchiveEntry.h"
#include "catalogue/tools/SignatureCheck.h"
#include "platform/BlockingHttp.h"
#include "platform/ChildProcess.h"
#include "platform/Log.h"

#include <QCryptographicHash>
#include <QFile>
#include <QHostAddress>
#include <QLocale>
#include <QLockFile>
#include <QSaveFile>
#include <QStandardPaths>
#include <QFileInfo>
#include <QDir>
#include <QUuid>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>

using platform::Log;

namespace tools {

namespace {

// The yt-dlp project's signing key, shipped with the program, and its primary key.
constexpr const char* shippedKey = ":/keys/yt-dlp-signing-key.asc";
constexpr const char* shippedFingerprint = "AC0CBBE6848D6A873464AF4E57CF65933B5A7581";
constexpr const char* sums = "SHA2-256SUMS";
// A listing is a few kilobytes; a slow release server is given this long a byte.
constexpr std::chrono::seconds patience{30};
constexpr std::chrono::seconds versionLimit{10};
// An unpacked yt-dlp is some 25 MB in 1,200 files.
constexpr qint64 largestUnpacked = 256LL << 20;
constexpr int mostUnpacked = 20000;
// How long an update waits for another one of the same folder to end.
constexpr std::chrono::minutes lockWait{10};

QUrl inFolder(const QUrl& folder, const QString& file)
{
    QUrl url = folder;
    QString path = url.path();
    if (!path.endsWith(QLatin1Char('/')))
        path += QLatin1Char('/');
    url.setPath(path + file);
    return url;
}

QString sizeText(qint64 bytes)
{
    return QLocale::c().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

std::optional<QByteArray> digestOfFile(const QString& path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file))
        return std::nullopt;
    return hash.result();
}

QByteArray readKey(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.read(1 << 20) : QByteArray();
}

Outcome failed(const QString& tool, const QString& reason, qint64 fetched, const QString& version = {})
{
    Log::line(QStringLiteral("Tools: %1 not updated: %2").arg(tool, reason));
    return {tool, Outcome::State::failed, version, reason, fetched};
}

// Holds the folder's update lock while it lives.
class UpdateLock {
public:
    UpdateLock(const ToolFolder& folder, const platform::CancelToken* cancel)
        : lock_(folder.file(QStringLiteral(".update.lock")))
    {
        // Taken over only from a holder that is gone, however long the update.
        lock_.setStaleLockTime(0);
        const auto until = std::chrono::steady_clock::now() + lockWait;
        while (!(held_ = lock_.tryLock(200)) && std::chrono::steady_clock::now() < until &&
               !(cancel && cancel->isCancelled()) && lock_.error() == QLockFile::LockFailedError) {
        }
        if (held_)
            sweep(folder);
    }
    bool held() const { return held_; }

    // What an update that was killed left beside the programs goes.
    static void sweep(const ToolFolder& folder)
    {
        QDir dir(folder.path());
        for (const QString& left : dir.entryList({QStringLiteral("*.new-*"), QStringLiteral("*.old-*")},
                                                 QDir::Files | QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot)) {
            if (QFileInfo(dir.filePath(left)).isDir())
                QDir(dir.filePath(left)).removeRecursively();
            else
                dir.remove(left);
        }
    }

private:
    QLockFile lock_;
    bool held_ = false;
};

} // namespace

// A new file beside the program it may replace, removed unless renamed over
// it. Not a QTemporaryFile: that may keep the file open elsewhere, and a
// program open for writing cannot be run.
class ToolUpdater::Beside {
public:
    explicit Beside(const QString& final)
        : path_(final + QStringLiteral(".new-") + QUuid::createUuid().toString(QUuid::Id128).left(12))
    {
    }
    ~Beside()
    {
        file_.close();
        if (!renamed_)
            QFile::remove(path_);
    }
    bool open()
    {
        const int fd = ::open(QFile::encodeName(path_).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        return fd >= 0 && file_.open(fd, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle);
    }
    QFile& file() { return file_; }
    QString path() const { return path_; }
    // Replaces final at once; readers see the old program or the new one, never a part.
    QString renameOver(const QString& final)
    {
        file_.close();
        if (std::rename(QFile::encodeName(path_).constData(), QFile::encodeName(final).constData()) != 0)
            return QStringLiteral("it could not be put in place: %1").arg(QString::fromLocal8Bit(std::strerror(errno)));
        renamed_ = true;
        return {};
    }

private:
    const QString path_;
    QFile file_;
    bool renamed_ = false;
};

Sources Sources::standard()
{
    Sources sources{QUrl(QStringLiteral("https://github.com/yt-dlp/yt-dlp/releases/latest/download/")),
                    QUrl(QStringLiteral("https://github.com/denoland/deno/releases/latest/download/")),
                    readKey(QLatin1String(shippedKey)), QLatin1String(shippedFingerprint)};
    if (const QString mirror = qEnvironmentVariable(ytDlpVariable); !mirror.isEmpty())
        sources.ytDlp = QUrl(mirror);
    if (const QString mirror = qEnvironmentVariable(denoVariable); !mirror.isEmpty())
        sources.deno = QUrl(mirror);
    if (const QString key = qEnvironmentVariable(keyVariable); !key.isEmpty()) {
        sources.key = readKey(key);
        sources.fingerprint.clear();
    }
    return sources;
}

struct ToolUpdater::Fetched {
    QByteArray body;
    QString error;
    qint64 received = 0;
};

ToolUpdater::ToolUpdater(ToolFolder folder, Sources sources, std::shared_ptr<platform::CancelToken> cancel)
    : folder_(folder), toolbox_(folder), sources_(std::move(sources)),
      cancel_(cancel ? std::move(cancel) : std::make_shared<platform::CancelToken>())
{
}

bool ToolUpdater::isReleaseAddress(const QUrl& url)
{
    if (!url.isValid() || url.host().isEmpty())
        return false;
    if (url.scheme() == QLatin1String("https"))
        return true;
    return url.scheme() == QLatin1String("http") &&
           (url.host() == QLatin1String("localhost") || QHostAddress(url.host()).isLoopback());
}

ToolUpdater::Fetched ToolUpdater::fetchSmall(const QUrl& url) const
{
    if (!isReleaseAddress(url))
        return {{}, QStringLiteral("%1 is no https address").arg(url.toString())};
    platform::BlockingHttp::Options options;
    options.timeout = patience;
    options.maxBytes = largestListing;
    options.cancel = cancel_;
    options.redirectAllowed = isReleaseAddress;
    platform::HttpResponse response = platform::BlockingHttp::get(url, options);
    if (response.error)
        return {{},
                QStringLiteral("%1 could not be fetched: %2").arg(url.fileName(), response.error->description),
                response.received};
    if (response.status != 200)
        return {{},
                QStringLiteral("%1 could not be fetched: the server answered with status %2")
                    .arg(url.fileName())
                    .arg(response.status),
                response.received};
    return {response.body, {}, response.received};
}

namespace {

// Downloads url into the open file under a cap, hashing it on the way: the
// reason when it failed.
QString download(const QUrl& url, QFile& into, qint64 maxBytes, QCryptographicHash& hash, qint64& received,
                 const std::shared_ptr<platform::CancelToken>& cancel,
                 const std::function<void(qint64, std::optional<qint64>)>& progress)
{
    platform::BlockingHttp::Options options;
    options.timeout = patience;
    options.maxBytes = maxBytes;
    options.cancel = cancel;
    options.redirectAllowed = ToolUpdater::isReleaseAddress;
    options.sink = [&into, &hash](const QByteArray& piece) {
        hash.addData(piece);
        return into.write(piece) == piece.size();
    };
    options.progress = progress;
    const platform::HttpResponse response = platform::BlockingHttp::get(url, options);
    received = response.received;
    if (response.error) {
        if (response.error->description == QLatin1String("Not written"))
            return QStringLiteral("%1 could not be written: %2").arg(url.fileName(), into.errorString());
        return QStringLiteral("%1 could not be fetched: %2").arg(url.fileName(), response.error->description);
    }
    if (response.status != 200)
        return QStringLiteral("%1 could not be fetched: the server answered with status %2")
            .arg(url.fileName())
            .arg(response.status);
    if (!into.flush())
        return QStringLiteral("%1 could not be written: %2").arg(url.fileName(), into.errorString());
    return {};
}

// What a program just written answers to --version within the limit: its
// output, or nothing after saying why in `why`.
std::optional<QByteArray> versionAnswer(const QString& program, const std::shared_ptr<platform::CancelToken>& cancel,
                                        QString& why)
{
    if (!QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup |
                                            QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther)) {
        why = QStringLiteral("could not be made executable");
        return std::nullopt;
    }
    ChildProcess process;
    process.setKillDelay(std::chrono::seconds(1));
    process.setDeadline(std::chrono::steady_clock::now() + versionLimit);
    const auto hook = cancel->watch([&process] { process.terminate(); });
    if (!process.start(program, {QStringLiteral("--version")}, ChildProcess::Capture::StandardOutputKeepingErrors)) {
        cancel->forget(hook);
        why = QStringLiteral("does not run: %1").arg(process.error());
        return std::nullopt;
    }
    const QByteArray output = process.readAll().left(4096);
    const ChildProcess::Exit exit = process.wait();
    cancel->forget(hook);
    if (process.timedOut()) {
        why = QStringLiteral("gave no version within %1 seconds").arg(versionLimit.count());
        return std::nullopt;
    }
    if (!exit.exited || exit.code != 0) {
        why = exit.exited ? QStringLiteral("does not run: --version ended with status %1").arg(exit.code)
                          : QStringLiteral("does not run: --version was ended by signal %1").arg(exit.signal);
        return std::nullopt;
    }
    return output;
}

} // namespace

Outcome ToolUpdater::updateYtDlp()
{
    const QString tool = QStringLiteral("yt-dlp");
    const QString installed = folder_.file(tool);
    const auto before = [&] { return toolbox_.own(tool).version; };
    if (const QString why = folder_.whyUnusable(true); !why.isEmpty())
        return failed(tool, why, 0);
    const UpdateLock lock(folder_, cancel_.get());
    if (!lock.held())
        return failed(tool, QStringLiteral("another update of %1 did not end").arg(folder_.path()), 0);

    qint64 fetched = 0;
    const Fetched list = fetchSmall(inFolder(sources_.ytDlp, QLatin1String(sums)));
    fetched += list.received;
    if (!list.error.isEmpty())
        return failed(tool, list.error, fetched, before());
    const Fetched signature = fetchSmall(inFolder(sources_.ytDlp, QLatin1String(sums) + QStringLiteral(".sig")));
    fetched += signature.received;
    if (!signature.error.isEmpty())
        return failed(tool, signature.error, fetched, before());
    if (const QString why = SignatureCheck(sources_.key, sources_.fingerprint).whyNotSigned(list.body, signature.body);
        !why.isEmpty())
        return failed(tool, QStringLiteral("%1 is refused: %2").arg(QLatin1String(sums), why), fetched, before());
    const auto digest = release::digestFor(list.body, tool);
    if (!digest)
        return failed(tool, QStringLiteral("%1 lists no yt-dlp").arg(QLatin1String(sums)), fetched, before());

    if (digestOfFile(installed) == digest) {
        unpack(installed); // when it was not, or not to the end
        const QString version = before();
        return {tool, Outcome::State::current, version, {}, fetched};
    }

    Beside next(installed);
    qint64 received = 0;
    if (const QString why = fetchChecked(tool, inFolder(sources_.ytDlp, tool), next, largestYtDlp, *digest,
                                         QLatin1String(sums), received);
        !why.isEmpty())
        return failed(tool, why, fetched + received, before());
    fetched += received;
    QString why;
    const auto version = runAndPlace(next, installed, release::ytDlpVersionIn, why);
    if (!version)
        return failed(tool, QStringLiteral("the downloaded yt-dlp %1").arg(why), fetched, before());
    toolbox_.remember(tool, installed, *version);
    Log::line(QStringLiteral("Tools: installed yt-dlp %1 (%2) as %3").arg(*version, sizeText(received), installed));
    unpack(installed);
    return {tool, Outcome::State::installed, *version, {}, fetched};
}

Outcome ToolUpdater::updateDeno()
{
    const QString tool = QStringLiteral("Deno");
    const QString installed = folder_.file(QStringLiteral("deno"));
    // The zip's digest the installed deno came from, and the deno it made.
    const QString source = folder_.file(QStringLiteral("deno.source"));
    const auto before = [&] { return toolbox_.own(QStringLiteral("deno")).version; };
    if (const QString why = folder_.whyUnusable(true); !why.isEmpty())
        return failed(tool, why, 0);
    const UpdateLock lock(folder_, cancel_.get());
    if (!lock.held())
        return failed(tool, QStringLiteral("another update of %1 did not end").arg(folder_.path()), 0);

    const QString zipName = QLatin1String(denoZip);
    const Fetched listed = fetchSmall(inFolder(sources_.deno, zipName + QStringLiteral(".sha256sum")));
    if (!listed.error.isEmpty())
        return failed(tool, listed.error, listed.received, before());
    qint64 fetched = listed.received;
    const auto digest = release::firstDigest(listed.body);
    if (!digest)
        return failed(tool, QStringLiteral("%1.sha256sum holds no SHA-256").arg(zipName), fetched, before());

    const auto identity = FileIdentity::of(installed);
    if (identity) {
        QFile record(source);
        const QList<QByteArray> fields =
            record.open(QIODevice::ReadOnly) ? record.read(1024).trimmed().split(' ') : QList<QByteArray>();
        if (fields.size() == 4 && QByteArray::fromHex(fields[0]) == *digest &&
            FileIdentity{fields[1].toLongLong(), fields[2].toLongLong(), fields[3].toULongLong()} == *identity)
            return {tool, Outcome::State::current, before(), {}, fetched};
    }

    // The zip beside the program, then the program out of it.
    Beside zip(folder_.file(zipName));
    qint64 received = 0;
    if (const QString why = fetchChecked(tool, inFolder(sources_.deno, zipName), zip, largestDenoZip, *digest,
                                         zipName + QStringLiteral(".sha256sum"), received);
        !why.isEmpty())
        return failed(tool, why, fetched + received, before());
    fetched += received;
    Beside next(installed);
    if (!next.open())
        return failed(tool, QStringLiteral("%1 cannot be written: %2").arg(folder_.path(), next.file().errorString()),
                      fetched, before());
    if (const QString refused = ArchiveEntry::extract(zip.path(), QStringLiteral("deno"), next.file(), largestDeno);
        !refused.isEmpty())
        return failed(tool, QStringLiteral("%1: %2").arg(zipName, refused), fetched, before());
    if (!next.file().flush())
        return failed(tool, QStringLiteral("deno could not be written: %1").arg(next.file().errorString()), fetched,
                      before());
    QString why;
    const auto version = runAndPlace(next, installed, release::denoVersionIn, why);
    if (!version)
        return failed(tool, QStringLiteral("the downloaded deno %1").arg(why), fetched, before());
    toolbox_.remember(QStringLiteral("deno"), installed, *version);
    if (const auto now = FileIdentity::of(installed)) {
        QSaveFile record(source);
        if (record.open(QIODevice::WriteOnly)) {
            record.write(QStringLiteral("%1 %2 %3 %4\n")
                             .arg(QString::fromLatin1(digest->toHex()))
                             .arg(now->size)
                             .arg(now->modified)
                             .arg(now->inode)
                             .toLatin1());
            record.commit();
        }
    }
    Log::line(QStringLiteral("Tools: installed Deno %1 (%2 zip) as %3").arg(*version, sizeText(received), installed));
    return {tool, Outcome::State::installed, *version, {}, fetched};
}

QString ToolUpdater::fetchChecked(const QString& tool, const QUrl& url, Beside& into, qint64 maxBytes,
                                  const QByteArray& digest, const QString& listing, qint64& received) const
{
    if (!into.open())
        return QStringLiteral("%1 cannot be written: %2").arg(folder_.path(), into.file().errorString());
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (const QString why = download(url, into.file(), maxBytes, hash, received, cancel_,
                                     [this, &tool](qint64 done, std::optional<qint64> all) {
                                         if (progress_)
                                             progress_(tool, done, all);
                                     });
        !why.isEmpty())
        return why;
    if (hash.result() != digest)
        return QStringLiteral("the download does not match its checksum in %1").arg(listing);
    into.file().close();
    return {};
}

std::optional<QString> ToolUpdater::runAndPlace(Beside& next, const QString& installed,
                                                std::optional<QString> (*versionIn)(const QByteArray&),
                                                QString& why) const
{
    next.file().close();
    const auto answer = versionAnswer(next.path(), cancel_, why);
    if (!answer)
        return std::nullopt;
    const auto version = versionIn(*answer);
    if (!version) {
        why = QStringLiteral("gave no version");
        return std::nullopt;
    }
    why = next.renameOver(installed);
    return why.isEmpty() ? version : std::nullopt;
}

void ToolUpdater::unpack(const QString& installed) const
{
    const auto identity = FileIdentity::of(installed);
    if (!identity || toolbox_.isUnpackedFrom(installed))
        return;
    const QString unpacked = toolbox_.unpacked();
    const QString suffix = QUuid::createUuid().toString(QUuid::Id128).left(12);
    const QString next = unpacked + QStringLiteral(".new-") + suffix;
    const auto fail = [&next](const QString& why) {
        Log::line(QStringLiteral("Tools: yt-dlp runs as its zip application: %1").arg(why));
        QDir(next).removeRecursively();
    };
    if (!QDir().mkdir(next))
        return fail(QStringLiteral("%1 could not be made").arg(next));
    if (const QString why = ArchiveEntry::extractAll(installed, next, largestUnpacked, mostUnpacked); !why.isEmpty())
        return fail(why);
    if (!QFileInfo(next + QStringLiteral("/__main__.py")).isFile())
        return fail(QStringLiteral("it has no __main__.py"));
    // Compiled now rather than at the first search; named in tracebacks where
    // they will be. A failure here only costs the first run the time.
    if (const QString python = QStandardPaths::findExecutable(QStringLiteral("python3")); !python.isEmpty()) {
        ChildProcess compile;
        compile.setDeadline(std::chrono::steady_clock::now() + std::chrono::minutes(2));
        const auto hook = cancel_->watch([&compile] { compile.terminate(); });
        if (compile.start(python,
                          {QStringLiteral("-m"), QStringLiteral("compileall"), QStringLiteral("-q"),
                           QStringLiteral("-j"), QStringLiteral("0"), QStringLiteral("-s"), next, QStringLiteral("-p"),
                           unpacked, next},
                          ChildProcess::Capture::StandardOutputKeepingErrors)) {
            compile.readAll();
            compile.wait();
        }
        cancel_->forget(hook);
    }
    if (cancel_->isCancelled())
        return fail(QStringLiteral("cancelled"));
    QSaveFile stamp(next + QStringLiteral("/.from"));
    if (!stamp.open(QIODevice::WriteOnly) || stamp.write(Toolbox::stampOf(*identity)) < 0 || !stamp.commit())
        return fail(QStringLiteral("its stamp could not be written"));
    // The old one aside, the new one in, the old one gone: a run in between
    // finds none and runs the zip application.
    const QString old = unpacked + QStringLiteral(".old-") + suffix;
    if (QFileInfo::exists(unpacked) && !QDir().rename(unpacked, old))
        return fail(QStringLiteral("%1 could not be replaced").arg(unpacked));
    if (!QDir().rename(next, unpacked))
        return fail(QStringLiteral("%1 could not be put in place").arg(unpacked));
    QDir(old).removeRecursively();
}

std::pair<std::optional<qint64>, std::optional<qint64>> ToolUpdater::sizes() const
{
    const auto sizeOf = [this](const QUrl& url) -> std::optional<qint64> {
        if (!isReleaseAddress(url))
            return std::nullopt;
        platform::BlockingHttp::Options options;
        options.timeout = patience;
        options.maxBytes = 0;
        options.cancel = cancel_;
        options.redirectAllowed = isReleaseAddress;
        options.head = true;
        const platform::HttpResponse response = platform::BlockingHttp::get(url, options);
        if (response.error || response.status != 200 || !response.contentLength || *response.contentLength < 0)
            return std::nullopt;
        return response.contentLength;
    };
    return {sizeOf(inFolder(sources_.ytDlp, QStringLiteral("yt-dlp"))),
            sizeOf(inFolder(sources_.deno, QLatin1String(denoZip)))};
}

} // namespace tools
