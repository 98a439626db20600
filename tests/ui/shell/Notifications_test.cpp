// Desktop notifications of ended jobs, against a fake notification service on
// a private session bus (the test runs under dbus-run-session): one per job that
// ends while the window is inactive, none while it is active, none and no
// complaint without a service; pressing one shows the Downloads view.
#include "alert_recorder.h"
#include "downloads/VideoDownloadItem.h"
#include "log_capture.h"
#include "platform/Localization.h"
#include "route_server.h"
#include "test_home.h"
#include "ui/shell/AppDelegate.h"
#include "ui/downloads/DownloadsController.h"
#include "ui/shell/MenuDelegate.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QScopeGuard>
#include <QTest>

class FakeNotificationService : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    struct Shown {
        QString summary;
        QString body;
        QStringList actions;
    };
    QList<Shown> shown;

public slots:
    uint Notify(const QString&, uint, const QString&, const QString& summary, const QString& body,
                const QStringList& actions, const QVariantMap&, int)
    {
        shown.append({summary, body, actions});
        return static_cast<uint>(shown.size());
    }
    QStringList GetCapabilities() { return {"body", "actions"}; }

signals:
    void ActionInvoked(uint id, const QString& action);
};

namespace {

QStringList warnings;

void recordWarnings(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type != QtDebugMsg && type != QtInfoMsg)
        warnings << message;
}

} // namespace

class TestNotifications : public QObject {
    Q_OBJECT
    alert_recorder alerts;
    route_server server{[](const route_server::request& r) {
        if (r.target == "/clip.mp4")
            return route_server::response{200, std::string(2048, 'v')};
        return route_server::response{404, "gone"};
    }};

    std::shared_ptr<DownloadItem> job(const QString& title, const std::string& path)
    {
        auto video = YouTubeVideo::initFromURL(QUrl("http://127.0.0.1/watch?v=x"), QUrl());
        video->setTitle(title);
        auto item = VideoDownloadItem::init(video, YouTubeUrl::init({server.base() + path, "medium", "video/mp4"}));
        item->setConvert(false);
        return item;
    }

private slots:
    void initTestCase()
    {
        platform::Localization::install(QLocale(QLocale::English));
        QVERIFY2(QDBusConnection::sessionBus().isConnected(), "run under dbus-run-session");
    }

    void oneForEachJobThatEndsWhileTheWindowIsElsewhere()
    {
        FakeNotificationService fake;
        QDBusConnection bus = QDBusConnection::sessionBus();
        QVERIFY(bus.registerService("org.freedesktop.Notifications"));
        QVERIFY(bus.registerObject("/org/freedesktop/Notifications", &fake,
                                   QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals));
        test_home home;
        log_capture log;
        AppDelegate app(platform::ServiceEndpoints::at(QUrl("http://127.0.0.1:9")), &alerts);
        DownloadsController& downloads = *app.menu()->downloadController();

        // The window is not the active one: both endings are told.
        const auto saved = job("Saved Clip", "/clip.mp4");
        const auto missing = job("Missing <Clip>", "/missing.mp4");
        downloads.addDownload(saved);
        downloads.addDownload(missing);
        QTRY_COMPARE_WITH_TIMEOUT(fake.shown.size(), 2, 20000);
        QTRY_COMPARE(saved->state(), DownloadItem::State::Done);
        QStringList summaries{fake.shown[0].summary, fake.shown[1].summary};
        summaries.sort();
        QCOMPARE(summaries, QStringList({"Missing <Clip>", "Saved Clip"}));
        for (const auto& shown : fake.shown) {
            if (shown.summary == "Saved Clip")
                QCOMPARE(shown.body, QString("Saved in the Downloads folder"));
            else
                QCOMPARE(shown.body, QString("Failed: The server answered with status 404."));
            QVERIFY(shown.actions.contains("default"));
        }

        // Pressing one shows the Downloads view.
        app.menu()->setSubViewNewSearch();
        emit fake.ActionInvoked(1, "default");
        QTRY_COMPARE(app.menu()->currentView(), downloads.view());

        // With the window active, the job's own row says it all.
        app.window()->show();
        app.window()->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(app.window()));
        const auto seen = job("Seen Clip", "/missing.mp4");
        downloads.addDownload(seen);
        QTRY_COMPARE(seen->state(), DownloadItem::State::Failed);
        QTest::qWait(200);
        QCOMPARE(fake.shown.size(), 2);

        bus.unregisterObject("/org/freedesktop/Notifications");
        QVERIFY(bus.unregisterService("org.freedesktop.Notifications"));
    }

    void withoutAServiceNothingHappensQuietly()
    {
        QVERIFY(!QDBusConnection::sessionBus().interface()->isServiceRegistered("org.freedesktop.Notifications"));
        warnings.clear();
        const QtMessageHandler previous = qInstallMessageHandler(recordWarnings);
        const auto restore = qScopeGuard([previous] { qInstallMessageHandler(previous); });
        test_home home;
        log_capture log;
        AppDelegate app(platform::ServiceEndpoints::at(QUrl("http://127.0.0.1:9")), &alerts);
        const auto ended = job("Nobody Told", "/missing.mp4");
        app.menu()->downloadController()->addDownload(ended);
        QTRY_COMPARE(ended->state(), DownloadItem::State::Failed);
        QTest::qWait(300); // the bus's answer to the call
        QStringList complaints = log.lines() + warnings;
        for (const QString& line : complaints)
            QVERIFY2(!line.contains("org.freedesktop") && !line.contains("DBus") && !line.contains("Notify"), qPrintable(line));
    }
};

QTEST_MAIN(TestNotifications)
#include "Notifications_test.moc"
