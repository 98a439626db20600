// The search view against melodrift-service on loopback, offscreen: words and
// pasted addresses, the results list, progress, stale searches and failures in
// one line. (The first results' animation and downloads started from a row: the
// desktop end-to-end run; two presses at once: the catalogue's record test.)
#include "alert_recorder.h"
#include "catalogue/tools/ToolKeeper.h"
#include "platform/Localization.h"
#include "platform/Log.h"
#include "scripted_server.h"
#include "service_process.h"
#include "test_home.h"
#include "ui/widgets/ElidedLabel.h"
#include "ui/search/NewSearchController.h"
#include "ui/widgets/PZScrollView.h"
#include "ui/search/SearchResultModel.h"
#include "ui/search/resultlist/HeaderCell.h"
#include "ui/search/resultlist/MainCell.h"

#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

QStringList titles(const SearchResultModel& model)
{
    QStringList shown;
    for (const auto& video : model.videos())
        shown << video->title();
    return shown;
}

} // namespace

class TestNewSearchController : public QObject {
    Q_OBJECT
    alert_recorder alerts;
    std::unique_ptr<service_process> service;
    std::unique_ptr<NewSearchController> search;

    platform::ServiceEndpoints endpoints() const { return platform::ServiceEndpoints::at(QUrl(service->base())); }

    // Puts the text into the search field and presses Enter.
    void enter(const QString& text)
    {
        search->searchField()->setText(text);
        QTest::keyClick(search->searchField(), Qt::Key_Return);
    }

    // Waits for the search that is under way to show its results.
    void settle(int rows)
    {
        QTRY_COMPARE_WITH_TIMEOUT(search->model()->rowCount(), rows, 20000);
        QTRY_VERIFY(search->loader()->isHidden());
    }

private slots:
    void initTestCase()
    {
        platform::Localization::install(QLocale(QLocale::English));
        platform::Log::setSink([](const QString&) {});
        service = std::make_unique<service_process>(MELODRIFT_SERVICE_BINARY, MELODRIFT_CATALOGUE,
                                                    QStringList{"--latency", "feed=200"});
        QVERIFY(!service->base().isEmpty());
    }
    void init()
    {
        NewSearchController::setAnimationsEnabled(false);
        search = std::make_unique<NewSearchController>(endpoints(), alerts);
        search->view()->resize(800, 600);
        search->view()->show();
        search->applicationDidFinishLaunching();
        alerts.shown.clear();
        alerts.actions.clear();
    }
    void cleanup() { search.reset(); }
    void cleanupTestCase() { service.reset(); }

    void wordsGiveTheFeedsVideosAsRowsWithProgress()
    {
        QList<QPair<int, int>> seen;
        connect(search->progressBar(), &QProgressBar::valueChanged, this,
                [&seen, this](int value) { seen << qMakePair(value, search->progressBar()->maximum()); });
        enter("colour bars");
        settle(3);
        // In the feed's order, the titles decoded; the first row large.
        QCOMPARE(titles(*search->model()), QStringList({"The \"Quoted\" Colour Bars", "One Minute of HD Colour Bars",
                                                        "PAL Bars & Tone (75%)"}));
        PZScrollView& table = *search->tableScrollView();
        QCOMPARE(table.count(), 3);
        QVERIFY(qobject_cast<resultlist::HeaderCell*>(table.cellAt(0)));
        for (const int row : {1, 2})
            QVERIFY(qobject_cast<resultlist::MainCell*>(table.cellAt(row)));
        QVERIFY(table.cellAt(0)->height() > table.cellAt(1)->height());
        // The narrowest window's list fits its width: smaller pictures, and
        // icons with the words as tooltips and names; words again when wide.
        const auto header = static_cast<resultlist::ResultCell*>(table.cellAt(0));
        const auto row = static_cast<resultlist::ResultCell*>(table.cellAt(1));
        search->view()->resize(311, 600);
        QTRY_VERIFY(header->compactButtons() && row->compactButtons());
        QVERIFY(!table.horizontalScrollBar()->isVisible());
        for (const resultlist::ResultCell* cell : {header, row}) {
            const QPushButton* audio = cell->downloadAudioButton();
            QVERIFY(audio->text().isEmpty() && !audio->icon().isNull());
            QCOMPARE(audio->toolTip(), QString("Download audio"));
            QCOMPARE(audio->accessibleName(), QString("Download audio"));
            QVERIFY(cell->width() <= table.viewport()->width());
            QVERIFY(audio->mapTo(cell, QPoint(audio->width(), 0)).x() <= cell->width());
        }
        QCOMPARE(row->thumbnailView()->width(), 128);
        search->view()->resize(800, 600);
        QTRY_VERIFY(!row->compactButtons() && !header->compactButtons());
        QCOMPARE(row->downloadAudioButton()->text(), QString("Download audio"));
        QCOMPARE(header->thumbnailView()->size(), QSize(400, 225));
        QVERIFY(table.isVisible());
        QVERIFY(search->statusLabel()->isHidden());
        QCOMPARE(seen.mid(0, 4), (QList<QPair<int, int>>{{50, 2600}, {75, 2600}, {100, 300}, {200, 300}}));
        QCOMPARE(seen.last(), qMakePair(300, 300));

        // Markup in a title is text: the brackets show.
        enter("carpet deep dive");
        settle(1);
        auto* cell = static_cast<resultlist::ResultCell*>(search->tableScrollView()->cellAt(0));
        QCOMPARE(cell->titleLabel()->textFormat(), Qt::PlainText);
        QCOMPARE(cell->titleLabel()->text(), QString::fromUtf8("Sierpiński Carpet <Deep Dive>"));
        QCOMPARE(cell->accessibleDescription(), QString::fromUtf8("Sierpiński Carpet <Deep Dive>"));

        enter("zzqx nothing matches this");
        settle(0);
        QVERIFY(search->statusLabel()->isVisible());
        QCOMPARE(search->statusLabel()->text(), QString("No videos found"));
    }

