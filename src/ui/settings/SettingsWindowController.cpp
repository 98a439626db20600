#include "ui/settings/SettingsWindowController.h"

#include "catalogue/engine/YtDlp.h"
#include "downloads/Settings.h"
#include "platform/Localization.h"
#include "platform/MainThread.h"
#include "platform/UserFolders.h"
#include "platform/WorkerPool.h"

#include <QAbstractButton>
#include <QButtonGroup>
#include <QDialog>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QMessageBox>
#include <QPushButton>
#include <QLabel>
#include <QRadioButton>
#include <QVBoxLayout>
#include <QWidget>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

using platform::Localization;

// The choices clicked and not yet stored. Writes may overtake one another on
// the pool: each stores the latest of every choice under one lock, so the last
// write to land always holds the last clicks. The interface thread only ever
// takes the short lock on the values, never the one held while writing.
struct SettingsWindowController::PendingWrite {
    std::mutex writing;
    std::mutex latest; // guards the three below
    std::optional<bool> convert;
    std::optional<engine::Kind> engine;
    std::optional<QString> ytDlp; // empty: the one on PATH
    std::atomic<int> unwritten{0};

    void write()
    {
        const std::lock_guard lock(writing);
        std::optional<bool> convertNow;
        std::optional<engine::Kind> engineNow;
        std::optional<QString> ytDlpNow;
        {
            const std::lock_guard values(latest);
            convertNow = convert;
            engineNow = engine;
            ytDlpNow = ytDlp;
        }
        if (convertNow)
            Settings::setConvertVideos(*convertNow);
        if (engineNow || ytDlpNow) {
            engine::Choice choice = Settings::engineChoice();
            choice.kind = engineNow.value_or(choice.kind);
            choice.ytDlp = ytDlpNow.value_or(choice.ytDlp);
            Settings::setEngineChoice(choice);
        }
        --unwritten;
    }
};

SettingsWindowController::SettingsWindowController(QObject* parent)
    : QObject(parent), window_(new QDialog), radioMatrix_(new QButtonGroup(this)),
      engineMatrix_(new QButtonGroup(this)), folderLabel_(new QLabel),
      changeFolderButton_(new QPushButton(Localization::string("Settings.FolderChange"))),
      pending_(std::make_shared<PendingWrite>())
{
    window_->setWindowTitle(Localization::string("Settings.Title"));
    auto* question = new QLabel(Localization::string("Settings.Question"));
    auto* convert = new QRadioButton(Localization::string("Settings.ConvertToH264"));
    auto* keep = new QRadioButton(Localization::string("Settings.NoConversion"));
    for (QRadioButton* choice : {convert, keep})
        choice->setAccessibleName(choice->text());
    radioMatrix_->addButton(convert, 0);
    radioMatrix_->addButton(keep, 1);
    auto* engineQuestion = new QLabel(Localization::string("Settings.EngineQuestion"));
    auto* classic = new QRadioButton(Localization::string("Settings.EngineClassic"));
    auto* ytDlp = new QRadioButton(Localization::string("Settings.EngineYtDlp").arg(Localization::string("Settings.YtDlpChecking")));
    classic->setAccessibleName(classic->text());
    ytDlp->setAccessibleName(QStringLiteral("yt-dlp"));
    engineMatrix_->addButton(classic, 0);
    engineMatrix_->addButton(ytDlp, 1);
    ytDlpProgram_ = new QLabel;
    ytDlpProgram_->setTextFormat(Qt::PlainText);
    ytDlpProgram_->setForegroundRole(QPalette::PlaceholderText);
    ytDlpProgram_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* choose = new QPushButton(Localization::string("Settings.ChooseYtDlp"));
    choose->setAccessibleName(choose->text());
    usePath_ = new QPushButton(Localization::string("Settings.YtDlpOnPath"));
    usePath_->setAccessibleName(usePath_->text());
    auto* program = new QHBoxLayout;
    program->setContentsMargins(24, 0, 0, 0); // under the choice's text
    program->addWidget(ytDlpProgram_, 1);
    program->addWidget(choose);
    program->addWidget(usePath_);

    auto* layout = new QVBoxLayout(window_);
    layout->setContentsMargins(20, 16, 20, 20);
    layout->setSpacing(8);
    layout->addWidget(question);
    layout->addWidget(convert);
    layout->addWidget(keep);
    layout->addSpacing(12);
    layout->addWidget(engineQuestion);
    layout->addWidget(classic);
    layout->addWidget(ytDlp);
    layout->addLayout(program);
    layout->addSpacing(12);
    auto* folderQuestion = new QLabel(Localization::string("Settings.FolderQuestion"));
    layout->addWidget(folderQuestion);
    folderLabel_->setTextFormat(Qt::PlainText);
    folderLabel_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    folderLabel_->setWordWrap(true);
    folderLabel_->setAccessibleDescription(folderQuestion->text());
    changeFolderButton_->setAccessibleName(changeFolderButton_->text());
    auto* folderRow = new QHBoxLayout;
    folderRow->addWidget(folderLabel_, 1);
    folderRow->addWidget(changeFolderButton_, 0, Qt::AlignTop);
    layout->addLayout(folderRow);
    layout->addStretch(1);
    window_->setMinimumWidth(window_->sizeHint().width() + 40);

    // Toggled, not clicked: a screen reader toggles a choice without a click.
    connect(radioMatrix_, &QButtonGroup::idToggled, this, [this](int id, bool checked) {
        if (!checked || showingStored_)
            return;
        if (id == 0)
            radioConvertToH264();
        else
            radioNoConvertions();
    });
    connect(engineMatrix_, &QButtonGroup::idToggled, this, [this](int id, bool checked) {
        if (checked && !showingStored_)
            saveEngine(id);
    });
    connect(choose, &QPushButton::clicked, this, [this] {
        // Not modal to the program: the window goes on answering.
        auto* dialog = new QFileDialog(window_, Localization::string("Settings.ChooseYtDlp"));
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->setFileMode(QFileDialog::ExistingFile);
        dialog->setDirectory(program_.isEmpty() ? QDir::homePath() : QFileInfo(program_).absolutePath());
        dialog->setFilter(QDir::Files | QDir::Executable | QDir::AllDirs | QDir::NoDotAndDotDot);
        connect(dialog, &QFileDialog::fileSelected, this, &SettingsWindowController::chooseYtDlp);
        dialog->open();
    });
    connect(usePath_, &QPushButton::clicked, this, [this] { chooseYtDlp({}); });
    connect(changeFolderButton_, &QPushButton::clicked, this, &SettingsWindowController::changeFolder);
}

