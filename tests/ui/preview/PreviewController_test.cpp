// The preview in the real web engine, on a display of its own, against
// melodrift-service: what plays, what cannot, what a hostile stream can do to
// the page, the outline and its rules, the download rule and the alert; and
// what it shows when the web engine's plugin cannot be loaded.
#include "catalogue/YouTubeVideo.h"
#include "platform/Localization.h"
#include "platform/Log.h"
#include "service_process.h"
#include "ui/preview/PreviewController.h"
#include "ui/preview/PreviewWebView.h"
#include "ui/preview/StreamOutlineModel.h"
#include "alert_recorder.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QLabel>
#include <QListView>
#include <QPushButton>
#include <QStackedWidget>
#include <QTest>

#include <unistd.h>

namespace {

// The page's answer to a script, waited for.
QVariant evaluate(PreviewController& preview, const QString& script)
{
    QVariant answer;
    bool answered = false;
    preview.webView()->runJavaScript(script, [&](const QVariant& value) {
        answer = value;
        answered = true;
    });
    // Unanswered: an invalid answer, which the caller's checks fail on.
    static_cast<void>(QTest::qWaitFor([&answered] { return answered; }, 10000));
    return answer;
}

bool waitForScript(PreviewController& preview, const QString& script, int milliseconds = 30000)
{
    return QTest::qWaitFor([&] { return evaluate(preview, script).toBool(); }, milliseconds);
}

int selectedRow(const PreviewController& preview)
{
    const QModelIndexList rows = preview.outlineView()->selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}

} // namespace

class TestPreviewController : public QObject {
    Q_OBJECT
    alert_recorder alerts;
    std::unique_ptr<service_process> service;
    std::unique_ptr<PreviewController> preview;

    std::shared_ptr<YouTubeVideo> video(const QString& id) const
    {
        return YouTubeVideo::initFromURL(QUrl(service->watch(id)), QUrl(service->base() + "/cgi-bin/zor.parser"));
    }

    // Previews the video and waits for its streams in the outline.
    std::shared_ptr<YouTubeVideo> previewed(const QString& id)
    {
        const auto v = video(id);
        preview->setVideo(v);
        // Not shown in time: the caller's checks of the outline fail.
        static_cast<void>(
            QTest::qWaitFor([this] { return preview->model()->rowCount() > 0 && selectedRow(*preview) >= 0; }, 30000));
        return v;
    }

private slots:
    void initTestCase()
    {
        platform::Localization::install(QLocale(QLocale::English));
        platform::Log::setSink([](const QString&) {});
        service = std::make_unique<service_process>(MELODRIFT_SERVICE_BINARY, MELODRIFT_CATALOGUE);
        QVERIFY(!service->base().isEmpty());
        preview = std::make_unique<PreviewController>(alerts);
        QVERIFY(!PreviewWebView::isLoaded()); // not before the first preview
    }
    void cleanupTestCase()
    {
        preview.reset();
        service.reset();
    }

    // First, while no plugin is loaded: with none to be found, the preview says
    // so where the video would play.
    void aMissingWebEngineIsSaidInPlaceOfTheVideo()
    {
        const QStringList folders = QCoreApplication::libraryPaths();
        QCoreApplication::setLibraryPaths({});
        PreviewController missing(alerts);
        missing.showVideo();
        missing.showVideo(
            YouTubeUrl::init({service->base().toStdString() + "/videoplayback?v=1", "medium", "video/mp4"}));
        QCoreApplication::setLibraryPaths(folders);

        QVERIFY(!missing.webView());
        QVERIFY(!PreviewWebView::isLoaded());
        const auto* shown = qobject_cast<QLabel*>(missing.window()->findChild<QStackedWidget*>()->currentWidget());
        QVERIFY(shown);
        QCOMPARE(shown->text(), platform::Localization::string("Preview.EngineMissing"));
        QCOMPARE(missing.videoTypeLabel()->text(), QString("video/mp4"));
    }

