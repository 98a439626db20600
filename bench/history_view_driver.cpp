// Times the Downloads view of the real window against the user's history: from
// the sidebar's switch to the view painted with its first rows, once right when
// the window is shown (the history's first page still on its way) and once at
// rest; prints both in milliseconds and the rows then held.
//   history_view_driver
#include "platform/Localization.h"
#include "platform/Log.h"
#include "platform/ServiceEndpoints.h"
#include "ui/shell/AppDelegate.h"
#include "ui/widgets/CellListView.h"
#include "ui/downloads/DownloadListModel.h"
#include "ui/downloads/DownloadsController.h"
#include "ui/shell/MenuDelegate.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMainWindow>

#include <cstdio>

namespace {

// From the switch until a row (or the empty view's text) is painted.
double openDownloads(AppDelegate& app)
{
    DownloadsController& downloads = *app.menu()->downloadController();
    QElapsedTimer clock;
    clock.start();
    app.menu()->setSubViewDownloads();
    // The first page may still be on the queue: a history with rows is not open until they show.
    const bool rowsToCome = qEnvironmentVariableIntValue("HISTORY_ROWS") > 0;
    while (rowsToCome && downloads.tableView()->count() == 0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    app.window()->repaint();
    return clock.nsecsElapsed() / 1e6;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication qt(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Melodrift"));
    QApplication::setApplicationName(QStringLiteral("Melodrift"));
    platform::Log::setSink([](const QString&) {});
    platform::Localization::install();
    AppDelegate app(platform::ServiceEndpoints::fromEnvironment(QStringLiteral("http://127.0.0.1:9")));
    app.applicationDidFinishLaunching();
    while (!app.window()->isVisible())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    const double first = openDownloads(app);
    const int rows = app.menu()->downloadController()->model()->rowCount();

    app.menu()->setSubViewNewSearch();
    QElapsedTimer rest;
    rest.start();
    while (rest.elapsed() < 500)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    const double again = openDownloads(app);
    std::printf("%.1f %.1f %d\n", first, again, rows);
    return 0;
}