void SettingsWindowController::changeFolder()
{
    auto* dialog = new QFileDialog(window_, Localization::string("Settings.FolderChooser"), folderLabel_->text());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    connect(dialog, &QFileDialog::fileSelected, this, &SettingsWindowController::chooseFolder);
    dialog->open();
}

void SettingsWindowController::chooseFolder(const QString& folder)
{
    // Off the interface thread: trying the folder writes a file in it, and
    // the store writes its own.
    const QPointer<SettingsWindowController> self(this);
    platform::WorkerPool::run([self, folder] {
        const QString why = platform::UserFolders::whyNotWritable(folder);
        if (why.isEmpty())
            Settings::setDownloadFolder(folder);
        platform::MainThread::post([self, folder, why] {
            if (!self)
                return;
            if (why.isEmpty()) {
                self->folderLabel_->setText(folder);
                return;
            }
            auto* box = new QMessageBox(QMessageBox::Warning, Localization::string("Settings.Title"),
                                        Localization::string("Settings.FolderRefused").arg(folder, why),
                                        QMessageBox::Ok, self->window_);
            box->setTextFormat(Qt::PlainText);
            box->setAttribute(Qt::WA_DeleteOnClose);
            box->open();
        });
    });
}

SettingsWindowController::~SettingsWindowController()
{
    delete window_;
    // A choice clicked just before the program ends is still stored.
    while (pending_->unwritten > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void SettingsWindowController::windowDidLoad()
{
    // A click whose write has not landed yet is what the store will hold.
    std::optional<bool> convert;
    std::optional<engine::Kind> kind;
    std::optional<QString> program;
    {
        const std::lock_guard values(pending_->latest);
        convert = pending_->convert;
        kind = pending_->engine;
        program = pending_->ytDlp;
    }
    const engine::Choice stored = Settings::engineChoice();
    showingStored_ = true;
    radioMatrix_->button(convert.value_or(Settings::convertVideos()) ? 0 : 1)->setChecked(true);
    engineMatrix_->button(kind.value_or(stored.kind) == engine::Kind::ytDlp ? 1 : 0)->setChecked(true);
    showingStored_ = false;
    folderLabel_->setText(Settings::downloadFolder());
    showYtDlpVersion(program.value_or(stored.ytDlp));
}

void SettingsWindowController::showYtDlpVersion(const QString& configured)
{
    usePath_->setVisible(!configured.isEmpty());
    ytDlpProgram_->setText(Localization::string("Settings.YtDlpProgram").arg(Localization::string("Settings.YtDlpChecking")));
    engineMatrix_->button(1)->setText(Localization::string("Settings.EngineYtDlp").arg(Localization::string("Settings.YtDlpChecking")));
    // Off the interface thread: the version is yt-dlp's own answer. Only the
    // latest question's answer is shown.
    const int asked = ++versionAsked_;
    const QPointer<SettingsWindowController> self(this);
    platform::WorkerPool::run([self, configured, asked] {
        const QString located = engine::YtDlp::locate(configured);
        const auto version = engine::YtDlp::version(configured);
        platform::MainThread::post([self, configured, located, version, asked] {
            if (!self || asked != self->versionAsked_)
                return;
            const QString where = located.isEmpty() ? configured : located;
            self->program_ = where;
            self->ytDlpProgram_->setText(Localization::string("Settings.YtDlpProgram")
                                             .arg(where.isEmpty() ? QStringLiteral("yt-dlp") : where));
            self->engineMatrix_->button(1)->setText(
                Localization::string("Settings.EngineYtDlp")
                    .arg(version ? *version : Localization::string("Settings.YtDlpMissing")));
        });
    });
}

void SettingsWindowController::chooseYtDlp(const QString& program)
{
    store([&program](PendingWrite& pending) { pending.ytDlp = program; });
    showYtDlpVersion(program);
    emit ytDlpChosen(program);
}

void SettingsWindowController::saveEngine(int kind)
{
    store([kind](PendingWrite& pending) { pending.engine = kind == 1 ? engine::Kind::ytDlp : engine::Kind::classic; });
    emit engineChosen(kind);
}

void SettingsWindowController::store(const std::function<void(PendingWrite&)>& choose)
{
    {
        const std::lock_guard values(pending_->latest);
        choose(*pending_);
    }
    ++pending_->unwritten;
    // Off the interface thread: the store writes a file.
    platform::WorkerPool::run([pending = pending_] { pending->write(); });
}

void SettingsWindowController::showWindow()
{
    windowDidLoad();
    window_->show();
    window_->raise();
    window_->activateWindow();
}

void SettingsWindowController::radioConvertToH264()
{
    save(true);
}

void SettingsWindowController::radioNoConvertions()
{
    save(false);
}

void SettingsWindowController::save(bool convert)
{
    store([convert](PendingWrite& pending) { pending.convert = convert; });
}