    void firstMp4StreamIsChosenAndPlays()
    {
        const auto v = previewed("VGVzdENhcmQ");
        QVERIFY(PreviewWebView::isLoaded());
        // The outline: each quality title in order, then its streams.
        QList<StreamOutlineModel::Item> expected;
        for (const QString& quality : v->localizedQualitys()) {
            expected << quality;
            for (const auto& s : v->SortedUrls().value(quality))
                expected << s;
        }
        QCOMPARE(preview->model()->outlineItems(), expected);
        QVERIFY(expected.size() > v->Urls().size());

        const int mp4 = preview->model()->firstStreamOfType("video/mp4");
        QVERIFY(mp4 > 0);
        QCOMPARE(selectedRow(*preview), mp4);
        QCOMPARE(preview->videoTypeLabel()->text(), preview->model()->streamAt(mp4)->type());
        QVERIFY(waitForScript(*preview, "(function(){ var v = document.querySelector('video');"
                                        " return !!v && v.currentTime > 0.3; })()"));
        QCOMPARE(evaluate(*preview, "document.querySelector('source').getAttribute('src')").toString(),
                 preview->model()->streamAt(mp4)->url().toString(QUrl::FullyEncoded));

        // Closing the window stops it: the blank page, no video element.
        preview->window()->close();
        QVERIFY(waitForScript(*preview, "document.querySelector('video') === null && document.body.bgColor === '#EDEDED'"));
    }

    void streamsTheEngineCannotPlayShowTheBrowserError()
    {
        previewed("Rmxhc2hFcmE"); // Flash video only
        QVERIFY(preview->model()->rowCount() > 0);
        QCOMPARE(preview->model()->firstStreamOfType("video/mp4"), -1);
        // Row 0 is a quality title: its first stream is chosen instead.
        QCOMPARE(selectedRow(*preview), 1);
        const QString error = platform::Localization::string("Preview.BrowserError");
        QVERIFY(waitForScript(*preview, "document.getElementById('videodiv') !== null &&"
                                        " document.getElementById('videodiv').innerText === '" + error + "'"));
        QVERIFY(evaluate(*preview, "document.querySelector('video') === null").toBool());
        preview->close();
    }

    void valuesFromTheNetworkStayInertInThePage()
    {
        preview->window()->show();
        const std::string attack = "\"'</script><img src=x onerror=\"window.injected=1\"><script>window.injected=2</script>";
        // The part after ";" is not the MIME type: the page's video path is taken.
        preview->showVideo(YouTubeUrl::init({service->base().toStdString() + "/videoplayback?a='" + attack, "medium",
                                         "video/mp4; codecs=\"" + attack + "\""}));
        QVERIFY(waitForScript(*preview, "document.querySelector('source') !== null"));
        QVERIFY(evaluate(*preview, "typeof window.injected === 'undefined' && document.scripts.length === 1 &&"
                                   " document.images.length === 0 &&"
                                   " document.getElementById('videodiv').children.length === 1")
                    .toBool());
        QCOMPARE(evaluate(*preview, "document.querySelector('source').getAttribute('type')").toString(),
                 QString("video/mp4"));
        QCOMPARE(preview->videoTypeLabel()->textFormat(), Qt::PlainText);

        // A MIME type that tries to leave its script string.
        preview->showVideo(
            YouTubeUrl::init({"http://127.0.0.1:1/x", "medium", "video/x');window.injected=3;('" + attack}));
        QVERIFY(waitForScript(*preview, "document.getElementById('videodiv') !== null &&"
                                        " document.getElementById('videodiv').innerText.length > 0"));
        QVERIFY(evaluate(*preview, "typeof window.injected === 'undefined' && document.scripts.length === 1 &&"
                                   " document.images.length === 0")
                    .toBool());
        preview->close();
    }

