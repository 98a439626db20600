// The tools updater against release folders served on loopback: what it
// installs, what it leaves alone, and that a bad release changes nothing.
#include "catalogue/tools/ToolUpdater.h"

#include "release_mirror.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace tools;
using release_mirror::files;

namespace {

// Every file of the folder and its bytes.
std::map<QString, std::string> contentsOf(const QString& folder)
{
    std::map<QString, std::string> found;
    for (const QString& name : QDir(folder).entryList(QDir::Files | QDir::Hidden))
        found[name] = release_mirror::read(folder + "/" + name);
    return found;
}

std::string sha256(const std::string& bytes)
{
    return QCryptographicHash::hash(QByteArray::fromStdString(bytes), QCryptographicHash::Sha256).toHex().toStdString();
}

} // namespace

class ToolUpdates : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        made = new release_mirror::releases;
        older = made->make("2026.11.01", "2.5.6");
        newer = made->make("2026.11.20", "2.6.0");
        ASSERT_TRUE(older.contains("yt-dlp") && newer.contains("SHA2-256SUMS.sig"));
    }
    static void TearDownTestSuite() { delete made; }

    Sources sources() const
    {
        Sources s{mirror.base(), mirror.base(), QByteArray::fromStdString(release_mirror::read(made->key())), {}};
        return s;
    }
    ToolUpdater updater() const { return ToolUpdater(ToolFolder(folder()), sources()); }
    QString folder() const { return dir.filePath("tools"); }

    static inline release_mirror::releases* made = nullptr;
    static inline files older, newer;
    release_mirror::mirror mirror{older};
    QTemporaryDir dir;
};

TEST_F(ToolUpdates, FirstInstallThenNothingFetchedThenTheNewerRelease)
{
    ToolUpdater first = updater();
    const Outcome ytDlp = first.updateYtDlp();
    const Outcome deno = first.updateDeno();
    ASSERT_EQ(ytDlp.state, Outcome::State::installed) << ytDlp.reason.toStdString();
    ASSERT_EQ(deno.state, Outcome::State::installed) << deno.reason.toStdString();
    EXPECT_EQ(ytDlp.version, "2026.11.01");
    EXPECT_EQ(deno.version, "2.5.6");
    EXPECT_EQ(release_mirror::read(folder() + "/yt-dlp"), older.at("yt-dlp"));
    EXPECT_TRUE(QFileInfo(folder() + "/deno").isExecutable());
    struct stat about {};
    ASSERT_EQ(::stat(QFile::encodeName(folder()).constData(), &about), 0);
    EXPECT_EQ(about.st_mode & 0777, 0700u);

    // What runs now: Melodrift's own, newer than Debian's, with its Deno.
    const Toolbox toolbox{ToolFolder(folder())};
    const Tool runs = toolbox.ytDlp({});
    EXPECT_EQ(runs.origin, Tool::Origin::own);
    EXPECT_EQ(runs.version, "2026.11.01");
    // Unpacked beside it, its modules compiled once: python3 runs that.
    EXPECT_EQ(runs.command, (QStringList{QStandardPaths::findExecutable("python3"), folder() + "/yt-dlp.d"}));
    EXPECT_TRUE(QFileInfo::exists(folder() + "/yt-dlp.d/yt_dlp/__pycache__"));
    EXPECT_EQ(Toolbox::runtimeOptions(runs, toolbox.jsRuntime()),
              (QStringList{"--js-runtimes", "deno:" + folder() + "/deno"}));

    // Current: only the small files are fetched.
    const Outcome again = updater().updateYtDlp();
    const Outcome denoAgain = updater().updateDeno();
    EXPECT_EQ(again.state, Outcome::State::current);
    EXPECT_EQ(denoAgain.state, Outcome::State::current);
    EXPECT_EQ(again.version, "2026.11.01");
    EXPECT_LT(again.fetched + denoAgain.fetched, 4096);
    EXPECT_EQ(mirror.count("/yt-dlp"), 1u);
    EXPECT_EQ(mirror.count("/deno-x86_64-unknown-linux-gnu.zip.sha256sum"), 2u);
    EXPECT_EQ(mirror.count("/deno-x86_64-unknown-linux-gnu.zip") - 2u, 1u); // the zip itself once

    // Unpacked anew when the one there is not of this yt-dlp.
    QFile::remove(folder() + "/yt-dlp.d/.from");
    EXPECT_TRUE(toolbox.ytDlp({}).command.isEmpty());
    EXPECT_EQ(updater().updateYtDlp().state, Outcome::State::current);
    EXPECT_FALSE(toolbox.ytDlp({}).command.isEmpty());

    mirror.serve(newer);
    EXPECT_EQ(updater().updateYtDlp().version, "2026.11.20");
    EXPECT_FALSE(toolbox.ytDlp({}).command.isEmpty());
    EXPECT_EQ(updater().updateDeno().version, "2.6.0");
    EXPECT_EQ(toolbox.ytDlp({}).version, "2026.11.20");
    // Nothing of the updates is left beside the programs.
    QStringList left = QDir(folder()).entryList(QDir::Files | QDir::Hidden);
    left.removeAll(".update.lock");
    left.sort();
    EXPECT_EQ(left, (QStringList{"deno", "deno.source", "versions", "yt-dlp"}));
}

