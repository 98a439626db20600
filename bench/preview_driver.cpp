// Times the preview: from setVideo to the first frame playing (the video
// element's clock past 0), for a first preview (web engine cold) and a second
// (engine warm), with the program's memory before and after the first.
//   preview_driver BASE VIDEO_ID
#include "catalogue/YouTubeVideo.h"
#include "platform/Localization.h"
#include "platform/Log.h"
#include "ui/AlertPresenter.h"
#include "ui/PreviewController.h"
#include "ui/PreviewWebView.h"

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
double firstFrame(PreviewController& preview, const QString& base, const QString& id)
{
    const auto video = YouTubeVideo::initFromURL(QUrl(base + "/watch?v=" + id), QUrl(base + "/cgi-bin/zor.parser"));
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
    if (argc != 3) {
        std::fputs("usage: preview_driver BASE VIDEO_ID\n", stderr);
        return 2;
    }
    platform::Log::setSink([](const QString&) {});
    platform::Localization::install();
    const QString base = QString::fromLocal8Bit(argv[1]);
    const QString id = QString::fromLocal8Bit(argv[2]);
    AlertPresenter alerts;
    PreviewController preview(alerts);
    const long before = statusKb("VmRSS:");
    const double cold = firstFrame(preview, base, id);
    const long after = statusKb("VmRSS:");
    const double warm = firstFrame(preview, base, id);
    std::printf("cold_ms %.1f warm_ms %.1f rss_before_kb %ld rss_after_kb %ld\n", cold, warm, before, after);
    return cold < 0 || warm < 0 ? 1 : 0;
}