    void titlesPlayTheirNeighbourAndDownloadsTakeTheFlatIndex()
    {
        const auto v = previewed("VGVzdENhcmQ");
        QVERIFY(selectedRow(*preview) >= 0);
        const StreamOutlineModel& model = *preview->model();
        QItemSelectionModel& selection = *preview->outlineView()->selectionModel();
        // A quality title chosen from elsewhere moves on to its first stream, which plays.
        int title = -1;
        for (int row = 1; row < model.rowCount() && title < 0; ++row)
            if (!model.streamAt(row) && row != selectedRow(*preview) - 1)
                title = row;
        QVERIFY(title > 0);
        selection.setCurrentIndex(model.index(title), QItemSelectionModel::ClearAndSelect);
        QCOMPARE(selectedRow(*preview), title + 1);
        QCOMPARE(preview->videoTypeLabel()->text(), model.streamAt(title + 1)->type());
        // Stepping up onto it from that stream goes on to the stream above.
        selection.setCurrentIndex(model.index(title), QItemSelectionModel::ClearAndSelect);
        QCOMPARE(selectedRow(*preview), title - 1);

        // The chosen row's number picks from the streams in their own order.
        QList<std::shared_ptr<YouTubeUrl>> sent;
        preview->videoEvent.set([&](PreviewController&, std::shared_ptr<YouTubeVideo> got, std::shared_ptr<YouTubeUrl> s) {
            QCOMPARE(got, v);
            sent << s;
        });
        const int row = selectedRow(*preview);
        QTest::mouseClick(preview->downloadVideoButton(), Qt::LeftButton);
        QCOMPARE(sent.size(), 1);
        QCOMPARE(sent.first(), v->Urls().at(row));
        QVERIFY(!preview->window()->isVisible());

        // A row beyond the streams sends nothing and just closes.
        preview->window()->show();
        selection.setCurrentIndex(model.index(model.rowCount() - 1), QItemSelectionModel::ClearAndSelect);
        QVERIFY(selectedRow(*preview) >= v->Urls().size());
        preview->downloadVideoClick();
        QCOMPARE(sent.size(), 1);
        QVERIFY(!preview->window()->isVisible());
        preview->videoEvent.reset();
    }

