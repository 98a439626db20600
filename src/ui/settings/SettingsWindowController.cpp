#include "ui/settings/SettingsWindowController.h"

#include "catalogue/tools/ToolKeeper.h"
#include "catalogue/tools/Toolbox.h"
#include "downloads/Settings.h"
#include "platform/Localization.h"
#include "platform/MainThread.h"
#include "platform/UserFolders.h"
#include "platform/WorkerPool.h"

#include <QAbstractButton>
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QVBoxLayout>
#include <QWidget>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

using platform::Localization;

// The choices clicked and not yet stored. Writes may overtake one another on
// the pool: each stores the latest of every choice under one lock, so the last
// write to land always holds the last clicks. The interface thread only ever
// takes the short lock on the values, never the one held while writing.
struct SettingsWindowController::PendingWrite {
    std::mutex writing;
    std::mutex latest; // guards the values below
    std::optional<bool> convert;
    std::optional<engine::Kind> engine;
    std::optional<QString> ytDlp;  // empty: the newest found
    std::optional<QString> signIn; // empty: none
    std::optional<bool> keepCurrent;
    std::optional<int> connections;
    std::optional<int> quality;
    std::optional<Settings::Sound> sound;
    std::optional<bool> tagFiles;
    std::optional<QString> subtitles;
    std::optional<bool> automaticSubtitles;
    std::atomic<int> unwritten{0};

    void write()
    {
        const std::lock_guard lock(writing);
        PendingWrite now;
        {
            const std::lock_guard values(latest);
            now.convert = convert;
            now.engine = engine;
            now.ytDlp = ytDlp;
            now.signIn = signIn;
            now.keepCurrent = keepCurrent;
            now.connections = connections;
            now.quality = quality;
            now.sound = sound;
            now.tagFiles = tagFiles;
            now.subtitles = subtitles;
            now.automaticSubtitles = automaticSubtitles;
        }
        if (now.connections)
            Settings::setConnectionsPerDownload(*now.connections);
        if (now.convert)
            Settings::setConvertVideos(*now.convert);
        if (now.keepCurrent)
            Settings::setKeepToolsCurrent(*now.keepCurrent);
        if (now.quality)
            Settings::setVideoQuality(*now.quality);
        if (now.sound)
            Settings::setSound(*now.sound);
        if (now.tagFiles)
            Settings::setTagFiles(*now.tagFiles);
        if (now.subtitles)
            Settings::setSubtitles(*now.subtitles);
        if (now.automaticSubtitles)
            Settings::setAutomaticSubtitles(*now.automaticSubtitles);
        if (now.engine || now.ytDlp || now.signIn) {
            engine::Choice choice = Settings::engineChoice();
            choice.kind = now.engine.value_or(choice.kind);
            choice.ytDlp = now.ytDlp.value_or(choice.ytDlp);
            choice.signIn = now.signIn.value_or(choice.signIn);
            Settings::setEngineChoice(choice);
        }
        --unwritten;
    }
};

