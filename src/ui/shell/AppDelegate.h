#pragma once

#include "catalogue/engine/Engine.h"

#include "platform/ServiceEndpoints.h"
#include "platform/Version.h"

#include "ui/shell/MainWindow.h"

#include <QMainWindow>
#include <QObject>
#include <QPointer>
#include <QSizeF>

#include <memory>

class AlertPresenter;
class QMimeData;
class DownloadItem;
class HistoryQueue;
namespace platform {
class Notifications;
}
namespace tools {
class ToolKeeper;
}
class MainWindow;
class MenuDelegate;
class SettingsWindowController;

// The program's one main window: the sidebar and the view it shows, the menu,
// and the settings window. Runs the launch sequence.
class AppDelegate : public QObject {
    Q_OBJECT
public:
    // alerts: how alerts are shown (the program's own message boxes when none).
    explicit AppDelegate(const platform::ServiceEndpoints& endpoints, AlertPresenter* alerts = nullptr,
                         QObject* parent = nullptr);
    ~AppDelegate() override;

    QMainWindow* window() const { return window_.get(); }
    MenuDelegate* menu() const { return menu_; }
    // Made on the first use and kept; nothing before.
    SettingsWindowController* settingsWindowController() const { return settingsWindowController_; }
    // Gets and updates yt-dlp and Deno for the search view and the settings window.
    tools::ToolKeeper* toolKeeper() const { return toolKeeper_; }

    // Builds the window hidden, empties the cache folder off this thread, tells
    // the search view, then shows the window.
    void applicationDidFinishLaunching();
    // A second start of the program: the window comes to the front.
    bool applicationShouldHandleReopen();
    // A watch-page address (or words) from outside, searched as if pasted:
    // given on the command line, handed over by a second start, or dropped.
    void openAddress(const QString& text);
    // The size the window takes for a proposed one: it is never 500 wide or 300
    // high or less; a refused size keeps the current one.
    QSizeF windowWillResize(const QSizeF& proposed) const;
    void settingsClick();
    void quit();
    // Where videos are found from now on: the command line's choice at the
    // start, the settings window's later.
    void setEngine(const engine::Choice& choice);

    static QString getVersion() { return QString::fromLatin1(platform::version); }

    static constexpr double narrowestRefused = 500.0;
    static constexpr double lowestRefused = 300.0;

private:
    void buildMenus();
    // The watch-page address a drop carries, as a link or as text; empty for anything else.
    QString droppedAddress(const QMimeData& data) const;
    // A job ended while the window was elsewhere: the desktop says so.
    void announce(const DownloadItem& item);
    void finishLaunching();
    // The daily update, when it is wanted and yt-dlp is what finds the videos.
    void keepToolsCurrent();

    const platform::ServiceEndpoints endpoints_;
    std::unique_ptr<AlertPresenter> ownAlerts_;
    std::shared_ptr<HistoryQueue> history_;
    std::unique_ptr<MainWindow> window_;
    MenuDelegate* menu_; // the window's
    SettingsWindowController* settingsWindowController_ = nullptr;
    platform::Notifications* notifications_;
    tools::ToolKeeper* toolKeeper_;
};
