#include "ui/shell/AppDelegate.h"

#include "catalogue/tools/ToolKeeper.h"
#include "catalogue/tools/Toolbox.h"
#include "downloads/DownloadHistory.h"
#include "downloads/DownloadItem.h"
#include "downloads/HistoryQueue.h"
#include "downloads/Settings.h"
#include "platform/Localization.h"
#include "platform/Log.h"
#include "platform/MainThread.h"
#include "platform/Notifications.h"
#include "platform/WorkerPool.h"
#include "ui/widgets/AlertPresenter.h"
#include "ui/downloads/DownloadListModel.h"
#include "ui/downloads/DownloadsController.h"
#include "ui/shell/MainWindow.h"
#include "ui/shell/MenuDelegate.h"
#include "ui/search/NewSearchController.h"
#include "ui/widgets/Picture.h"
#include "ui/settings/SettingsWindowController.h"
#include "ui/shell/SidebarCellDelegate.h"

#include <QAction>
#include <QDropEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QApplication>
#include <QEvent>
#include <QHBoxLayout>
#include <QListView>
#include <QMainWindow>
#include <QMenuBar>
#include <QStackedWidget>
#include <QTimer>

#include <cmath>

using platform::Localization;

AppDelegate::AppDelegate(const platform::ServiceEndpoints& endpoints, AlertPresenter* alerts, QObject* parent)
    : QObject(parent),
      endpoints_(endpoints),
      ownAlerts_(alerts ? nullptr : std::make_unique<AlertPresenter>()),
      history_(std::make_shared<HistoryQueue>()),
      window_(std::make_unique<MainWindow>([this](const QMimeData& data) { return droppedAddress(data); })),
      // The window's child: it and its views go with the window.
      menu_(new MenuDelegate(endpoints, alerts ? *alerts : *ownAlerts_, history_, window_.get())),
      notifications_(new platform::Notifications(QStringLiteral("Melodrift"), QStringLiteral("org.melodrift.Melodrift"), this)),
      toolKeeper_(new tools::ToolKeeper(tools::ToolFolder(), tools::Sources::standard(), this))
{
    menu_->getNewSearchController()->setToolKeeper(toolKeeper_);
    window_->setWindowTitle(QStringLiteral("Melodrift"));
    window_->setMinimumSize(static_cast<int>(std::floor(narrowestRefused)) + 1,
                            static_cast<int>(std::floor(lowestRefused)) + 1);
    window_->resize(960, 680);

    auto* central = new QWidget;
    auto* layout = new QHBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    QListView* sidebar = menu_->outlineView();
    sidebar->setFixedWidth(190);
    // A source list: light grey, whatever the system's theme.
    sidebar->setItemDelegate(new SidebarCellDelegate(sidebar));
    QPalette source = sidebar->palette();
    source.setColor(QPalette::Base, SidebarCellDelegate::background());
    source.setColor(QPalette::Text, SidebarCellDelegate::ink());
    sidebar->setPalette(source);
    sidebar->setContentsMargins(0, 8, 0, 8);
    layout->addWidget(sidebar);
    layout->addWidget(menu_->placeHolderView(), 1);
    window_->setCentralWidget(central);
    buildMenus();
    // A link dropped on the search field searches too, rather than becoming its text.
    menu_->getNewSearchController()->searchField()->setAcceptDrops(false);
    connect(window_.get(), &MainWindow::addressDropped, this, &AppDelegate::openAddress);
    connect(window_.get(), &MainWindow::resignedKey, this, [] { platform::Log::line(QStringLiteral("windowDidResignKey")); });

    connect(menu_->downloadController()->model(), &DownloadListModel::jobEnded, this,
            [this](const std::shared_ptr<DownloadItem>& item) { announce(*item); });
    connect(notifications_, &platform::Notifications::activated, this, [this] {
        applicationShouldHandleReopen();
        menu_->setSubViewDownloads();
    });
}

void AppDelegate::announce(const DownloadItem& item)
{
    if (window_->isActiveWindow())
        return;
    const bool done = item.state() == DownloadItem::State::Done;
    notifications_->notify(item.video()->title(), done ? Localization::string("Notification.Done")
                                                        : Localization::string("Notification.Failed").arg(item.failureReason()));
}

AppDelegate::~AppDelegate() = default;

