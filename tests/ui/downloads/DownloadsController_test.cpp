// The downloads view over real jobs against loopback servers: the list model,
// each row's controls in every state of a job, speed and time left.
#include "downloads/AudioDownloadItem.h"
#include "media.h"
#include "platform/Localization.h"
#include "platform/Log.h"
#include "route_server.h"
#include "scripted_server.h"
#include "test_home.h"
#include "ui/widgets/CellListView.h"
#include "ui/downloads/DownloadListModel.h"
#include "ui/downloads/DownloadsController.h"
#include "ui/widgets/ElidedLabel.h"
#include "ui/downloads/TransferRate.h"
#include "ui/downloads/downloadlist/MainCell.h"

#include <QAbstractItemModelTester>
#include <QTemporaryDir>
#include <QAccessible>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <map>

using State = DownloadItem::State;
using namespace std::chrono_literals;

namespace {

// What a row shows, in a form a test can compare.
struct Shown {
    QString status;
    QString detail;
    bool bar = false;
    bool spinning = false;
    bool full = false;
    bool cancel = false;
    bool play = false;
};

Shown shown(const downloadlist::MainCell& cell)
{
    const QProgressBar& bar = *cell.progressBar();
    return {cell.statusLabel()->text(),
            cell.detailLabel()->fullText(),
            !bar.isHidden(),
            bar.maximum() == 0,
            bar.maximum() > 0 && bar.value() == bar.maximum(),
            !cell.cancelButton()->isHidden(),
            !cell.playButton()->isHidden()};
}

std::shared_ptr<YouTubeVideo> video(const QString& title, qint64 seconds = 2)
{
    auto v = YouTubeVideo::initFromURL(QUrl("http://127.0.0.1/watch?v=x"), QUrl());
    v->setTitle(title);
    v->setSeconds(seconds);
    return v;
}

std::shared_ptr<YouTubeUrl> stream(const std::string& url)
{
    return YouTubeUrl::init({url, "medium", "video/webm"});
}

std::string okReply(const std::string& body)
{
    return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" + body;
}

} // namespace

class TestDownloadsController : public QObject {
    Q_OBJECT
private slots:
    void initTestCase()
    {
        platform::Localization::install(QLocale(QLocale::English));
        platform::Log::setSink([](const QString&) {});
    }

    // Newest on top, one row repainted per change; the rows of failed and canceled jobs.
    void newestJobOnTopFailedAndCanceledRows()
    {
        test_home home;
        route_server missing([](const route_server::request&) { return route_server::response{404, "gone"}; });
        const std::string body(400000, 'x');
        scripted_server slow(std::vector<scripted_server::reply>{{okReply(body), std::string::npos, 1000, 20ms}});
        DownloadsController controller;
        DownloadListModel& model = *controller.model();
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);

        for (const char* title : {"one", "two", "three"})
            controller.addDownload(AudioDownloadItem::initWithBitrate(video(title), stream(missing.base() + "/s"), 320));
        QTRY_COMPARE(model.rowCount(), 3);
        QCOMPARE(controller.tableView()->count(), 3);
        // A screen reader may ask for a child that has gone since it counted them.
        QAccessibleInterface* list = QAccessible::queryAccessibleInterface(controller.tableView());
        QVERIFY(list->childCount() > 0);
        QCOMPARE(list->child(list->childCount()), nullptr);
        QCOMPARE(model.index(0).data().toString(), QString("three"));
        QCOMPARE(model.index(2).data().toString(), QString("one"));
        QCOMPARE(controller.tableView()->cellAt(0)->accessibleDescription(), QString("three"));

        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        const auto stateOf = [&model](int row) { return State(model.index(row).data(DownloadListModel::StateRole).toInt()); };
        QTRY_COMPARE(stateOf(0), State::Failed);
        QTRY_COMPARE(stateOf(2), State::Failed);
        for (const QList<QVariant>& change : changed)
            QCOMPARE(change[0].toModelIndex(), change[1].toModelIndex());
        // Finished jobs stay for the run, with the reason.
        QCOMPARE(model.rowCount(), 3);
        const Shown failed = shown(*static_cast<downloadlist::MainCell*>(controller.tableView()->cellAt(0)));
        QCOMPARE(failed.status, QString("Failed"));
        QVERIFY(failed.detail.contains("404"));
        QVERIFY(!failed.bar && !failed.cancel && !failed.play);

