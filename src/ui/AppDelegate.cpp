#include "ui/AppDelegate.h"

#include "downloads/DownloadItem.h"
#include "downloads/Settings.h"
#include "platform/Localization.h"
#include "platform/Log.h"
#include "platform/MainThread.h"
#include "platform/WorkerPool.h"
#include "ui/AlertPresenter.h"
#include "ui/MenuDelegate.h"
#include "ui/NewSearchController.h"
#include "ui/SettingsWindowController.h"
#include "ui/SidebarCellDelegate.h"

#include <QAction>
#include <QApplication>
#include <QEvent>
#include <QHBoxLayout>
#include <QListView>
#include <QMainWindow>
#include <QMenuBar>
#include <QStackedWidget>

#include <cmath>

using platform::Localization;

AppDelegate::AppDelegate(const platform::ServiceEndpoints& endpoints, AlertPresenter* alerts, QObject* parent)
    : QObject(parent),
      ownAlerts_(alerts ? nullptr : std::make_unique<AlertPresenter>()),
      window_(new QMainWindow),
      menu_(new MenuDelegate(endpoints, alerts ? *alerts : *ownAlerts_, this))
{
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
    window_->installEventFilter(this);
}

AppDelegate::~AppDelegate()
{
    delete menu_;
    delete settingsWindowController_;
    delete window_;
}

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
    platform::WorkerPool::run([self = QPointer<AppDelegate>(this)] {
        DownloadItem::Cleanup();
        platform::MainThread::post([self] {
            if (self)
                self->finishLaunching();
        });
    });
}

void AppDelegate::finishLaunching()
{
    menu_->getNewSearchController()->applicationDidFinishLaunching();
    window_->show();
    window_->raise();
    window_->activateWindow();
}

bool AppDelegate::applicationShouldHandleReopen()
{
    window_->show();
    window_->setWindowState(window_->windowState() & ~Qt::WindowMinimized);
    window_->raise();
    window_->activateWindow();
    return true;
}

QSizeF AppDelegate::windowWillResize(const QSizeF& proposed) const
{
    if (proposed.width() > narrowestRefused && proposed.height() > lowestRefused)
        return proposed;
    return window_ ? QSizeF(window_->size()) : QSizeF(0, 0);
}

void AppDelegate::settingsClick()
{
    if (!settingsWindowController_)
        settingsWindowController_ = new SettingsWindowController;
    settingsWindowController_->showWindow();
}

void AppDelegate::quit()
{
    QApplication::quit();
}

bool AppDelegate::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == window_ && event->type() == QEvent::WindowDeactivate)
        platform::Log::line(QStringLiteral("windowDidResignKey"));
    return QObject::eventFilter(watched, event);
}