namespace {

constexpr int classicId = 0;
constexpr int ytDlpId = 1;
constexpr int automaticId = 2;

engine::Kind kindOf(int id)
{
    return id == ytDlpId ? engine::Kind::ytDlp : id == classicId ? engine::Kind::classic : engine::Kind::automatic;
}

int idOf(engine::Kind kind)
{
    return kind == engine::Kind::ytDlp ? ytDlpId : kind == engine::Kind::classic ? classicId : automaticId;
}

QString originText(tools::Tool::Origin origin)
{
    switch (origin) {
    case tools::Tool::Origin::own:
        return Localization::string("Settings.OriginOwn");
    case tools::Tool::Origin::chosen:
        return Localization::string("Settings.OriginChosen");
    default:
        return Localization::string("Settings.OriginPath");
    }
}

// "yt-dlp 2025.11.12, Melodrift's own, 13 days old", said to be old past 90 days.
QString toolLine(const QString& name, const tools::Tool& tool)
{
    if (!tool.found())
        return Localization::string("Settings.ToolNone").arg(name);
    const qint64 age = tool.ageDays().value_or(0);
    const QString line =
        Localization::string("Settings.ToolLine").arg(name, tool.version.isEmpty() ? QStringLiteral("?") : tool.version,
                                                      originText(tool.origin))
            .arg(age);
    if (name == QLatin1String("yt-dlp") && age > tools::Toolbox::oldAfterDays)
        return Localization::string("Settings.ToolOld").arg(line).arg(tools::Toolbox::oldAfterDays);
    return line;
}

QLabel* heading(const QString& text)
{
    auto* label = new QLabel(text);
    QFont bold = label->font();
    bold.setBold(true);
    label->setFont(bold);
    return label;
}

// The subtitle languages offered by name; another stored one is added when shown.
constexpr const char* subtitleLanguages[] = {
    "ar", "cs", "da", "de", "el", "en", "es", "fi", "fr", "hi", "hu", "id", "it", "ja", "ko",
    "nl", "pl", "pt", "pt-BR", "ro", "ru", "sv", "th", "tr", "uk", "vi", "zh-Hans", "zh-Hant"};

// "Portuguese (Brazil)", "Chinese (Traditional Han)": the language's name, in
// English, the names Qt knows in every language the program speaks.
QString languageName(const QString& code)
{
    const QLocale locale(code);
    if (locale.language() == QLocale::C)
        return code;
    const QString name = QLocale::languageToString(locale.language());
    const QString part = code.section(u'-', 1);
    if (part.isEmpty())
        return name;
    const QString detail = part.size() == 4 ? QLocale::scriptToString(locale.script())
                                            : QLocale::territoryToString(locale.territory());
    return QStringLiteral("%1 (%2)").arg(name, detail.isEmpty() ? part : detail);
}

// A label for the control, in a row of the form.
QLabel* labelFor(QWidget* control, const QString& text)
{
    auto* label = new QLabel(text);
    label->setBuddy(control);
    control->setAccessibleName(text);
    return label;
}

QLabel* plainLine()
{
    auto* label = new QLabel;
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setWordWrap(true);
    return label;
}

} // namespace

