// The application shell: launch order, sidebar, window size, settings window,
// and readable text under a dark system theme.
#include "catalogue/tools/ToolKeeper.h"
#include "downloads/Settings.h"
#include "platform/Localization.h"
#include "platform/Log.h"
#include "ui/shell/AppDelegate.h"
#include "ui/downloads/DownloadsController.h"
#include "ui/shell/MenuDelegate.h"
#include "ui/shell/MenuModel.h"
#include "ui/search/NewSearchController.h"
#include "ui/widgets/PZBackgroundView.h"
#include "ui/widgets/PZHeaderBackgroundView.h"
#include "ui/widgets/PZScrollView.h"
#include "ui/settings/SettingsWindowController.h"
#include "alert_recorder.h"
#include "event_watch.h"
#include "test_home.h"

#include <QAbstractButton>
#include <QAbstractItemModelTester>
#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QMessageBox>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QProgressBar>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

#include <cmath>

namespace {

platform::ServiceEndpoints nowhere()
{
    return platform::ServiceEndpoints::at(QUrl("http://127.0.0.1:9"));
}

int selectedRow(const MenuDelegate& menu)
{
    const QModelIndexList rows = menu.outlineView()->selectionModel()->selectedRows();
    return rows.size() == 1 ? rows.first().row() : -1;
}

// WCAG's contrast ratio of two colours.
double contrast(const QColor& a, const QColor& b)
{
    const auto luminance = [](const QColor& c) {
        const auto channel = [](double v) { return v <= 0.03928 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); };
        return 0.2126 * channel(c.redF()) + 0.7152 * channel(c.greenF()) + 0.0722 * channel(c.blueF());
    };
    const double la = luminance(a), lb = luminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

} // namespace

class TestAppDelegate : public QObject {
    Q_OBJECT
    alert_recorder alerts;
    QTemporaryDir programs_;
private slots:
    void initTestCase()
    {
        platform::Localization::install(QLocale(QLocale::English));
        platform::Log::setSink([](const QString&) {});
        // Written before any thread launches a program: one launched meanwhile
        // would hold it open for writing, and running it would fail as busy.
        QFile script(programs_.filePath("my yt-dlp"));
        QVERIFY(script.open(QIODevice::WriteOnly) && script.write("#!/bin/sh\necho 2099.01.01\n") > 0);
        script.close();
        script.setPermissions(script.permissions() | QFileDevice::ExeOwner);
    }

    void windowIsShownOnlyAfterTheCacheWipeAndTheSearchViewsLaunch()
    {
        // Whatever is left in the cache goes (what another program still uses stays:
        // the command-line runs).
        test_home home;
        QDir().mkpath(home.cache() + "/sub/deeper");
        for (const char* name : {"/left over", "/.hidden", "/sub/deeper/file"})
            QFile(home.cache() + name).open(QIODevice::WriteOnly);

        AppDelegate app(nowhere(), &alerts);
        NewSearchController* search = app.menu()->getNewSearchController();
        bool shown = false, cacheWasEmpty = false, searchWasTold = false;
        int rowAtShow = -1;
        event_watch watch(QEvent::Show, [&] {
            shown = true;
            cacheWasEmpty =
                QDir(home.cache()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).isEmpty();
            searchWasTold = search->tableScrollView()->delegate() == search;
            rowAtShow = selectedRow(*app.menu());
        });
        app.window()->installEventFilter(&watch);

        app.applicationDidFinishLaunching();
        QVERIFY(!app.window()->isVisible());
        QTRY_VERIFY(shown);
        QVERIFY(cacheWasEmpty);
        QVERIFY(searchWasTold);
        QCOMPARE(rowAtShow, 1);
        QCOMPARE(app.menu()->currentView(), search->view());
    }

