// Times the preview: from setVideo to the first frame playing (the video
// element's clock past 0), for a first preview (web engine cold) and a second
// (engine warm), with the program's memory before and after the first.
//   preview_driver BASE VIDEO_ID [classic|yt-dlp]
#include "catalogue/YouTubeVideo.h"
#include "catalogue/engine/Engine.h"
#include "platform/Localization.h"
#include "platform/Log.h"
#include "ui/widgets/AlertPresenter.h"
#include "ui/preview/PreviewController.h"
#include "ui/preview/PreviewWebView.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTimer>

#include <cstdio>
#include <unistd.h>

namespace {

long statusKb(const char* field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    status.open(QIODevice::ReadOnly);
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith(field))
            return line.mid(static_cast<int>(qstrlen(field)) + 1).trimmed().split(' ').first().toLong();
    return -1;
}

// Milliseconds from setVideo until the page's video element is playing.
double firstFrame(PreviewController& preview, engine::Engine& engine, const QString& base, const QString& id)
{
    // A new record each time: its streams are extracted anew.
    const auto video = engine.videoAt(QUrl(base + "/watch?v=" + id));
    QElapsedTimer clock;
    clock.start();
    preview.setVideo(video);
    bool playing = false;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (!preview.webView())
            return;
        preview.webView()->runJavaScript(
            QStringLiteral("(function(){ var v = document.querySelector('video'); return !!v && v.currentTime > 0; })()"),
            [&](const QVariant& value) { playing = playing || value.toBool(); });
    });
    poll.start(5);
    while (!playing && clock.elapsed() < 60000)
        QApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    const double elapsed = static_cast<double>(clock.nsecsElapsed()) / 1e6;
    preview.close();
    // The next preview starts on the blank page: the old video must not count for it.
    bool gone = false;
    QObject::disconnect(&poll, nullptr, nullptr, nullptr);
    QObject::connect(&poll, &QTimer::timeout, [&] {
        preview.webView()->runJavaScript(QStringLiteral("!document.querySelector('video')"),
                                         [&](const QVariant& value) { gone = gone || value.toBool(); });
    });
    QElapsedTimer closing;
    closing.start();
    while (playing && !gone && closing.elapsed() < 10000)
        QApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    return playing ? elapsed : -1;
}

} // namespace

int main(int argc, char** argv)
{
    if (::geteuid() == 0)
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    // As in the program: the web engine draws with GL contexts shared with the application's.
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    const auto kind = engine::kindNamed(argc == 4 ? QString::fromLocal8Bit(argv[3]) : QStringLiteral("classic"));
    if ((argc != 3 && argc != 4) || !kind) {
        std::fputs("usage: preview_driver BASE VIDEO_ID [classic|yt-dlp]\n", stderr);
        return 2;
    }
    if (!qEnvironmentVariableIsSet("MELODRIFT_BENCH_LOG"))
        platform::Log::setSink([](const QString&) {});
    platform::Localization::install();
    const QString base = QString::fromLocal8Bit(argv[1]);
    const QString id = QString::fromLocal8Bit(argv[2]);
    const auto engine = engine::Engine::create({*kind, {}, {}}, platform::ServiceEndpoints::at(QUrl(base)));
    AlertPresenter alerts;
    PreviewController preview(alerts);
    const long before = statusKb("VmRSS:");
    const double cold = firstFrame(preview, *engine, base, id);
    const long after = statusKb("VmRSS:");
    const double warm = firstFrame(preview, *engine, base, id);
    std::printf("cold_ms %.1f warm_ms %.1f rss_before_kb %ld rss_after_kb %ld\n", cold, warm, before, after);
    return cold < 0 || warm < 0 ? 1 : 0;
}