SettingsWindowController::SettingsWindowController(tools::ToolKeeper* keeper, QObject* parent)
    : QObject(parent), window_(new QDialog), keeper_(keeper), radioMatrix_(new QButtonGroup(this)),
      engineMatrix_(new QButtonGroup(this)), folderLabel_(plainLine()),
      changeFolderButton_(new QPushButton(Localization::string("Settings.FolderChange"))),
      pending_(std::make_shared<PendingWrite>())
{
    window_->setWindowTitle(Localization::string("Settings.Title"));
    auto* convert = new QRadioButton(Localization::string("Settings.ConvertToH264"));
    auto* keep = new QRadioButton(Localization::string("Settings.NoConversion"));
    for (QRadioButton* choice : {convert, keep})
        choice->setAccessibleName(choice->text());
    radioMatrix_->addButton(convert, 0);
    radioMatrix_->addButton(keep, 1);

    auto* automatic = new QRadioButton(Localization::string("Settings.EngineAutomatic"));
    auto* classic = new QRadioButton(Localization::string("Settings.EngineClassic"));
    auto* ytDlp = new QRadioButton(Localization::string("Settings.EngineYtDlp").arg(Localization::string("Settings.YtDlpChecking")));
    automatic->setAccessibleName(automatic->text());
    classic->setAccessibleName(classic->text());
    ytDlp->setAccessibleName(QStringLiteral("yt-dlp"));
    engineMatrix_->addButton(classic, classicId);
    engineMatrix_->addButton(ytDlp, ytDlpId);
    engineMatrix_->addButton(automatic, automaticId);
    ytDlpProgram_ = plainLine();
    ytDlpProgram_->setForegroundRole(QPalette::PlaceholderText);
    auto* choose = new QPushButton(Localization::string("Settings.ChooseYtDlp"));
    choose->setAccessibleName(choose->text());
    usePath_ = new QPushButton(Localization::string("Settings.YtDlpOnPath"));
    usePath_->setAccessibleName(usePath_->text());
    auto* program = new QHBoxLayout;
    program->setContentsMargins(24, 0, 0, 0); // under the choice's text
    program->addWidget(ytDlpProgram_, 1);
    program->addWidget(choose);
    program->addWidget(usePath_);

    signIn_ = new QComboBox;
    signIn_->addItem(Localization::string("Settings.SignInNone"), QString());
    for (const QString& browser : engine::Choice::browsers()) {
        QString name = browser;
        name[0] = name[0].toUpper();
        signIn_->addItem(name, browser);
    }
    auto* signInLabel = new QLabel(Localization::string("Settings.SignIn"));
    signInLabel->setBuddy(signIn_);
    signIn_->setAccessibleName(signInLabel->text());
    auto* signInRow = new QHBoxLayout;
    signInRow->addWidget(signInLabel);
    signInRow->addWidget(signIn_);
    signInRow->addStretch(1);

    ytDlpTool_ = plainLine();
    runtimeTool_ = plainLine();
    updateButton_ = new QPushButton(Localization::string("Settings.UpdateNow"));
    updateButton_->setAccessibleName(updateButton_->text());
    updateButton_->setVisible(keeper_ != nullptr);
    updateStatus_ = plainLine();
    updateStatus_->setForegroundRole(QPalette::PlaceholderText);
    updateStatus_->hide();
    keepCurrent_ = new QCheckBox(Localization::string("Settings.KeepCurrent"));
    keepCurrent_->setAccessibleName(keepCurrent_->text());
    auto* toolsRow = new QHBoxLayout;
    auto* toolLines = new QVBoxLayout;
    toolLines->setSpacing(4);
    toolLines->addWidget(ytDlpTool_);
    toolLines->addWidget(runtimeTool_);
    toolsRow->addLayout(toolLines, 1);
    toolsRow->addWidget(updateButton_, 0, Qt::AlignTop);

    videoQuality_ = new QComboBox;
    for (const int height : Settings::videoQualities)
        videoQuality_->addItem(height == 0 ? Localization::string("Settings.QualityBest")
                                           : Localization::string("Settings.QualityUpTo").arg(height),
                               height);
    sound_ = new QComboBox;
    sound_->addItem(Localization::string("Settings.SoundMp3"), static_cast<int>(Settings::Sound::MP3));
    sound_->addItem(Localization::string("Settings.SoundOriginal"), static_cast<int>(Settings::Sound::Original));
    subtitles_ = new QComboBox;
    subtitles_->addItem(Localization::string("Settings.SubtitlesNone"), QString());
    subtitles_->addItem(Localization::string("Settings.SubtitlesSystem"), QStringLiteral("system"));
    subtitles_->insertSeparator(subtitles_->count());
    QList<std::pair<QString, QString>> languages;
    for (const char* code : subtitleLanguages)
        languages.append({languageName(QLatin1String(code)), QLatin1String(code)});
    std::sort(languages.begin(), languages.end(),
              [](const auto& a, const auto& b) { return QString::localeAwareCompare(a.first, b.first) < 0; });
    for (const auto& [name, code] : languages)
        subtitles_->addItem(name, code);
    subtitles_->setMaxVisibleItems(16);
    automaticSubtitles_ = new QCheckBox(Localization::string("Settings.AutomaticSubtitles"));
    automaticSubtitles_->setAccessibleName(automaticSubtitles_->text());
    tagFiles_ = new QCheckBox(Localization::string("Settings.TagFiles"));
    tagFiles_->setAccessibleName(tagFiles_->text());
    auto* saving = new QGridLayout;
    saving->setContentsMargins(0, 4, 0, 0);
    saving->setHorizontalSpacing(8);
    saving->setVerticalSpacing(8);
    saving->addWidget(labelFor(videoQuality_, Localization::string("Settings.VideoQuality")), 0, 0);
    saving->addWidget(videoQuality_, 0, 1);
    saving->addWidget(labelFor(sound_, Localization::string("Settings.Sound")), 1, 0);
    saving->addWidget(sound_, 1, 1);
    saving->addWidget(labelFor(subtitles_, Localization::string("Settings.Subtitles")), 2, 0);
    saving->addWidget(subtitles_, 2, 1);
    saving->addWidget(automaticSubtitles_, 3, 1);
    saving->addWidget(tagFiles_, 4, 0, 1, 3);
    saving->setColumnStretch(2, 1);

    auto* layout = new QVBoxLayout(window_);
    layout->setContentsMargins(20, 16, 20, 20);
    layout->setSpacing(8);
    layout->addWidget(heading(Localization::string("Settings.Question")));
    layout->addWidget(convert);
    layout->addWidget(keep);
    layout->addLayout(saving);
    layout->addSpacing(12);
    layout->addWidget(heading(Localization::string("Settings.EngineQuestion")));
    layout->addWidget(automatic);
    layout->addWidget(classic);
    layout->addWidget(ytDlp);
    layout->addLayout(program);
    layout->addLayout(signInRow);
    layout->addSpacing(12);
    layout->addWidget(heading(Localization::string("Settings.ToolsQuestion")));
    layout->addLayout(toolsRow);
    layout->addWidget(updateStatus_);
    layout->addWidget(keepCurrent_);
    layout->addSpacing(12);
    auto* folderQuestion = heading(Localization::string("Settings.FolderQuestion"));
    layout->addWidget(folderQuestion);
    folderLabel_->setAccessibleDescription(folderQuestion->text());
    changeFolderButton_->setAccessibleName(changeFolderButton_->text());
    auto* folderRow = new QHBoxLayout;
    folderRow->addWidget(folderLabel_, 1);
    folderRow->addWidget(changeFolderButton_, 0, Qt::AlignTop);
    layout->addLayout(folderRow);
    connections_ = new QSpinBox;
    connections_->setRange(1, 8);
    auto* connectionsLabel = new QLabel(Localization::string("Settings.Connections"));
    connectionsLabel->setBuddy(connections_);
    connections_->setAccessibleName(connectionsLabel->text());
    auto* connectionsRow = new QHBoxLayout;
    connectionsRow->addWidget(connectionsLabel);
    connectionsRow->addWidget(connections_);
    connectionsRow->addStretch(1);
    layout->addLayout(connectionsRow);
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
            saveEngine(kindOf(id));
    });
    connect(signIn_, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (showingStored_ || index < 0)
            return;
        const QString browser = signIn_->itemData(index).toString();
        store([&browser](PendingWrite& pending) { pending.signIn = browser; });
        emit signInChosen(browser);
    });
    connect(connections_, &QSpinBox::valueChanged, this, [this](int connections) {
        if (!showingStored_)
            store([connections](PendingWrite& pending) { pending.connections = connections; });
    });
    connect(videoQuality_, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (showingStored_ || index < 0)
            return;
        const int height = videoQuality_->itemData(index).toInt();
        store([height](PendingWrite& pending) { pending.quality = height; });
    });
    connect(sound_, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (showingStored_ || index < 0)
            return;
        const auto sound = static_cast<Settings::Sound>(sound_->itemData(index).toInt());
        store([sound](PendingWrite& pending) { pending.sound = sound; });
    });
    connect(subtitles_, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (index < 0)
            return;
        const QString choice = subtitles_->itemData(index).toString();
        automaticSubtitles_->setEnabled(!choice.isEmpty());
        if (!showingStored_)
            store([&choice](PendingWrite& pending) { pending.subtitles = choice; });
    });
    connect(automaticSubtitles_, &QCheckBox::toggled, this, [this](bool automatic) {
        if (!showingStored_)
            store([automatic](PendingWrite& pending) { pending.automaticSubtitles = automatic; });
    });
    connect(tagFiles_, &QCheckBox::toggled, this, [this](bool tag) {
        if (!showingStored_)
            store([tag](PendingWrite& pending) { pending.tagFiles = tag; });
    });
    connect(keepCurrent_, &QCheckBox::toggled, this, [this](bool keep) {
        if (!showingStored_)
            store([keep](PendingWrite& pending) { pending.keepCurrent = keep; });
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
    if (keeper_) {
        connect(updateButton_, &QPushButton::clicked, keeper_, &tools::ToolKeeper::update);
        connect(keeper_, &tools::ToolKeeper::updateStarted, this, [this] {
            updateButton_->setEnabled(false);
            updateStatus_->setText(Localization::string("Settings.Updating").arg(QString()));
            updateStatus_->show();
        });
        connect(keeper_, &tools::ToolKeeper::progressed, this, [this](const QString& tool, qint64 done, qint64 total) {
            const QLocale locale;
            const QString got = locale.formattedDataSize(done, 1, QLocale::DataSizeSIFormat);
            updateStatus_->setText(Localization::string("Settings.Updating")
                                       .arg(tool + QLatin1Char(' ') +
                                            (total < 0 ? got
                                                       : Localization::string("Tools.Of").arg(
                                                             got, locale.formattedDataSize(total, 1,
                                                                                           QLocale::DataSizeSIFormat)))));
        });
        connect(keeper_, &tools::ToolKeeper::updateEnded, this, &SettingsWindowController::updateEnded);
        updateButton_->setEnabled(!keeper_->isUpdating());
    }
}

void SettingsWindowController::updateEnded(const QList<tools::Outcome>& outcomes)
{
    updateButton_->setEnabled(true);
    QStringList done, failed;
    for (const tools::Outcome& outcome : outcomes) {
        if (outcome.ok())
            done.append(outcome.tool + QLatin1Char(' ') + outcome.version);
        else
            failed.append(outcome.tool + QStringLiteral(": ") + outcome.reason);
    }
    updateStatus_->setText(failed.isEmpty() ? Localization::string("Settings.UpdateDone").arg(done.join(QStringLiteral(", ")))
                                            : Localization::string("Settings.UpdateFailed").arg(failed.join(QLatin1Char(' '))));
    updateStatus_->show();
    showTools(chosen_);
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
    platform::WorkerPool::run(
        this,
        [folder] {
            const QString why = platform::UserFolders::whyNotWritable(folder);
            if (why.isEmpty())
                Settings::setDownloadFolder(folder);
            return why;
        },
        [this, folder](const QString& why) {
            if (why.isEmpty()) {
                folderLabel_->setText(folder);
                return;
            }
            auto* box = new QMessageBox(QMessageBox::Warning, Localization::string("Settings.Title"),
                                        Localization::string("Settings.FolderRefused").arg(folder, why),
                                        QMessageBox::Ok, window_);
            box->setTextFormat(Qt::PlainText);
            box->setAttribute(Qt::WA_DeleteOnClose);
            box->open();
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
    std::optional<bool> convert, keepCurrent, tagFiles, automaticSubtitles;
    std::optional<int> connections, quality;
    std::optional<Settings::Sound> sound;
    std::optional<engine::Kind> kind;
    std::optional<QString> program, signIn, subtitles;
    {
        const std::lock_guard values(pending_->latest);
        convert = pending_->convert;
        kind = pending_->engine;
        program = pending_->ytDlp;
        signIn = pending_->signIn;
        keepCurrent = pending_->keepCurrent;
        connections = pending_->connections;
        quality = pending_->quality;
        sound = pending_->sound;
        tagFiles = pending_->tagFiles;
        subtitles = pending_->subtitles;
        automaticSubtitles = pending_->automaticSubtitles;
    }
    const engine::Choice stored = Settings::engineChoice();
    showingStored_ = true;
    radioMatrix_->button(convert.value_or(Settings::convertVideos()) ? 0 : 1)->setChecked(true);
    engineMatrix_->button(idOf(kind.value_or(stored.kind)))->setChecked(true);
    signIn_->setCurrentIndex(std::max(0, signIn_->findData(signIn.value_or(stored.signIn))));
    keepCurrent_->setChecked(keepCurrent.value_or(Settings::keepToolsCurrent()));
    connections_->setValue(connections.value_or(Settings::connectionsPerDownload()));
    videoQuality_->setCurrentIndex(std::max(0, videoQuality_->findData(quality.value_or(Settings::videoQuality()))));
    sound_->setCurrentIndex(std::max(0, sound_->findData(static_cast<int>(sound.value_or(Settings::sound())))));
    tagFiles_->setChecked(tagFiles.value_or(Settings::tagFiles()));
    showSubtitles(subtitles.value_or(Settings::subtitles()));
    automaticSubtitles_->setChecked(automaticSubtitles.value_or(Settings::automaticSubtitles()));
    showingStored_ = false;
    folderLabel_->setText(Settings::downloadFolder());
    showTools(program.value_or(stored.ytDlp));
}

void SettingsWindowController::showSubtitles(const QString& choice)
{
    int index = subtitles_->findData(choice);
    if (index < 0) {
        // One chosen elsewhere (the command line takes any code): offered from now on.
        subtitles_->addItem(languageName(choice), choice);
        index = subtitles_->count() - 1;
    }
    subtitles_->setCurrentIndex(index);
    automaticSubtitles_->setEnabled(!choice.isEmpty());
}

void SettingsWindowController::showTools(const QString& chosen)
{
    chosen_ = chosen;
    usePath_->setVisible(!chosen.isEmpty());
    const QString checking = Localization::string("Settings.YtDlpChecking");
    ytDlpProgram_->setText(Localization::string("Settings.YtDlpProgram").arg(checking));
    engineMatrix_->button(ytDlpId)->setText(Localization::string("Settings.EngineYtDlp").arg(checking));
    // Off the interface thread: a version is the program's own answer. Only
    // the latest question's answer is shown.
    const int asked = ++toolsAsked_;
    platform::WorkerPool::run(
        this,
        [chosen] {
            const tools::Toolbox toolbox;
            return std::pair{toolbox.ytDlp(chosen), toolbox.jsRuntime()};
        },
        [this, chosen, asked](const std::pair<tools::Tool, tools::Tool>& found) {
            if (asked != toolsAsked_)
                return;
            const auto& [ytDlp, runtime] = found;
            const QString where = ytDlp.found() ? ytDlp.path : chosen;
            program_ = where;
            ytDlpProgram_->setText(Localization::string("Settings.YtDlpProgram")
                                       .arg(where.isEmpty() ? QStringLiteral("yt-dlp") : where));
            engineMatrix_->button(ytDlpId)->setText(
                Localization::string("Settings.EngineYtDlp")
                    .arg(ytDlp.usable() && !ytDlp.version.isEmpty() ? ytDlp.version
                                                                     : Localization::string("Settings.YtDlpMissing")));
            ytDlpTool_->setText(toolLine(QStringLiteral("yt-dlp"), ytDlp));
            runtimeTool_->setText(toolLine(runtime.displayName(), runtime));
        });
}

void SettingsWindowController::chooseYtDlp(const QString& program)
{
    store([&program](PendingWrite& pending) { pending.ytDlp = program; });
    showTools(program);
    emit ytDlpChosen(program);
}

void SettingsWindowController::saveEngine(engine::Kind kind)
{
    store([kind](PendingWrite& pending) { pending.engine = kind; });
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
