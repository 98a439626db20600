#include "catalogue/tools/Toolbox.h"

#include "catalogue/tools/ReleaseFiles.h"
#include "platform/ChildProcess.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>
#include <QStandardPaths>

#include <chrono>
#include <mutex>
#include <vector>

namespace tools {

namespace {

using Identity = FileIdentity;

bool looksLikeVersion(const QString& text)
{
    static const QRegularExpression form(QStringLiteral("^\\d{1,6}(\\.\\d{1,10}){1,3}$"));
    return form.match(text).hasMatch();
}

// The versions asked of programs, shared by every Toolbox of the process and
// kept in the tools folder for the next runs.
class VersionMemory {
public:
    // The version kept for the program as it is now; an empty one when it gave
    // none this run (not asked again until it changes); nothing when not known.
    std::optional<QString> recall(const QString& file, const QString& name, const QString& path, const Identity& id)
    {
        std::lock_guard lock(mutex_);
        if (const auto known = find(name, path, id))
            return known;
        for (const Entry& e : silent_)
            if (e.name == name && e.path == path && e.id == id)
                return QString();
        // Another run may have asked since this one read the file.
        load(file);
        return find(name, path, id);
    }

    void keep(const QString& file, const QString& name, const QString& path, const Identity& id, const QString& version)
    {
        std::lock_guard lock(mutex_);
        load(file);
        std::erase_if(entries_, [&](const Entry& e) { return e.name == name && e.path == path; });
        entries_.push_back({name, path, id, version});
        if (entries_.size() > mostEntries)
            entries_.erase(entries_.begin());
        save(file);
    }

    void keepSilent(const QString& name, const QString& path, const Identity& id)
    {
        std::lock_guard lock(mutex_);
        if (silent_.size() >= mostEntries)
            silent_.erase(silent_.begin());
        silent_.push_back({name, path, id, {}});
    }

private:
    struct Entry {
        QString name;
        QString path;
        Identity id;
        QString version;
    };
    static constexpr std::size_t mostEntries = 32;

    std::optional<QString> find(const QString& name, const QString& path, const Identity& id) const
    {
        for (const Entry& e : entries_)
            if (e.name == name && e.path == path && e.id == id)
                return e.version;
        return std::nullopt;
    }

    // "name TAB path TAB size TAB modified TAB inode TAB version" a line; a line
    // of any other shape is passed over.
    void load(const QString& file)
    {
        QFile in(file);
        if (!in.open(QIODevice::ReadOnly))
            return;
        std::vector<Entry> read;
        for (const QByteArray& line : in.read(64 * 1024).split('\n')) {
            const QList<QByteArray> f = line.split('\t');
            if (f.size() != 6 || read.size() >= mostEntries)
                continue;
            bool a = false, b = false, c = false;
            const Entry e{QString::fromUtf8(f[0]), QString::fromUtf8(f[1]),
                          Identity{f[2].toLongLong(&a), f[3].toLongLong(&b), f[4].toULongLong(&c)},
                          QString::fromUtf8(f[5])};
            if (a && b && c && QFileInfo(e.path).isAbsolute() && looksLikeVersion(e.version))
                read.push_back(e);
        }
        entries_ = std::move(read);
    }

    void save(const QString& file) const
    {
        QSaveFile out(file);
        if (!out.open(QIODevice::WriteOnly))
            return;
        for (const Entry& e : entries_) {
            if (e.path.contains(QLatin1Char('\t')) || e.path.contains(QLatin1Char('\n')))
                continue;
            out.write(QStringLiteral("%1\t%2\t%3\t%4\t%5\t%6\n")
                          .arg(e.name, e.path)
                          .arg(e.id.size)
                          .arg(e.id.modified)
                          .arg(e.id.inode)
                          .arg(e.version)
                          .toUtf8());
        }
        out.commit();
    }

