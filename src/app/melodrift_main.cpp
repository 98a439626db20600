// melodrift: the desktop program.
#include "platform/BlockingHttp.h"
#include "platform/Localization.h"
#include "platform/Log.h"
#include "platform/ServiceEndpoints.h"
#include "platform/SingleInstance.h"
#include "ui/AppDelegate.h"
#include "ui/AppStyle.h"

#include <QApplication>
#include <QLoggingCategory>

#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

const char* const helpText = R"(Usage: melodrift [options] [ADDRESS]

Finds videos of the video service, previews them and saves them as MP4 or MP3.
With ADDRESS, the address of a video's watch page, that video is shown. When
Melodrift already runs, its window comes to the front (and shows ADDRESS).

Options:
  --service BASE   the video service at BASE, such as http://127.0.0.1:8080
                   (also MELODRIFT_SERVICE=BASE)
  --verbose        write the program's log to standard error
  --help           show this text
  --version        show the version
)";

} // namespace

int main(int argc, char** argv)
{
    // Answered before any window system is needed.
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0) {
            std::fputs(helpText, stdout);
            return 0;
        }
        if (std::strcmp(argv[i], "--version") == 0) {
            std::printf("melodrift %s\n", AppDelegate::getVersion().toUtf8().constData());
            return 0;
        }
    }

    // The preview's web engine cannot run its sandbox as root; for anyone else
    // it stays on. Set before any thread starts.
    if (::geteuid() == 0 && !qEnvironmentVariableIsSet("QTWEBENGINE_DISABLE_SANDBOX"))
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts); // the web engine needs it set this early
    QApplication app(argc, argv);
    QApplication::setStyle(new AppStyle(QApplication::style()->name()));
    QApplication::setOrganizationName(QStringLiteral("Melodrift"));
    QApplication::setApplicationName(QStringLiteral("Melodrift"));
    QApplication::setApplicationVersion(AppDelegate::getVersion());
    // Desktops find the entry, and with it the name and icon, by this.
    QGuiApplication::setDesktopFileName(QStringLiteral("org.melodrift.Melodrift"));

    // What Qt left of the arguments is ours.
    const QStringList arguments = QApplication::arguments();
    bool verbose = false;
    QString address;
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString& a = arguments[i];
        if (a == QLatin1String("--verbose"))
            verbose = true;
        else if (a == QLatin1String(platform::ServiceEndpoints::option))
            ++i;
        else if (!a.startsWith(QLatin1String("--")) && address.isEmpty())
            address = a;
        else if (!a.startsWith(QLatin1String(platform::ServiceEndpoints::option) + QLatin1Char('='))) {
            std::fprintf(stderr, "Unknown option %s.\nTry 'melodrift --help'.\n", a.toLocal8Bit().constData());
            return 2;
        }
    }
    if (!verbose) {
        platform::Log::setSink([](const QString&) {});
        // Qt's own notes (the web engine's set-up, say) are for --verbose too.
        QLoggingCategory::setFilterRules(QStringLiteral("*.info=false\n*.debug=false"));
    }
    // A second start brings the running window to the front and ends.
    platform::SingleInstance instance(QGuiApplication::desktopFileName());
    if (instance.handOver(address.isEmpty() ? QStringList() : QStringList{address}))
        return 0;
    // Only the program that stays shows text.
    platform::Localization::install();

    AppDelegate delegate(platform::ServiceEndpoints::fromEnvironment(arguments));
    QObject::connect(&instance, &platform::SingleInstance::activated, &delegate,
                     [&delegate] { delegate.applicationShouldHandleReopen(); });
    QObject::connect(&instance, &platform::SingleInstance::opened, &delegate, [&delegate](const QStringList& addresses) {
        delegate.applicationShouldHandleReopen();
        if (!addresses.isEmpty())
            delegate.openAddress(addresses.first());
    });
    delegate.applicationDidFinishLaunching();
    if (!address.isEmpty())
        delegate.openAddress(address);
    const int status = QApplication::exec();
    // The window is gone: a worker waiting on a server must not keep the
    // program alive unseen until that server answers or times out.
    platform::BlockingHttp::cancelAll();
    return status;
}