    // (The stored choice shown, and a click saved: the desktop end-to-end run's restart.)
    void windowSizeLimitAndSettingsWindowMadeOnFirstUseAndKept()
    {
        test_home home;
        AppDelegate app(nowhere(), &alerts);
        const QSizeF current(app.window()->size());
        QCOMPARE(app.windowWillResize({500.1, 300.1}), QSizeF(500.1, 300.1));
        QCOMPARE(app.windowWillResize({500.0, 600.0}), current);
        QCOMPARE(app.windowWillResize({800.0, 300.0}), current);
        app.window()->resize(500, 300);
        QVERIFY(app.window()->width() > 500);
        QVERIFY(app.window()->height() > 300);

        QVERIFY(!app.settingsWindowController());
        app.settingsClick();
        SettingsWindowController* settings = app.settingsWindowController();
        QVERIFY(settings && settings->window()->isVisible() && !settings->window()->isModal());
        settings->window()->close();
        app.settingsClick();
        QCOMPARE(app.settingsWindowController(), settings);

        // (Each answer runs a program or writes a file on a worker; a loaded
        // machine may take a while.)
        constexpr int slow = 20000;
        // A yt-dlp of the user's own: its version is shown, it is stored, and
        // searches run it from now on; then back to the one on PATH.
        const QString mine = programs_.filePath("my yt-dlp");
        settings->chooseYtDlp(mine);
        QTRY_VERIFY2_WITH_TIMEOUT(settings->engineMatrix()->button(1)->text().contains("2099.01.01"),
                                  qPrintable(settings->engineMatrix()->button(1)->text()), slow);
        QVERIFY(settings->ytDlpProgram()->text().contains(mine));
        QCOMPARE(app.menu()->getNewSearchController()->engineChoice().ytDlp, mine);
        QTRY_COMPARE_WITH_TIMEOUT(Settings::engineChoice().ytDlp, mine, slow);
        settings->chooseYtDlp({});
        QTRY_VERIFY_WITH_TIMEOUT(!settings->ytDlpProgram()->text().contains(mine) &&
                    !settings->engineMatrix()->button(1)->text().contains("2099"), slow);
        QTRY_COMPARE_WITH_TIMEOUT(Settings::engineChoice().ytDlp, QString(), slow);
        QCOMPARE(app.menu()->getNewSearchController()->engineChoice().ytDlp, QString());

        // The Downloads folder: a writable one is shown and stored; a file
        // in its place is refused with the reason, and nothing changes.
        const QString folder = home.path() + "/Saved here";
        QVERIFY(QDir().mkpath(folder));
        settings->chooseFolder(folder);
        QTRY_COMPARE_WITH_TIMEOUT(settings->folderLabel()->text(), folder, slow);
        QCOMPARE(Settings::downloadFolder(), folder);
        settings->chooseFolder(mine);
        QMessageBox* refusal = nullptr;
        QTRY_VERIFY_WITH_TIMEOUT((refusal = settings->window()->findChild<QMessageBox*>()) != nullptr, slow);
        QVERIFY(refusal->text().contains(mine));
        QCOMPARE(settings->folderLabel()->text(), folder);
        QCOMPARE(Settings::downloadFolder(), folder);
    }

    // How files are saved: the stored choices shown, each new one stored at once.
    void savingChoicesShowWhatIsStoredAndStoreEachChoice()
    {
        test_home home;
        Settings::setVideoQuality(720);
        Settings::setSound(Settings::Sound::Original);
        Settings::setTagFiles(false);
        Settings::setSubtitles("eo"); // a language the list does not offer
        Settings::setAutomaticSubtitles(true);
        AppDelegate app(nowhere(), &alerts);
        app.settingsClick();
        SettingsWindowController& settings = *app.settingsWindowController();
        QComboBox& quality = *settings.videoQuality();
        QComboBox& sound = *settings.sound();
        QComboBox& subtitles = *settings.subtitles();
        for (QWidget* control : std::initializer_list<QWidget*>{&quality, &sound, &subtitles, settings.tagFiles(),
                                                                settings.automaticSubtitles()})
            QVERIFY(!control->accessibleName().isEmpty());
        QCOMPARE(quality.currentText(), QString("Up to 720p"));
        QCOMPARE(sound.currentData().toInt(), int(Settings::Sound::Original));
        QVERIFY(!settings.tagFiles()->isChecked());
        QCOMPARE(subtitles.currentText(), QString("Esperanto"));
        QVERIFY(settings.automaticSubtitles()->isChecked() && settings.automaticSubtitles()->isEnabled());
        QCOMPARE(subtitles.itemText(subtitles.findData("pt-BR")), QString("Portuguese (Brazil)"));

        constexpr int slow = 20000; // each write lands on a worker
        quality.setCurrentIndex(quality.findText("Best"));
        QTRY_COMPARE_WITH_TIMEOUT(Settings::videoQuality(), 0, slow);
        quality.setCurrentIndex(quality.findText("Up to 1440p"));
        sound.setCurrentIndex(sound.findData(int(Settings::Sound::MP3)));
        settings.tagFiles()->click();
        subtitles.setCurrentIndex(subtitles.findText("German"));
        QTRY_COMPARE_WITH_TIMEOUT(Settings::subtitles(), QString("de"), slow);
        QCOMPARE(Settings::videoQuality(), 1440);
        QCOMPARE(Settings::sound(), Settings::Sound::MP3);
        QVERIFY(Settings::tagFiles());
        subtitles.setCurrentIndex(subtitles.findData("system"));
        settings.automaticSubtitles()->click();
        QTRY_VERIFY_WITH_TIMEOUT(!Settings::automaticSubtitles(), slow);
        QCOMPARE(Settings::subtitles(), QString("system"));
        // With none, the automatic ones are no choice.
        subtitles.setCurrentIndex(0);
        QVERIFY(!settings.automaticSubtitles()->isEnabled());
        QTRY_COMPARE_WITH_TIMEOUT(Settings::subtitles(), QString(), slow);
    }