    std::mutex mutex_;
    std::vector<Entry> entries_;
    std::vector<Entry> silent_; // programs that gave no version, for this run only
};

VersionMemory& memory()
{
    static auto* const kept = new VersionMemory; // outlives threads still asking at the exit
    return *kept;
}

std::optional<QString> versionIn(const QString& name, const QByteArray& output)
{
    if (name == QLatin1String("yt-dlp"))
        return release::ytDlpVersionIn(output);
    if (name == QLatin1String("deno"))
        return release::denoVersionIn(output);
    return release::nodeVersionIn(output);
}

// Deno 2 and Node 20 are the first yt-dlp takes.
bool isRecentEnough(const Tool& runtime)
{
    const char* least = runtime.name == QLatin1String("deno") ? "2.0.0" : "20.0.0";
    return !runtime.version.isEmpty() && release::compareVersions(runtime.version, QLatin1String(least)) >= 0;
}

} // namespace

QString Tool::displayName() const
{
    if (name == QLatin1String("deno"))
        return QStringLiteral("Deno");
    if (name == QLatin1String("node"))
        return QStringLiteral("Node.js");
    return name;
}

std::optional<qint64> Tool::ageDays() const
{
    if (!since || !since->isValid())
        return std::nullopt;
    return since->daysTo(QDate::currentDate());
}

Toolbox::Toolbox(ToolFolder folder) : folder_(std::move(folder)) {}

std::optional<QString> Toolbox::versionOf(const QString& name, const QString& path) const
{
    const auto id = FileIdentity::of(path);
    if (!id)
        return std::nullopt;
    const QString file = folder_.file(QStringLiteral("versions"));
    if (const auto known = memory().recall(file, name, path, *id))
        return known->isEmpty() ? std::nullopt : known;

    ChildProcess process;
    process.setDeadline(std::chrono::steady_clock::now() + std::chrono::seconds(20));
    std::optional<QString> version;
    if (process.start(path, {QStringLiteral("--version")}, ChildProcess::Capture::StandardOutputKeepingErrors)) {
        const QByteArray output = process.readAll().left(4096);
        const ChildProcess::Exit exit = process.wait();
        if (exit.exited && exit.code == 0)
            version = versionIn(name, output);
    }
    if (version)
        remember(name, path, *version);
    else
        memory().keepSilent(name, path, *id);
    return version;
}

void Toolbox::remember(const QString& name, const QString& path, const QString& version) const
{
    const auto id = FileIdentity::of(path);
    // Kept only where no one else can write what the next run believes.
    if (id && looksLikeVersion(version) && folder_.whyUnusable(true).isEmpty())
        memory().keep(folder_.file(QStringLiteral("versions")), name, path, *id, version);
}

Tool Toolbox::found(const QString& name, const QString& path, Tool::Origin origin) const
{
    Tool tool{name, path, {}, {}, origin, {}};
    if (const auto version = versionOf(name, path))
        tool.version = *version;
    if (name == QLatin1String("yt-dlp")) {
        // A release's version is its date: 2025.11.12.
        const QStringList parts = tool.version.split(QLatin1Char('.'));
        if (parts.size() >= 3)
            tool.since = QDate(parts[0].toInt(), parts[1].toInt(), parts[2].toInt());
    }
    if (!tool.since || !tool.since->isValid())
        tool.since = QFileInfo(path).lastModified().date();
    return tool;
}

QByteArray Toolbox::stampOf(const FileIdentity& zipApplication)
{
    return QStringLiteral("%1 %2 %3\n")
        .arg(zipApplication.size)
        .arg(zipApplication.modified)
        .arg(zipApplication.inode)
        .toLatin1();
}

bool Toolbox::isUnpackedFrom(const QString& zipApplication) const
{
    const auto identity = FileIdentity::of(zipApplication);
    QFile stamp(unpacked() + QStringLiteral("/.from"));
    return identity && QFileInfo(unpacked() + QStringLiteral("/__main__.py")).isFile() &&
           stamp.open(QIODevice::ReadOnly) && stamp.read(256) == stampOf(*identity);
}

Tool Toolbox::own(const QString& name) const
{
    const QString path = folder_.file(name);
    const QFileInfo program(path);
    if (!program.isFile() || !program.isExecutable() || !folder_.whyUnusable(false).isEmpty())
        return Tool{name, {}, {}, {}, Tool::Origin::own, {}};
    Tool tool = found(name, path, Tool::Origin::own);
    // The release's zip application names python3 on PATH; so does this.
    if (name == QLatin1String("yt-dlp") && isUnpackedFrom(path))
        if (const QString python = QStandardPaths::findExecutable(QStringLiteral("python3")); !python.isEmpty())
            tool.command = QStringList{python, unpacked()};
    return tool;
}

Tool Toolbox::onPath(const QString& name) const
{
    const QString path = QStandardPaths::findExecutable(name);
    if (path.isEmpty())
        return Tool{name, {}, {}, {}, Tool::Origin::path, {}};
    return found(name, QFileInfo(path).absoluteFilePath(), Tool::Origin::path);
}

Tool Toolbox::ytDlp(const QString& chosen) const
{
    const QString name = QStringLiteral("yt-dlp");
    if (!chosen.isEmpty()) {
        const QFileInfo program(chosen);
        if (!program.isFile() || !program.isExecutable())
            return Tool{name, {}, {}, {}, Tool::Origin::chosen, {}};
        return found(name, program.absoluteFilePath(), Tool::Origin::chosen);
    }
    const Tool mine = own(name);
    const Tool system = onPath(name);
    if (!mine.usable())
        return system.usable() ? system : Tool{name, {}, {}, {}, Tool::Origin::path, {}};
    if (!system.usable() || release::compareVersions(mine.version, system.version) >= 0)
        return mine;
    return system;
}

Tool Toolbox::jsRuntime() const
{
    const Tool mine = own(QStringLiteral("deno"));
    if (isRecentEnough(mine))
        return mine;
    for (const char* name : {"deno", "node"}) {
        const Tool system = onPath(QLatin1String(name));
        if (isRecentEnough(system))
            return system;
    }
    return Tool{QStringLiteral("deno"), {}, {}, {}, Tool::Origin::own, {}};
}

QStringList Toolbox::runtimeOptions(const Tool& ytDlp, const Tool& runtime)
{
    if (ytDlp.version.isEmpty() || !runtime.found() ||
        release::compareVersions(ytDlp.version, QLatin1String(firstNeedingRuntime)) < 0)
        return {};
    return {QStringLiteral("--js-runtimes"), runtime.name + QLatin1Char(':') + runtime.path};
}

} // namespace tools