void AppDelegate::buildMenus()
{
    QMenu* application = window_->menuBar()->addMenu(Localization::string("MainMenu.Application"));
    QAction* settings = application->addAction(Localization::string("MainMenu.Settings"));
    settings->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
    settings->setMenuRole(QAction::PreferencesRole);
    connect(settings, &QAction::triggered, this, &AppDelegate::settingsClick);
    application->addSeparator();
    QAction* quitAction = application->addAction(Localization::string("MainMenu.Quit"));
    quitAction->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    quitAction->setMenuRole(QAction::QuitRole);
    connect(quitAction, &QAction::triggered, this, &AppDelegate::quit);

    QMenu* view = window_->menuBar()->addMenu(Localization::string("MainMenu.View"));
    QAction* search = view->addAction(Localization::string("MainMenu.ShowSearch"));
    search->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_1));
    connect(search, &QAction::triggered, menu_, &MenuDelegate::setSubViewNewSearch);
    QAction* downloads = view->addAction(Localization::string("MainMenu.ShowDownloads"));
    downloads->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_2));
    connect(downloads, &QAction::triggered, menu_, &MenuDelegate::setSubViewDownloads);
    view->addSeparator();
    QAction* find = view->addAction(Localization::string("MainMenu.Find"));
    find->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_F));
    connect(find, &QAction::triggered, this, [this] {
        menu_->setSubViewNewSearch();
        QLineEdit* field = menu_->getNewSearchController()->searchField();
        field->setFocus(Qt::ShortcutFocusReason);
        field->selectAll();
    });
}

void AppDelegate::applicationDidFinishLaunching()
{
    // No HTTP response is cached anywhere: no network access manager of the
    // program is given a cache, so there is nothing to switch off here.
    window_->hide();
    Settings::registerDefaults();
    menu_->setSelectedRow(1);
    menu_->setSubViewNewSearch();
    // The wipe touches the disk: off this thread, and the rest follows it.
    platform::WorkerPool::run(
        this,
        [] {
            // What an unfinished download still has stays for the next try.
            DownloadHistory history;
            DownloadItem::Cleanup(&history);
        },
        [this] { finishLaunching(); });
}

void AppDelegate::finishLaunching()
{
    menu_->getNewSearchController()->applicationDidFinishLaunching();
    window_->show();
    window_->raise();
    window_->activateWindow();
    // The history's first page is read while the window is shown, not before.
    QTimer::singleShot(0, menu_->downloadController()->model(), &DownloadListModel::start);
    // After the window is up: its pictures are 320 KiB for the X server.
    if (QApplication::windowIcon().isNull())
        QApplication::setWindowIcon(Picture::logoIcon());
    keepToolsCurrent();
}

void AppDelegate::keepToolsCurrent()
{
    // Only for the real service: a stand-in is read as it is. Whether yt-dlp
    // is in use may ask it for its version: off this thread.
    const engine::Choice choice = menu_->getNewSearchController()->engineChoice();
    if (endpoints_.isStandIn() || choice.kind == engine::Kind::classic)
        return;
    platform::WorkerPool::run(
        this,
        [choice] {
            // Automatic runs yt-dlp only when there is one: a first one is got only when asked for.
            return Settings::keepToolsCurrent() &&
                   (choice.kind != engine::Kind::automatic || tools::Toolbox().ytDlp(choice.ytDlp).usable());
        },
        [this](bool wanted) {
            if (wanted)
                toolKeeper_->updateIfDue();
        });
}

bool AppDelegate::applicationShouldHandleReopen()
{
    window_->show();
    window_->setWindowState(window_->windowState() & ~Qt::WindowMinimized);
    window_->raise();
    window_->activateWindow();
    return true;
}

void AppDelegate::openAddress(const QString& text)
{
    menu_->setSubViewNewSearch();
    menu_->getNewSearchController()->searchFor(text);
}

QSizeF AppDelegate::windowWillResize(const QSizeF& proposed) const
{
    if (proposed.width() > narrowestRefused && proposed.height() > lowestRefused)
        return proposed;
    return window_ ? QSizeF(window_->size()) : QSizeF(0, 0);
}

void AppDelegate::settingsClick()
{
    if (!settingsWindowController_) {
        settingsWindowController_ = new SettingsWindowController(toolKeeper_, this);
        connect(settingsWindowController_, &SettingsWindowController::engineChosen, this, [this](engine::Kind kind) {
            engine::Choice choice = menu_->getNewSearchController()->engineChoice();
            choice.kind = kind;
            setEngine(choice);
        });
        connect(settingsWindowController_, &SettingsWindowController::signInChosen, this, [this](const QString& browser) {
            engine::Choice choice = menu_->getNewSearchController()->engineChoice();
            choice.signIn = browser;
            setEngine(choice);
        });
        connect(settingsWindowController_, &SettingsWindowController::ytDlpChosen, this, [this](const QString& program) {
            engine::Choice choice = menu_->getNewSearchController()->engineChoice();
            choice.ytDlp = program;
            setEngine(choice);
        });
    }
    settingsWindowController_->showWindow();
}

void AppDelegate::setEngine(const engine::Choice& choice)
{
    menu_->getNewSearchController()->setEngine(choice);
}

void AppDelegate::quit()
{
    QApplication::quit();
}

QString AppDelegate::droppedAddress(const QMimeData& data) const
{
    QString text;
    for (const QUrl& url : data.urls())
        if (!url.isEmpty()) {
            text = url.toString();
            break;
        }
    if (text.isEmpty() && data.hasText())
        text = data.text().trimmed();
    const QUrl url(text, QUrl::StrictMode);
    return endpoints_.isWatchPage(url) ? text : QString();
}

