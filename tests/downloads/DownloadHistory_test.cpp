// The download history: kept across opens, newest first; a store it cannot read
// is set aside, never deleted, and a new one begun.
#include "downloads/DownloadHistory.h"

#include <QDir>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

DownloadRecord entry(const QString& title, bool audio)
{
    DownloadRecord e;
    e.title = title;
    e.audio = audio;
    e.kind = audio ? "MP3" : "MP4";
    e.link = "http://127.0.0.1:1/watch?v=" + title;
    e.file = "/home/u/Downloads/" + title + (audio ? ".mp3" : ".mp4");
    return e;
}

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

TEST(DownloadHistory, KeepsEveryEntryAcrossOpensNewestFirst)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("deeper/history.sqlite");
    qint64 second = 0;
    {
        DownloadHistory history(path);
        ASSERT_TRUE(history.isOpen());
        history.add(entry("first", true));
        DownloadRecord e = entry("second", false);
        e.id = second = history.add(e);
        history.add(entry("third", true));
        e.state = DownloadRecord::State::Failed;
        e.reason = "The server answered with status 404.";
        history.update(e);
    }
    DownloadHistory again(path);
    EXPECT_TRUE(again.setAside().isEmpty());
    ASSERT_EQ(again.count(), 3);
    const QList<DownloadRecord> top = again.page(0, 2);
    ASSERT_EQ(top.size(), 2);
    EXPECT_EQ(top[0].title, "third");
    EXPECT_EQ(top[1].id, second);
    EXPECT_EQ(top[1].state, DownloadRecord::State::Failed);
    EXPECT_EQ(top[1].reason, "The server answered with status 404.");
    EXPECT_TRUE(top[1].ended.isValid() && top[1].added.isValid() && !top[1].audio && top[1].kind == "MP4");
    EXPECT_EQ(again.page(2, 2).at(0).title, "first");

    // Only ended entries are cleared; one that runs (in another program, say) stays.
    again.removeEnded();
    EXPECT_EQ(again.count(), 2);
    again.remove(again.page(0, 1).at(0).id);
    EXPECT_EQ(again.page(0, 5).at(0).title, "first");
}

TEST(DownloadHistory, AStoreItCannotReadIsSetAsideAndANewOneBegun)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("history.sqlite");
    const QByteArray garbage = QByteArray("SQLite format 3") + QByteArray(4096, '\x5A');
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(garbage) == garbage.size());
    }
    {
        DownloadHistory history(path);
        ASSERT_TRUE(history.isOpen());
        EXPECT_EQ(contents(history.setAside()), garbage);
        EXPECT_EQ(history.count(), 0);
        EXPECT_NE(history.add(entry("after", true)), 0);
    }

    // A store of a later program's schema is not read as this one's either.
    {
        QSqlDatabase later = QSqlDatabase::addDatabase("QSQLITE", "later");
        later.setDatabaseName(path);
        ASSERT_TRUE(later.open());
        QSqlQuery(later).exec(QStringLiteral("PRAGMA user_version = %1").arg(DownloadHistory::schemaVersion + 1));
        later.close();
    }
    QSqlDatabase::removeDatabase("later");
    DownloadHistory history(path);
    EXPECT_TRUE(history.isOpen());
    EXPECT_FALSE(history.setAside().isEmpty());
    EXPECT_EQ(history.count(), 0);
    EXPECT_EQ(QDir(dir.path()).entryList({"history.sqlite.damaged-*"}).size(), 2);
}