    // The window's ways in: the sidebar, a dropped link, and the keys.
    void sidebarDroppedWatchPageLinkAndShortcutsReachTheViews()
    {
        test_home home;
        AppDelegate app(nowhere(), &alerts);
        app.applicationDidFinishLaunching();
        QTRY_VERIFY(app.window()->isVisible());
        MenuDelegate& menu = *app.menu();
        NewSearchController& search = *menu.getNewSearchController();
        QAbstractItemModelTester tester(menu.model(), QAbstractItemModelTester::FailureReportingMode::QtTest);

        // Entry texts and clicks: the desktop end-to-end runs; here the pictures.
        const QAbstractItemModel& model = *menu.model();
        QCOMPARE(model.rowCount(), 3);
        QVERIFY(!model.index(0, 0).data(Qt::DecorationRole).isValid());
        for (const int row : {1, 2})
            QVERIFY(!model.index(row, 0).data(Qt::DecorationRole).value<QIcon>().pixmap(16, 16).isNull());
        // The header is never left selected: row 1 and the search view instead;
        // choosing the entry already shown changes nothing.
        QSignalSpy removed(menu.placeHolderView(), &QStackedWidget::widgetRemoved);
        QItemSelectionModel& selection = *menu.outlineView()->selectionModel();
        selection.select(model.index(0, 0), QItemSelectionModel::ClearAndSelect);
        QCOMPARE(selectedRow(menu), 1);
        QCOMPARE(menu.currentView(), search.view());
        selection.select(model.index(1, 0), QItemSelectionModel::ClearAndSelect);
        QCOMPARE(menu.currentView(), search.view());
        QCOMPARE(removed.count(), 0);

        menu.setSubViewDownloads();
        const auto drop = [&app](const QMimeData& data) {
            QDragEnterEvent enter(QPoint(300, 200), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(app.window(), &enter);
            if (!enter.isAccepted())
                return false;
            QDropEvent dropped(QPointF(300, 200), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(app.window(), &dropped);
            return dropped.isAccepted();
        };
        QMimeData file, words, link, text;
        file.setUrls({QUrl::fromLocalFile(home.path() + "/song.mp3")});
        words.setText("just some words");
        QVERIFY(!drop(file) && !drop(words));
        QCOMPARE(app.menu()->currentView(), app.menu()->downloadController()->view());

        link.setUrls({QUrl("http://127.0.0.1:9/watch?v=UnVsZTExMF8")});
        QVERIFY(drop(link));
        QCOMPARE(app.menu()->currentView(), search.view());
        QCOMPARE(search.searchField()->text(), QString("http://127.0.0.1:9/watch?v=UnVsZTExMF8"));
        QVERIFY(search.loader()->isVisible()); // the search runs
        text.setText("  http://127.0.0.1:9/watch?v=other\n");
        QVERIFY(drop(text));
        QCOMPARE(search.searchField()->text(), QString("http://127.0.0.1:9/watch?v=other"));

        app.window()->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(app.window()));
        // The shown view is the holder's only one.
        QTest::keyClick(app.window(), Qt::Key_2, Qt::ControlModifier);
        QCOMPARE(menu.currentView(), menu.downloadController()->view());
        QCOMPARE(selectedRow(menu), 2);
        QCOMPARE(menu.placeHolderView()->count(), 1);
        QTest::keyClick(app.window(), Qt::Key_1, Qt::ControlModifier);
        QCOMPARE(menu.currentView(), menu.getNewSearchController()->view());
        menu.setSubViewDownloads();
        menu.outlineView()->setFocus();
        QTest::keyClick(app.window(), Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(menu.currentView(), menu.getNewSearchController()->view());
        QTRY_VERIFY(menu.getNewSearchController()->searchField()->hasFocus());
        QTest::keyClick(app.window(), Qt::Key_Comma, Qt::ControlModifier);
        QVERIFY(app.settingsWindowController() && app.settingsWindowController()->window()->isVisible());
        // The dropped addresses' searches end before the program does.
        QTRY_VERIFY_WITH_TIMEOUT(search.loader()->isHidden(), 20000);
    }

    // The daily update: for the real service read through yt-dlp, while wanted,
    // once a day. (Its releases here: a closed port on this machine.)
    void theDailyUpdateRunsOnlyWhenDueWantedAndForTheRealService()
    {
        for (const char* releases : {"MELODRIFT_YTDLP_RELEASES", "MELODRIFT_DENO_RELEASES"})
            qputenv(releases, "http://127.0.0.1:9/");
        test_home home;
        Settings::setEngineChoice({engine::Kind::automatic, programs_.filePath("my yt-dlp"), {}});
        // Whether the launch began an update (which then ended).
        const auto launch = [this](const platform::ServiceEndpoints& endpoints) {
            AppDelegate app(endpoints, &alerts);
            QSignalSpy started(app.toolKeeper(), &tools::ToolKeeper::updateStarted);
            QSignalSpy ended(app.toolKeeper(), &tools::ToolKeeper::updateEnded);
            app.setEngine(Settings::engineChoice());
            app.applicationDidFinishLaunching();
            // One not begun leaves nothing to wait for but a while.
            return QTest::qWaitFor([&] { return app.window()->isVisible(); }, 20000) &&
                   QTest::qWaitFor([&] { return !started.isEmpty(); }, 1500) &&
                   QTest::qWaitFor([&] { return !ended.isEmpty(); }, 20000);
        };
        QVERIFY(!launch(nowhere())); // a stand-in is read as it is
        QVERIFY(launch(platform::ServiceEndpoints::defaults()));
        Settings::setKeepToolsCurrent(false);
        QVERIFY(!launch(platform::ServiceEndpoints::defaults()));
        Settings::setKeepToolsCurrent(true);
        // Checked less than a day ago: not again.
        const QString stamp = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation) + "/tools/last-check";
        QFile(stamp).open(QIODevice::WriteOnly);
        QVERIFY(!launch(platform::ServiceEndpoints::defaults()));
    }

    void textStaysReadableUnderADarkTheme()
    {
        test_home home;
        const QPalette saved = QApplication::palette();
        QPalette dark;
        for (const auto role : {QPalette::Window, QPalette::Base, QPalette::Button})
            dark.setColor(role, QColor(0x20, 0x20, 0x20));
        for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
            dark.setColor(role, QColor(0xee, 0xee, 0xee));
        QApplication::setPalette(dark);
        {
            AppDelegate app(nowhere(), &alerts);
            MenuDelegate& menu = *app.menu();
            int labels = 0;
            for (QWidget* view : {menu.getNewSearchController()->view(), menu.downloadController()->view()}) {
                for (QWidget* w : view->findChildren<QWidget*>()) {
                    // Buttons that show a picture only have no text to read; buttons draw their own face.
                    const auto* button = qobject_cast<QAbstractButton*>(w);
                    const auto* tool = qobject_cast<QToolButton*>(w);
                    if (tool && tool->toolButtonStyle() == Qt::ToolButtonIconOnly)
                        continue;
                    QColor ground = button ? w->palette().color(QPalette::Button) : QColor();
                    if (!button && !qobject_cast<QLabel*>(w))
                        continue;
                    for (QWidget* up = w->parentWidget(); up && !ground.isValid(); up = up->parentWidget()) {
                        if (qobject_cast<PZHeaderBackgroundView*>(up))
                            ground = PZHeaderBackgroundView::stripColor();
                        else if (qobject_cast<PZBackgroundView*>(up))
                            ground = Qt::white;
                    }
                    const QColor text = w->palette().color(w->foregroundRole());
                    QVERIFY2(contrast(text, ground) >= 4.5, qPrintable(w->accessibleName() + " " + text.name() + " on " + ground.name()));
                    ++labels;
                }
            }
            QVERIFY(labels >= 3);
        }
        QApplication::setPalette(saved);
    }
};

QTEST_MAIN(TestAppDelegate)
#include "AppDelegate_test.moc"