    void onlyTheLastOfTwoQuickSearchesShows()
    {
        // The feed answers after 200 ms: the first search is still out when the second starts.
        enter("colour bars");
        enter("glider");
        settle(1);
        QTest::qWait(600);
        QCOMPARE(titles(*search->model()), QStringList({"Game of Life: Glider Parade"}));
        // Words, then an address that answers first: the words' late answer is moot.
        enter("colour bars");
        enter(service->watch("UnVsZTExMF8"));
        settle(1);
        QTest::qWait(600);
        QCOMPARE(titles(*search->model()), QStringList({"Rule 110 in Five Seconds"}));
    }

    void aFailedSearchSaysSoInOneLine()
    {
        const platform::ServiceEndpoints closed = platform::ServiceEndpoints::at(
            QUrl(QStringLiteral("http://127.0.0.1:%1").arg(scripted_server::closed_port())));
        NewSearchController unreachable(closed, alerts);
        unreachable.view()->resize(800, 600);
        unreachable.view()->show();
        unreachable.searchField()->setText("anything");
        unreachable.searchTextChange();
        QTRY_VERIFY_WITH_TIMEOUT(unreachable.statusLabel()->isVisible(), 20000);
        QVERIFY(unreachable.statusLabel()->text().startsWith("The search failed: "));
        QVERIFY(unreachable.loader()->isHidden());
        QVERIFY(alerts.shown.isEmpty());

        // A video whose page cannot be had has no stream: an alert, not a job.
        int jobs = 0;
        unreachable.downloadEvent.set([&jobs](NewSearchController&, std::shared_ptr<DownloadItem>) { ++jobs; });
        unreachable.model()->setVideos({YouTubeVideo::initFromURL(
            QUrl(QStringLiteral("http://127.0.0.1:%1/watch?v=x").arg(scripted_server::closed_port())), QUrl())});
        unreachable.downloadAudioButton(0);
        QTRY_COMPARE_WITH_TIMEOUT(alerts.shown.size(), 1, 20000);
        QCOMPARE(alerts.shown.first(), qMakePair(QString("YouTube:"), QString("No stream of this video could be found.")));
        QCOMPARE(jobs, 0);
    }

    // A failure that an old yt-dlp gives says how old it is and offers the
    // update, under the search and in an alert; the update runs (here it
    // fails: nothing answers at the release address) and says how it ended.
    void anOldYtDlpsFailureOffersTheUpdate()
    {
        test_home home;
        QTemporaryDir bin;
        QFile old(bin.filePath("yt-dlp"));
        QVERIFY(old.open(QIODevice::WriteOnly));
        old.write("#!/bin/sh\n[ \"$1\" = --version ] && { echo 2023.03.04; exit 0; }\n"
                  "echo \"ERROR: [youtube] x: Sign in to confirm you\xe2\x80\x99re not a bot.\" >&2\nexit 1\n");
        old.close();
        old.setPermissions(old.permissions() | QFile::ExeOwner);
        const QUrl closed(QStringLiteral("http://127.0.0.1:%1/").arg(scripted_server::closed_port()));
        tools::ToolKeeper keeper(tools::ToolFolder(home.path() + "/tools"), tools::Sources{closed, closed, {}, {}});
        search->setToolKeeper(&keeper);
        search->setEngine({engine::Kind::ytDlp, old.fileName(), {}});

        enter("anything");
        QTRY_VERIFY_WITH_TIMEOUT(search->toolsButton()->isVisible(), 20000);
        QCOMPARE(search->toolsButton()->text(), QString("Update yt-dlp"));
        const QString said = search->statusLabel()->text();
        QVERIFY2(said.contains("not a bot") && said.contains(QRegularExpression("\\(2023\\.03\\.04\\) is \\d+ days old")),
                 qPrintable(said));

        enter(service->watch("UnVsZTExMF8"));
        QTRY_COMPARE_WITH_TIMEOUT(alerts.shown.size(), 1, 20000);
        QVERIFY(alerts.shown.first().second.contains("days old"));
        QCOMPARE(alerts.actions.first().label, QString("Update yt-dlp"));
        QSignalSpy ended(&keeper, &tools::ToolKeeper::updateEnded);
        alerts.actions.first().run();
        QVERIFY(keeper.isUpdating());
        QTRY_COMPARE_WITH_TIMEOUT(ended.size(), 1, 20000);
        QTRY_VERIFY(search->statusLabel()->text().startsWith("Not updated: yt-dlp: SHA2-256SUMS could not be fetched"));
    }
};

QTEST_MAIN(TestNewSearchController)
#include "NewSearchController_test.moc"
