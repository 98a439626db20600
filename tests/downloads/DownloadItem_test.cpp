#include "downloads/DownloadItem.h"

#include "job_fixture.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using State = DownloadItem::State;

TEST_F(JobTest, DestinationStaysInsideTheDownloadsFolder)
{
    const QString d = "/home/u/Downloads";
    EXPECT_EQ(DownloadItem::destinationFor(d, "Song"), d + "/Song");
    EXPECT_EQ(DownloadItem::destinationFor(d, "AC/DC - Live"), d + "/AC/DC - Live");
    EXPECT_EQ(DownloadItem::destinationFor(d, "../../etc/passwd"), d + "/_/_/etc/passwd");
    EXPECT_EQ(DownloadItem::destinationFor(d, "/"), d + "/_/_");
    EXPECT_EQ(DownloadItem::destinationFor(d, ""), d + "/_");
    EXPECT_EQ(DownloadItem::destinationFor(d, "a/./b//c/.."), d + "/a/_/b/_/c/_");
    EXPECT_EQ(DownloadItem::destinationFor(d, QString("before") + QChar(0) + "after"), d + "/before");
}

TEST_F(JobTest, DestinationLengthLimits)
{
    const QString d = "/home/u/Downloads";
    // Names of 100 characters: the whole path is cut at 1000 characters.
    QString title;
    for (int i = 0; i < 12; ++i)
        title += QString(99, QChar('a' + i)) + "/";
    EXPECT_EQ(DownloadItem::destinationFor(d, title).size(), 1000);
    QString exact(1000 - d.size() - 1, 'x');
    for (const int at : {200, 400, 600, 800})
        exact[at] = '/';
    EXPECT_EQ(DownloadItem::destinationFor(d, exact), d + "/" + exact);

    // One long name is cut to fit the file system, between characters, with room
    // for " (n)" and a suffix.
    const QString accented(200, QChar(0xE9)); // 400 bytes of UTF-8
    const QString name = DownloadItem::destinationFor(d, accented).mid(d.size() + 1);
    EXPECT_EQ(name, QString(115, QChar(0xE9)));
    EXPECT_LE(name.toUtf8().size() + QByteArray(" (99999).webm").size(), 255);
    const QString emoji = QString::fromUtf8("\xF0\x9F\x8E\xB5").repeated(100);
    EXPECT_EQ(DownloadItem::destinationFor(d, emoji).mid(d.size() + 1), emoji.left(2 * 57));
}

TEST_F(JobTest, CacheFolderAndFreshNames)
{
    const QString first = DownloadItem::getCacheFile();
    EXPECT_TRUE(first.startsWith(cache() + "/"));
    EXPECT_TRUE(QDir(cache()).exists());
    QFile(first).open(QIODevice::WriteOnly);
    EXPECT_NE(DownloadItem::getCacheFile(), first);
}

TEST_F(JobTest, CleanupEmptiesTheCacheButForFilesInUse)
{
    DownloadItem::Cleanup(); // nothing there yet: nothing happens
    const QString folder = DownloadItem::getCacheFolder();
    QFile(folder + "/left over").open(QIODevice::WriteOnly);
    QFile(folder + "/.hidden").open(QIODevice::WriteOnly);
    QDir(folder).mkpath("sub/deeper");
    QFile(folder + "/sub/deeper/file").open(QIODevice::WriteOnly);
    QFile(folder + "/in use").open(QIODevice::WriteOnly);
    // Another instance's running job holds its file.
    const int fd = ::open(QFile::encodeName(folder + "/in use").constData(), O_RDONLY);
    ASSERT_EQ(::flock(fd, LOCK_SH), 0);

    DownloadItem::Cleanup();
    EXPECT_EQ(files(folder), QStringList{"in use"});
    EXPECT_TRUE(QDir(folder).entryList(QDir::Dirs | QDir::NoDotAndDotDot).isEmpty());
    ::close(fd);
    DownloadItem::Cleanup();
    EXPECT_TRUE(files(folder).isEmpty());
}

TEST_F(JobTest, OneTransferWithBoundedProgress)
{
    serve("/stream.mp4", std::string(200000, 's'));
    const auto job = DownloadItem::create(video("A title"), stream("/stream.mp4", "video/mp4"));
    EXPECT_EQ(job->destinationfile(), downloads() + "/A title");

    std::vector<std::pair<qint64, qint64>> progress;
    job->newDataEvent.set([&](DownloadItem& j) {
        if (j.state() == State::Downloading && j.progressValue())
            progress.emplace_back(*j.progressValue(), *j.progressMaxValue());
    });
    job->startDownload();
    job->startDownload();
    waitFor([&] { return job->state() == State::TransferDone; });

    ASSERT_EQ(job->state(), State::TransferDone);
    EXPECT_EQ(requests("/stream.mp4"), 1u);
    EXPECT_EQ(QFile(job->tempfile()).size(), 200000);
    ASSERT_FALSE(progress.empty());
    EXPECT_LE(progress.size(), 101u);
    EXPECT_EQ(progress.back(), std::make_pair(qint64(200000), qint64(200000)));
}

TEST_F(JobTest, CancelIsFinal)
{
    const auto waiting = DownloadItem::create(video("Never started"), stream("/x.mp4", "video/mp4"));
    waiting->cancel();
    EXPECT_EQ(waiting->state(), State::Canceled);
    EXPECT_FALSE(waiting->hasCancelButton());
    waiting->startDownload();
    EXPECT_EQ(requests("/x.mp4"), 0u);

    serve("/big.mp4", std::string(1 << 20, 'b'));
    const auto running = DownloadItem::create(video("Stopped"), stream("/big.mp4", "video/mp4"));
    running->startDownload();
    running->cancel();
    EXPECT_FALSE(running->isDownloading());
    EXPECT_FALSE(running->progressValue());
    EXPECT_FALSE(running->progressMaxValue());
    running->startDownload();
    waitFor([] { return false; }, 200);
    EXPECT_EQ(running->state(), State::Canceled);
    EXPECT_LE(requests("/big.mp4"), 1u);
}
