#pragma once

#include "catalogue/engine/Engine.h"

#include <QList>
#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>

class QAbstractButton;
class QButtonGroup;
class QCheckBox;
class QComboBox;
class QLabel;
class QPushButton;
class QSpinBox;
class QWidget;
namespace tools {
class ToolKeeper;
struct Outcome;
}

// The settings window: how videos are saved, what finds them (the engine,
// the yt-dlp program, the browser's sign-in), the tools Melodrift keeps
// current, and the Downloads folder. It shows the stored values each time it
// opens and saves a choice the moment it is made.
class SettingsWindowController : public QObject {
    Q_OBJECT
public:
    // keeper: what Update now runs (none: the button is not shown).
    explicit SettingsWindowController(tools::ToolKeeper* keeper = nullptr, QObject* parent = nullptr);
    ~SettingsWindowController() override;

    QWidget* window() const { return window_; }
    // Button 0: convert videos to H.264; button 1: keep them as they are.
    QButtonGroup* radioMatrix() const { return radioMatrix_; }
    // Button 0: Melodrift's own reader; 1: yt-dlp (its version shown); 2: automatically.
    QButtonGroup* engineMatrix() const { return engineMatrix_; }
    QLabel* folderLabel() const { return folderLabel_; }
    QPushButton* changeFolderButton() const { return changeFolderButton_; }
    // The yt-dlp that runs and the JavaScript runtime it gets: version, whose, age.
    QLabel* ytDlpTool() const { return ytDlpTool_; }
    QLabel* runtimeTool() const { return runtimeTool_; }
    QPushButton* updateButton() const { return updateButton_; }
    // What the last Update now came to, or how far it is.
    QLabel* updateStatus() const { return updateStatus_; }
    QCheckBox* keepCurrent() const { return keepCurrent_; }
    // "None" first, then the browsers yt-dlp can sign in as.
    QComboBox* signIn() const { return signIn_; }
    // How many connections one download may use at once (1 to 8).
    QSpinBox* connections() const { return connections_; }
    // The highest picture Download video saves: its data the height, 0 the best.
    QComboBox* videoQuality() const { return videoQuality_; }
    // How sound tracks are saved: its data a Settings::Sound.
    QComboBox* sound() const { return sound_; }
    QCheckBox* tagFiles() const { return tagFiles_; }
    // Its data: "" none, "system", else a language code.
    QComboBox* subtitles() const { return subtitles_; }
    // Only while some subtitles are chosen.
    QCheckBox* automaticSubtitles() const { return automaticSubtitles_; }

    void showWindow();
    // The yt-dlp program to run from now on; empty: the newer of Melodrift's own and PATH's.
    void chooseYtDlp(const QString& program);
    // Where the program chosen is shown, and what it is.
    QLabel* ytDlpProgram() const { return ytDlpProgram_; }
    void radioConvertToH264();
    void radioNoConvertions();
    // Asks for a folder; one that cannot be written is refused, saying why.
    void changeFolder();
    // Stores the folder once it is found writable; else says why, in a box.
    void chooseFolder(const QString& folder);

signals:
    void engineChosen(engine::Kind kind);
    void ytDlpChosen(const QString& program);
    // The browser whose sign-in yt-dlp uses; empty: none.
    void signInChosen(const QString& browser);

private:
    void saveEngine(engine::Kind kind);
    // Finds the tools off the interface thread and shows them.
    void showTools(const QString& chosen);
    void updateEnded(const QList<tools::Outcome>& outcomes);

    void windowDidLoad();
    // Shows the subtitles stored, naming a language the list does not offer.
    void showSubtitles(const QString& choice);
    void save(bool convert);
    struct PendingWrite;
    // Takes the choice into the pending values and stores them off this thread.
    void store(const std::function<void(PendingWrite&)>& choose);

    QPointer<QWidget> window_;
    QPointer<tools::ToolKeeper> keeper_;
    QButtonGroup* radioMatrix_;
    QButtonGroup* engineMatrix_;
    QLabel* folderLabel_;
    QPushButton* changeFolderButton_;
    QLabel* ytDlpProgram_;
    QAbstractButton* usePath_;
    QLabel* ytDlpTool_;
    QLabel* runtimeTool_;
    QPushButton* updateButton_;
    QLabel* updateStatus_;
    QCheckBox* keepCurrent_;
    QComboBox* signIn_;
    QSpinBox* connections_;
    QComboBox* videoQuality_;
    QComboBox* sound_;
    QCheckBox* tagFiles_;
    QComboBox* subtitles_;
    QCheckBox* automaticSubtitles_;
    int toolsAsked_ = 0;
    QString program_; // the yt-dlp shown, where it was found
    QString chosen_;  // the program chosen, as stored
    std::shared_ptr<PendingWrite> pending_;
    bool showingStored_ = false;
};