        const auto cancelled = AudioDownloadItem::initWithBitrate(video("Slow"), stream(slow.url("/s")), 320);
        controller.addDownload(cancelled);
        QTRY_COMPARE(model.rowCount(), 4);
        auto* cell = static_cast<downloadlist::MainCell*>(controller.tableView()->cellAt(0));
        QTRY_VERIFY(cancelled->progressValue().value_or(0) > 0);
        QTest::mouseClick(cell->cancelButton(), Qt::LeftButton);
        QCOMPARE(cancelled->state(), State::Canceled);
        const Shown canceled = shown(*cell);
        QCOMPARE(canceled.status, QString("Canceled"));
        QCOMPARE(canceled.detail, QString("MP3")); // its kind only: nothing was saved
        QVERIFY(!canceled.bar && !canceled.cancel && !canceled.play);
        // The failed job moved down a row and kept what it showed.
        QCOMPARE(shown(*static_cast<downloadlist::MainCell*>(controller.tableView()->cellAt(1))).status, QString("Failed"));
    }

    void rowFollowsAnAudioJobFromWaitingToDone()
    {
        test_home home;
        QTemporaryDir clips;
        QVERIFY(media::make(clips.path() + "/clip.webm", 2));
        const std::string clip = media::contents(clips.path() + "/clip.webm").toStdString();
        // Paced, so that the transfer lasts long enough to be measured.
        scripted_server server(std::vector<scripted_server::reply>{
            {okReply(clip), std::string::npos, clip.size() / 40 + 1, 25ms}});

        DownloadsController controller;
        DownloadListModel& model = *controller.model();
        // The rows exist before the spy below: they repaint before it reads them.
        CellListView& rows = *controller.tableView();
        auto now = TransferRate::Clock::now();
        model.setClock([&now] { return now += 100ms; });
        std::vector<std::pair<State, Shown>> seen;
        bool speedShown = false;
        const auto job = AudioDownloadItem::initWithBitrate(video("Clip"), stream(server.url("/clip.webm")), 320);
        QObject::connect(&model, &QAbstractItemModel::dataChanged, [&] {
            const Shown now = shown(*static_cast<downloadlist::MainCell*>(rows.cellAt(0)));
            speedShown = speedShown || (now.detail.contains(" of ") && now.detail.contains("/s") && now.detail.contains("left"));
            if (seen.empty() || seen.back().first != job->state())
                seen.emplace_back(job->state(), now);
        });

        model.addDownload(job);
        const Shown waiting = shown(*static_cast<downloadlist::MainCell*>(rows.cellAt(0)));
        QCOMPARE(waiting.status, QString("Waiting"));
        QVERIFY(waiting.bar && waiting.spinning && waiting.cancel && !waiting.play);

        job->startDownload();
        QTRY_VERIFY_WITH_TIMEOUT(job->state() == State::Done, 60000);
        QVERIFY(speedShown);

        std::map<State, Shown> at(seen.begin(), seen.end());
        // (The Done row, its line and its Play: the desktop end-to-end runs.)
        QVERIFY(at.count(State::Downloading) && at.count(State::Converting));
        QCOMPARE(at[State::Downloading].status, QString("Downloading"));
        QVERIFY(at[State::Downloading].cancel && !at[State::Downloading].play);
        QCOMPARE(at[State::Converting].status, QString("Converting"));
        QVERIFY(at[State::Converting].bar && at[State::Converting].cancel && !at[State::Converting].play);
    }

    // Earlier runs' rows below the run's jobs, newest first, a page at a time, a
    // file gone already at the start said so; removed rows leave the store too.
    // (A file there, and files left by Remove and Clear: the desktop history run.)
    void historyPagesInBelowTheRunsJobs()
    {
        test_home home;
        route_server missing([](const route_server::request&) { return route_server::response{404, "gone"}; });
        QTemporaryDir dir;
        const QString path = dir.filePath("history.sqlite");
        constexpr int entries = DownloadListModel::pageSize + 5;
        {
            DownloadHistory store(path);
            for (int i = 0; i < entries; ++i) {
                DownloadRecord e;
                e.title = QString("old %1").arg(i);
                e.kind = "MP3";
                e.file = dir.filePath("gone.mp3");
                // The oldest never ended: its program was killed.
                e.state = i == 0 ? DownloadRecord::State::Running : DownloadRecord::State::Done;
                store.add(e);
            }
        }
        {
            DownloadListModel model(std::make_shared<HistoryQueue>(path));
            QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
            model.start();
            // Pages come back later; the tester asks for some itself.
            QTRY_VERIFY((model.fetchMore({}), !model.canFetchMore({})));
            QCOMPARE(model.rowCount(), entries);
            QCOMPARE(model.index(0).data().toString(), QString("old %1").arg(entries - 1));
            QVERIFY(model.index(0).data(DownloadListModel::FileGoneRole).toBool());
            QVERIFY(!model.index(0).data(DownloadListModel::HasPlayButtonRole).toBool());

            const auto job = AudioDownloadItem::initWithBitrate(video("new"), stream(missing.base() + "/s"), 320);
            model.addDownload(job);
            job->startDownload();
            QCOMPARE(model.index(0).data().toString(), QString("new"));
            QTRY_COMPARE(job->state(), State::Failed);
            model.removeEndedRow(1);
            QCOMPARE(model.rowCount(), entries);
            model.clearEnded();
            QCOMPARE(model.rowCount(), 1);
            QVERIFY(!model.index(0).data(DownloadListModel::EndedRole).toBool());
            QVERIFY(model.index(0).data(DownloadListModel::HasRemoveRole).toBool());
            model.removeEndedRow(0);
            QCOMPARE(model.rowCount(), 0);
        }
        QCOMPARE(DownloadHistory(path).count(), 0);
    }

    void speedAndTimeLeftFollowTheLastSeconds()
    {
        // A slower pace shows within the window, not diluted by the start.
        TransferRate rate;
        const auto t0 = TransferRate::Clock::now();
        for (int s = 0; s <= 10; ++s)
            rate.sample(s <= 5 ? 100000 * s : 500000 + 10000 * (s - 5), 2000000, t0 + std::chrono::seconds(s));
        QCOMPARE(*rate.bytesPerSecond(), 10000.0);
        QCOMPARE(*rate.secondsLeft(), qint64(145));
        // A transfer that starts over starts the measure over; too short a span tells
        // nothing; an unknown total has no time left.
        rate.sample(0, std::nullopt, t0 + 11s);
        rate.sample(4000, std::nullopt, t0 + 11400ms);
        QVERIFY(!rate.bytesPerSecond());
        rate.sample(50000, std::nullopt, t0 + 12s);
        QCOMPARE(*rate.bytesPerSecond(), 50000.0);
        QVERIFY(!rate.secondsLeft());
    }

    // (A spinning bar while the size is unknown, a full one when done: the rows' tests.)
    void progressBarOfMoreThanItsIntegersHold()
    {
        // Six GiB do not fit the bar's integers: both ends are scaled alike.
        const qint64 gib = qint64(1) << 30;
        const auto half = *downloadlist::MainCell::barValues(3 * gib, 6 * gib);
        QVERIFY(half.first > 0);
        QCOMPARE(half.second, half.first / 2);
    }
};

QTEST_MAIN(TestDownloadsController)
#include "DownloadsController_test.moc"
