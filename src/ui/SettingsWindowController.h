#pragma once

#include <QObject>
#include <QPointer>

#include <memory>

class QButtonGroup;
class QWidget;

// The settings window: the program's one setting as two choices. It shows the
// stored value each time it opens and saves a choice the moment it is clicked.
class SettingsWindowController : public QObject {
    Q_OBJECT
public:
    explicit SettingsWindowController(QObject* parent = nullptr);
    ~SettingsWindowController() override;

    QWidget* window() const { return window_; }
    // Button 0: convert videos to H.264; button 1: keep them as they are.
    QButtonGroup* radioMatrix() const { return radioMatrix_; }

    void showWindow();
    void radioConvertToH264();
    void radioNoConvertions();

private:
    void windowDidLoad();
    // Off the interface thread: the store writes a file.
    void save(bool convert);

    struct PendingWrite;
    QPointer<QWidget> window_;
    QButtonGroup* radioMatrix_;
    std::shared_ptr<PendingWrite> pending_;
    bool showingStored_ = false;
};
