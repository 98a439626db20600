// Which yt-dlp runs and which JavaScript runtime it gets, among programs made
// by the test on a PATH of its own.
#include "catalogue/engine/AutoEngine.h"
#include "catalogue/engine/ClassicEngine.h"
#include "catalogue/engine/YtDlpEngine.h"
#include "catalogue/tools/Toolbox.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <thread>

using namespace tools;

namespace {

class scratch {
public:
    scratch() : path_(qgetenv("PATH"))
    {
        QDir().mkpath(bin());
        QDir().mkpath(own());
        qputenv("PATH", QFile::encodeName(bin()));
    }
    ~scratch() { qputenv("PATH", path_); }

    QString bin() const { return dir_.filePath("bin"); }
    QString own() const { return dir_.filePath("tools"); }

    // A program that answers --version with `answer`, and counts the times it was asked.
    QString program(const QString& where, const QString& name, const QString& answer) const
    {
        const QString path = where + "/" + name;
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.write(QStringLiteral("#!/bin/sh\necho x >> '%1.asked'\necho '%2'\n").arg(path, answer).toUtf8());
        file.close();
        file.setPermissions(file.permissions() | QFile::ExeOwner);
        return path;
    }
    int asked(const QString& path) const
    {
        QFile file(path + ".asked");
        return file.open(QIODevice::ReadOnly) ? int(file.readAll().count('\n')) : 0;
    }

private:
    QByteArray path_;
    QTemporaryDir dir_;
};

} // namespace

TEST(Toolbox, TheNewerOfOwnAndPathUnlessOneWasChosen)
{
    scratch s;
    const Toolbox toolbox{ToolFolder(s.own())};
    EXPECT_FALSE(toolbox.ytDlp({}).found());

    const QString system = s.program(s.bin(), "yt-dlp", "2023.03.04");
    EXPECT_EQ(toolbox.ytDlp({}).path, system);
    EXPECT_EQ(toolbox.ytDlp({}).origin, Tool::Origin::path);
    EXPECT_EQ(toolbox.ytDlp({}).since, QDate(2023, 3, 4));

    const QString mine = s.program(s.own(), "yt-dlp", "2025.11.12");
    EXPECT_EQ(toolbox.ytDlp({}).path, mine);
    s.program(s.bin(), "yt-dlp", "2025.11.13.232936"); // a nightly, a day newer
    EXPECT_EQ(toolbox.ytDlp({}).origin, Tool::Origin::path);
    // One that gives no version does not count.
    s.program(s.bin(), "yt-dlp", "no version here");
    EXPECT_EQ(toolbox.ytDlp({}).path, mine);

    const QString chosen = s.program(s.bin(), "my-yt-dlp", "2020.01.01");
    EXPECT_EQ(toolbox.ytDlp(chosen).path, chosen);
    EXPECT_EQ(toolbox.ytDlp(chosen).origin, Tool::Origin::chosen);
    EXPECT_FALSE(toolbox.ytDlp(s.bin() + "/missing").found());

    // A folder someone else could write into is made the user's alone first.
    QFile::setPermissions(s.own(), QFileDevice::Permissions(0x7777));
    EXPECT_EQ(toolbox.ytDlp({}).path, mine);
    EXPECT_EQ(QFileInfo(s.own()).permissions() & (QFile::WriteGroup | QFile::WriteOther), 0);
}

TEST(Toolbox, RuntimesAndTheOptionsThatNameThem)
{
    scratch s;
    const Toolbox toolbox{ToolFolder(s.own())};
    const Tool current{"yt-dlp", "/x/yt-dlp", {}, "2025.11.12", Tool::Origin::own, {}};
    const Tool older{"yt-dlp", "/x/yt-dlp", {}, "2025.10.22", Tool::Origin::own, {}};
    EXPECT_FALSE(toolbox.jsRuntime().found());

    // Node 18 is too old, 20 will do; a Deno 1 is too old, 2 wins over Node.
    s.program(s.bin(), "node", "v18.19.0");
    EXPECT_FALSE(toolbox.jsRuntime().found());
    const QString node = s.program(s.bin(), "node", "v20.19.2");
    EXPECT_EQ(Toolbox::runtimeOptions(current, toolbox.jsRuntime()), (QStringList{"--js-runtimes", "node:" + node}));
    s.program(s.bin(), "deno", "deno 1.46.3 (stable, release, x86_64-unknown-linux-gnu)");
    EXPECT_EQ(toolbox.jsRuntime().name, "node");
    const QString deno = s.program(s.bin(), "deno", "deno 2.0.0 (stable, release, x86_64-unknown-linux-gnu)");
    EXPECT_EQ(toolbox.jsRuntime().path, deno);
    const QString mine = s.program(s.own(), "deno", "deno 2.5.6 (stable, release, x86_64-unknown-linux-gnu)");
    EXPECT_EQ(Toolbox::runtimeOptions(current, toolbox.jsRuntime()), (QStringList{"--js-runtimes", "deno:" + mine}));

    // A yt-dlp before 2025.11.12 knows no such option.
    EXPECT_TRUE(Toolbox::runtimeOptions(older, toolbox.jsRuntime()).isEmpty());
}

TEST(Toolbox, AProgramIsAskedItsVersionOnceUntilItChanges)
{
    scratch s;
    const QString program = s.program(s.bin(), "yt-dlp", "2025.11.12");
    // Across Toolboxes, as across runs: the answer is kept in the tools folder.
    EXPECT_EQ(Toolbox{ToolFolder(s.own())}.ytDlp({}).version, "2025.11.12");
    EXPECT_EQ(Toolbox{ToolFolder(s.own())}.ytDlp({}).version, "2025.11.12");
    EXPECT_EQ(s.asked(program), 1);
    EXPECT_TRUE(QFile::exists(s.own() + "/versions"));

    std::this_thread::sleep_for(std::chrono::milliseconds(10)); // another modification time
    s.program(s.bin(), "yt-dlp", "2025.12.01");
    EXPECT_EQ(Toolbox{ToolFolder(s.own())}.ytDlp({}).version, "2025.12.01");
    EXPECT_EQ(s.asked(program), 2);

    // A damaged memory is passed over, never believed.
    QFile memory(s.own() + "/versions");
    ASSERT_TRUE(memory.open(QIODevice::WriteOnly));
    memory.write("yt-dlp\t" + QFile::encodeName(program) + "\tgarbage\t\t\t9999.99.99\n\0\xff\n");
    memory.close();
    EXPECT_EQ(Toolbox{ToolFolder(s.own())}.ytDlp({}).version, "2025.12.01");
}

// The automatic choice for the real service runs yt-dlp only when one is there.
TEST(Toolbox, TheAutomaticEngineTakesYtDlpWhenThereIsOne)
{
    scratch s;
    qputenv("XDG_DATA_HOME", QFile::encodeName(s.own() + "/data"));
    const auto automatic = std::make_shared<engine::AutoEngine>(engine::Choice{},
                                                                platform::ServiceEndpoints::defaults());
    EXPECT_TRUE(std::dynamic_pointer_cast<engine::ClassicEngine>(automatic->chosen()));
    s.program(s.bin(), "yt-dlp", "2025.11.12");
    EXPECT_TRUE(std::dynamic_pointer_cast<engine::YtDlpEngine>(automatic->chosen()));
    qunsetenv("XDG_DATA_HOME");
}