    // Pictures alone (as yt-dlp reads them) put the heights to save at first;
    // the streams below keep their rows' meaning. (A quality's file: the desktop
    // end-to-end run.)
    void qualitiesComeFirstPlayTheirPictureAndAreSavedByTheirEvent()
    {
        const auto v = video("VGVzdENhcmQ");
        v->parseUrls();
        const auto separate = [&](YouTubeUrl::Media media, const std::string& type, qint64 bytes) {
            const auto s = YouTubeUrl::init({v->Urls().first()->url().toString().toStdString(), "hd1080", type});
            s->setMedia(media);
            s->setBytes(bytes);
            return s;
        };
        const auto picture = separate(YouTubeUrl::Media::PictureOnly, "video/mp4; codecs=\"avc1.640028\"", 42'500'000);
        picture->setHeight(1080);
        picture->setFps(60);
        const auto sound = separate(YouTubeUrl::Media::SoundOnly, "audio/mp4", 2'500'000);
        v->setSeparateUrls({picture, sound});
        QAbstractItemModelTester tester(preview->model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        preview->setVideo(v);
        QTRY_VERIFY_WITH_TIMEOUT(selectedRow(*preview) >= 0, 30000);

        const StreamOutlineModel& model = *preview->model();
        const int qualities = model.qualityRowCount();
        QCOMPARE(qualities, int(v->qualities().size()) + 1);
        QCOMPARE(model.index(0).data().toString(), QString("Video quality"));
        QCOMPARE(model.index(1).data().toString(), QString::fromUtf8("1080p60 · joined · 45.0 MB"));
        const YouTubeVideo::Quality second = v->qualities().at(1);
        QCOMPARE(model.index(2).data().toString(), second.label() + QString::fromUtf8(" · with sound"));
        QList<StreamOutlineModel::Item> streams;
        for (const QString& title : v->localizedQualitys()) {
            streams << title;
            for (const auto& s : v->SortedUrls().value(title))
                streams << s;
        }
        QCOMPARE(model.outlineItems().mid(qualities), streams);
        // A stream with sound still plays first.
        QCOMPARE(selectedRow(*preview), model.firstStreamOfType("video/mp4"));
        QVERIFY(selectedRow(*preview) > qualities);

        // A quality plays its picture; the streams' first title is passed both ways.
        QItemSelectionModel& selection = *preview->outlineView()->selectionModel();
        selection.setCurrentIndex(model.index(qualities - 1), QItemSelectionModel::ClearAndSelect);
        selection.setCurrentIndex(model.index(qualities), QItemSelectionModel::ClearAndSelect);
        QCOMPARE(selectedRow(*preview), qualities + 1);
        selection.setCurrentIndex(model.index(qualities), QItemSelectionModel::ClearAndSelect);
        QCOMPARE(selectedRow(*preview), qualities - 1);
        selection.setCurrentIndex(model.index(0), QItemSelectionModel::ClearAndSelect);
        QCOMPARE(selectedRow(*preview), 1);
        QCOMPARE(preview->videoTypeLabel()->text(), picture->type());

        QList<std::pair<std::shared_ptr<YouTubeUrl>, bool>> qualitiesSent;
        QList<std::shared_ptr<YouTubeUrl>> streamsSent;
        preview->qualityEvent.set([&](PreviewController&, std::shared_ptr<YouTubeVideo> got, YouTubeVideo::Quality q,
                                      bool audio) {
            QCOMPARE(got, v);
            qualitiesSent.append({q.picture, audio});
        });
        preview->videoEvent.set([&](PreviewController&, std::shared_ptr<YouTubeVideo>, std::shared_ptr<YouTubeUrl> s) {
            streamsSent << s;
        });
        QTest::mouseClick(preview->downloadVideoButton(), Qt::LeftButton);
        QVERIFY(!preview->window()->isVisible());
        preview->window()->show();
        selection.setCurrentIndex(model.index(2), QItemSelectionModel::ClearAndSelect);
        preview->downloadAudioClick();
        const QList<std::pair<std::shared_ptr<YouTubeUrl>, bool>> expected{{picture, false}, {second.picture, true}};
        QCOMPARE(qualitiesSent, expected);
        // Below the qualities, the row counted from the first one after them.
        preview->window()->show();
        const int stream = model.firstStreamOfType("video/mp4");
        selection.setCurrentIndex(model.index(stream), QItemSelectionModel::ClearAndSelect);
        preview->downloadVideoClick();
        QCOMPARE(streamsSent, QList<std::shared_ptr<YouTubeUrl>>{v->Urls().at(stream - qualities)});
        QCOMPARE(qualitiesSent.size(), 2);
        preview->qualityEvent.reset();
        preview->videoEvent.reset();
    }

    void aNoticeOfTheServiceIsAnAlert()
    {
        alerts.shown.clear();
        preview->setVideo(video("UHJpdmF0ZTE"));
        QTRY_COMPARE_WITH_TIMEOUT(alerts.shown.size(), 1, 30000);
        QCOMPARE(alerts.shown.first(), qMakePair(QString("YouTube:"), QString("This video is private.")));
        QCOMPARE(preview->model()->rowCount(), 0);
        // Still usable: the next video previews.
        previewed("UnVsZTExMF8");
        QVERIFY(preview->model()->rowCount() > 0);
        preview->close();
    }
};

int main(int argc, char** argv)
{
    // Chromium will not run its sandbox as root; for anyone else it stays on.
    if (::geteuid() == 0)
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    // As in the program: the web engine draws with GL contexts shared with the application's.
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    TestPreviewController test;
    return QTest::qExec(&test, argc, argv);
}
#include "PreviewController_test.moc"
