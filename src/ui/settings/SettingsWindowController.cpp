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
#include <mutex>
#include <thread>

using platform::Localization;

// Writes may overtake one another on the pool; each writes the latest choice
// under one lock, so the last write to land is always the last click.
struct SettingsWindowController::PendingWrite {
    std::mutex writing;
    std::atomic<bool> convert{true};
    std::atomic<int> unwritten{0};
    std::atomic<int> engine{-1}; // the engine last chosen, -1: none yet
    QString ytDlp;                // the program last chosen (under writing)
    bool ytDlpChosen = false;
    std::atomic<int> engineUnwritten{0};
    std::atomic<int> ytDlpUnwritten{0};
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
    while (pending_->unwritten > 0 || pending_->engineUnwritten > 0 || pending_->ytDlpUnwritten > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void SettingsWindowController::windowDidLoad()
{
    // A click whose write has not landed yet is what the store will hold.
    const bool convert = pending_->unwritten > 0 ? pending_->convert.load() : Settings::convertVideos();
    const int engineId = pending_->engine >= 0 ? pending_->engine.load()
                                               : static_cast<int>(Settings::engineChoice().kind == engine::Kind::ytDlp);
    showingStored_ = true;
    radioMatrix_->button(convert ? 0 : 1)->setChecked(true);
    engineMatrix_->button(engineId)->setChecked(true);
    showingStored_ = false;
    folderLabel_->setText(Settings::downloadFolder());
    QString program;
    {
        std::lock_guard lock(pending_->writing);
        program = pending_->ytDlpChosen ? pending_->ytDlp : Settings::engineChoice().ytDlp;
    }
    showYtDlpVersion(program);
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
    {
        std::lock_guard lock(pending_->writing);
        pending_->ytDlp = program;
        pending_->ytDlpChosen = true;
    }
    ++pending_->ytDlpUnwritten;
    platform::WorkerPool::run([pending = pending_] {
        std::lock_guard lock(pending->writing);
        engine::Choice choice = Settings::engineChoice();
        choice.ytDlp = pending->ytDlp;
        Settings::setEngineChoice(choice);
        --pending->ytDlpUnwritten;
    });
    showYtDlpVersion(program);
    emit ytDlpChosen(program);
}

void SettingsWindowController::saveEngine(int kind)
{
    pending_->engine = kind;
    ++pending_->engineUnwritten;
    platform::WorkerPool::run([pending = pending_] {
        std::lock_guard lock(pending->writing);
        engine::Choice choice = Settings::engineChoice();
        choice.kind = pending->engine == 1 ? engine::Kind::ytDlp : engine::Kind::classic;
        if (pending->ytDlpChosen)
            choice.ytDlp = pending->ytDlp;
        Settings::setEngineChoice(choice);
        --pending->engineUnwritten;
    });
    emit engineChosen(kind);
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
    pending_->convert = convert;
    ++pending_->unwritten;
    platform::WorkerPool::run([pending = pending_] {
        std::lock_guard lock(pending->writing);
        Settings::setConvertVideos(pending->convert);
        --pending->unwritten;
    });
}