// Each bad release is refused by the check it fails, and the installed tools
// stay exactly as they were.
TEST_F(ToolUpdates, EveryBadReleaseChangesNothing)
{
    ASSERT_TRUE(updater().updateYtDlp().ok());
    ASSERT_TRUE(updater().updateDeno().ok());
    const auto before = contentsOf(folder());

    const auto signedSums = [](const std::string& program) {
        files release = newer;
        release["yt-dlp"] = program;
        release["SHA2-256SUMS"] = sha256(program) + "  yt-dlp\n";
        release["SHA2-256SUMS.sig"] = made->sign(release["SHA2-256SUMS"]);
        return release;
    };
    const auto zipped = [](const QString& name, const std::string& script) {
        const QTemporaryDir work;
        QFile file(work.filePath(name));
        file.open(QIODevice::WriteOnly);
        file.write(script.data(), qint64(script.size()));
        file.close();
        release_mirror::run("/usr/bin/python3", {"-m", "zipfile", "-c", work.filePath("out.zip"), file.fileName()});
        files release = newer;
        release["deno-x86_64-unknown-linux-gnu.zip"] = release_mirror::read(work.filePath("out.zip"));
        release["deno-x86_64-unknown-linux-gnu.zip.sha256sum"] = sha256(release["deno-x86_64-unknown-linux-gnu.zip"]);
        return release;
    };

    struct bad {
        const char* what;
        files release;
        bool deno; // else yt-dlp
        const char* reason;
    };
    files tampered = newer, resigned = newer, truncated = newer, wrongZip = newer, huge = newer;
    huge["SHA2-256SUMS"] = std::string(2 << 20, '0'); // a listing is kilobytes
    tampered["yt-dlp"][100] ^= 1;
    resigned["yt-dlp"][100] ^= 1;
    resigned["SHA2-256SUMS"] = sha256(resigned["yt-dlp"]) + "  yt-dlp\n";
    truncated["yt-dlp"].resize(truncated["yt-dlp"].size() / 2);
    wrongZip["deno-x86_64-unknown-linux-gnu.zip"][30] ^= 1;
    const std::vector<bad> cases{
        {"a tampered program", tampered, false, "the download does not match its checksum in SHA2-256SUMS"},
        {"checksums made anew under the old signature", resigned, false, "SHA2-256SUMS is refused: the signature is not valid"},
        {"a truncated download", truncated, false, "the download does not match its checksum"},
        {"a listing beyond its cap", huge, false, "SHA2-256SUMS could not be fetched: Response larger than 1048576 bytes"},
        {"a program that fails --version", signedSums("#!/bin/sh\nexit 3\n"), false, "the downloaded yt-dlp does not run"},
        {"a program that answers no version", signedSums("#!/bin/sh\necho hello\n"), false, "gave no version"},
        {"a Deno zip that is not the one listed", wrongZip, true, "does not match its checksum"},
        {"a Deno zip without deno", zipped("node", "#!/bin/sh\necho deno 9.9.9\n"), true, "holds no deno"},
        {"a deno that hangs at --version", zipped("deno", "#!/bin/sh\nsleep 60\n"), true, "gave no version within 10 seconds"},
    };
    for (const bad& c : cases) {
        mirror.serve(c.release);
        const Outcome outcome = c.deno ? updater().updateDeno() : updater().updateYtDlp();
        EXPECT_EQ(outcome.state, Outcome::State::failed) << c.what;
        EXPECT_TRUE(outcome.reason.contains(QLatin1String(c.reason))) << c.what << ": " << outcome.reason.toStdString();
        EXPECT_EQ(outcome.version, c.deno ? "2.5.6" : "2026.11.01") << c.what;
        EXPECT_EQ(contentsOf(folder()), before) << c.what;
    }

    // Signed, but not by yt-dlp's own key: the shipped key refuses it.
    mirror.serve(newer);
    Sources shipped = Sources::standard();
    shipped.ytDlp = mirror.base();
    const Outcome foreign = ToolUpdater(ToolFolder(folder()), shipped).updateYtDlp();
    EXPECT_TRUE(foreign.reason.contains("SHA2-256SUMS is refused")) << foreign.reason.toStdString();
    EXPECT_EQ(contentsOf(folder()), before);
}

TEST_F(ToolUpdates, OnlyHttpsOrThisMachineIsFetchedAndFollowed)
{
    // A redirect to plain http elsewhere is refused before anything is asked there.
    mirror.redirectTo("http://192.0.2.1/");
    Sources moved = sources();
    moved.ytDlp = QUrl(mirror.base().toString() + "moved/");
    const Outcome refused = ToolUpdater(ToolFolder(folder()), moved).updateYtDlp();
    EXPECT_TRUE(refused.reason.contains("Refused a redirect to http://192.0.2.1/SHA2-256SUMS"))
        << refused.reason.toStdString();
    // One to this machine is followed.
    mirror.redirectTo(mirror.base().toString().toStdString());
    EXPECT_EQ(ToolUpdater(ToolFolder(folder()), moved).updateYtDlp().state, Outcome::State::installed);

    for (const char* address : {"http://example.com/", "file:///tmp/", "ftp://127.0.0.1/"})
        EXPECT_FALSE(ToolUpdater::isReleaseAddress(QUrl(address))) << address;
    for (const char* address : {"https://github.com/x", "http://127.0.0.1:8/", "http://[::1]/", "http://localhost/"})
        EXPECT_TRUE(ToolUpdater::isReleaseAddress(QUrl(address))) << address;
}
