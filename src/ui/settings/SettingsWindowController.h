#pragma once

#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>

class QAbstractButton;
class QButtonGroup;
class QLabel;
class QPushButton;
class QWidget;

// The settings window: how videos are saved and where they are found, each as
// two choices, and the Downloads folder with "Change…". It shows the stored
// values each time it opens and saves a choice the moment it is made.
class SettingsWindowController : public QObject {
    Q_OBJECT
public:
    explicit SettingsWindowController(QObject* parent = nullptr);
    ~SettingsWindowController() override;

    QWidget* window() const { return window_; }
    // Button 0: convert videos to H.264; button 1: keep them as they are.
    QButtonGroup* radioMatrix() const { return radioMatrix_; }
    // Button 0: Melodrift's own reader; button 1: yt-dlp (its version shown).
    QButtonGroup* engineMatrix() const { return engineMatrix_; }
    QLabel* folderLabel() const { return folderLabel_; }
    QPushButton* changeFolderButton() const { return changeFolderButton_; }

    void showWindow();
    // The yt-dlp program to run from now on; empty: the one on PATH.
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
    // The user chose the engine: 0 the classic one, 1 yt-dlp.
    void engineChosen(int kind);
    void ytDlpChosen(const QString& program);

private:
    void saveEngine(int kind);
    void showYtDlpVersion(const QString& configured);

    void windowDidLoad();
    void save(bool convert);
    struct PendingWrite;
    // Takes the choice into the pending values and stores them off this thread.
    void store(const std::function<void(PendingWrite&)>& choose);

    QPointer<QWidget> window_;
    QButtonGroup* radioMatrix_;
    QButtonGroup* engineMatrix_;
    QLabel* folderLabel_;
    QPushButton* changeFolderButton_;
    QLabel* ytDlpProgram_;
    QAbstractButton* usePath_;
    int versionAsked_ = 0;
    QString program_; // the yt-dlp shown, where it was found
    std::shared_ptr<PendingWrite> pending_;
    bool showingStored_ = false;
};
