// melodrift: the desktop program.
#include "catalogue/engine/YtDlp.h"
#include "downloads/Settings.h"
#include "platform/BlockingHttp.h"
#include "platform/Localization.h"
#include "platform/Log.h"
#include "platform/ServiceEndpoints.h"
#include "platform/SingleInstance.h"
#include "platform/WorkerPool.h"
#include "ui/shell/AppDelegate.h"
#include "ui/widgets/AppStyle.h"

#include <QApplication>
#include <QEvent>
#include <QCommandLineParser>
#include <QLoggingCategory>

#include <cstdio>
#include <unistd.h>

namespace {

struct CommandLine {
    QCommandLineParser parser;
    const QCommandLineOption service{
        QStringLiteral("service"),
        QStringLiteral("the video service at BASE, such as http://127.0.0.1:8080\n(also MELODRIFT_SERVICE=BASE)"),
        QStringLiteral("BASE")};
    const QCommandLineOption engine{
        QStringLiteral("engine"),
        QStringLiteral("find videos with Melodrift's own reader (classic), with yt-dlp, or\n"
                       "automatically: yt-dlp for the real service when there is one, else classic\n"
                       "(also MELODRIFT_ENGINE; default: the settings window's choice, auto)"),
        QStringLiteral("auto|classic|yt-dlp")};
    const QCommandLineOption verbose{QStringLiteral("verbose"),
                                     QStringLiteral("write the program's log to standard error")};
    const QCommandLineOption help{QStringLiteral("help"), QStringLiteral("show this text")};
    const QCommandLineOption version{QStringLiteral("version"), QStringLiteral("show the version")};

    CommandLine()
    {
        parser.setApplicationDescription(
            QStringLiteral("Finds videos of the video service, previews them and saves them as MP4 or MP3.\n"
                           "With ADDRESS, the address of a video's watch page, that video is shown. When\n"
                           "Melodrift already runs, its window comes to the front (and shows ADDRESS)."));
        parser.addOptions({service, engine, verbose, help, version});
        parser.addPositionalArgument(QStringLiteral("ADDRESS"), QStringLiteral("the address of a video's watch page"),
                                     QStringLiteral("[ADDRESS]"));
    }
};

} // namespace

int main(int argc, char** argv)
{
    CommandLine line;
    // Answered before any window system is needed. Qt's own options are still
    // among these arguments, so nothing else counts yet.
    QStringList rawArguments;
    for (int i = 0; i < argc; ++i)
        rawArguments.append(QString::fromLocal8Bit(argv[i]));
    line.parser.parse(rawArguments);
    if (line.parser.isSet(line.help)) {
        const QCoreApplication names(argc, argv); // the usage line's program name
        std::fputs(qPrintable(line.parser.helpText()), stdout);
        return 0;
    }
    if (line.parser.isSet(line.version)) {
        std::printf("melodrift %s\n", AppDelegate::getVersion().toUtf8().constData());
        return 0;
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
    const bool parsed = line.parser.parse(QApplication::arguments());
    const QStringList addresses = line.parser.positionalArguments();
    if (!parsed || addresses.size() > 1) {
        const QString complaint =
            parsed ? QStringLiteral("Unexpected argument '%1'.").arg(addresses[1]) : line.parser.errorText();
        std::fprintf(stderr, "%s\nTry 'melodrift --help'.\n", qPrintable(complaint));
        return 2;
    }
    const QString address = addresses.value(0);
    QString engineError;
    const auto engine = engine::Choice::resolve(line.parser.value(line.engine), Settings::engineChoice(), &engineError);
    if (!engine) {
        std::fprintf(stderr, "%s\nTry 'melodrift --help'.\n", qPrintable(engineError));
        return 2;
    }
    if (!line.parser.isSet(line.verbose)) {
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

    int status = 0;
    {
        AppDelegate delegate(platform::ServiceEndpoints::fromEnvironment(line.parser.value(line.service)));
        QObject::connect(&instance, &platform::SingleInstance::activated, &delegate,
                         [&delegate] { delegate.applicationShouldHandleReopen(); });
        QObject::connect(&instance, &platform::SingleInstance::opened, &delegate,
                         [&delegate](const QStringList& addresses) {
                             delegate.applicationShouldHandleReopen();
                             if (!addresses.isEmpty())
                                 delegate.openAddress(addresses.first());
                         });
        delegate.setEngine(*engine);
        delegate.applicationDidFinishLaunching();
        if (!address.isEmpty())
            delegate.openAddress(address);
        status = QApplication::exec();
        // The window is gone: a worker waiting on a server must not keep the
        // program alive unseen until that server answers or times out.
        platform::BlockingHttp::cancelAll();
        engine::YtDlp::cancelAll();
    }
    // With the window went its jobs, and a conversion under way with them; what
    // the workers still do (a copy into the Downloads folder, say) ends first.
    platform::WorkerPool::waitForDone();
    // What was let go of inside a signal waits for the loop that has ended:
    // transfers, and the network managers they had.
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return status;
}
