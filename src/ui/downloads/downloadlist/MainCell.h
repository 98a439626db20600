#pragma once

#include "ui/widgets/ModelCell.h"

#include <QtGlobal>

#include <optional>
#include <utility>

class ElidedLabel;
class QLabel;
class QProgressBar;
class QPushButton;

namespace downloadlist {

// One row of the downloads view: its title, status, progress (with bytes,
// speed and time left while it downloads); once ended, what was saved (kind,
// file name, size, date) or why it failed; and the row's actions: Cancel, Play,
// Show in folder, Retry, Remove from list, Pause and Resume, each while the row offers it. With
// the focus in the row, Delete removes it and Enter plays it.
class MainCell : public ModelCell {
    Q_OBJECT
public:
    explicit MainCell(QWidget* parent = nullptr);

    void setObjectValue(const QModelIndex& index) override;

    QPushButton* cancelButton() const { return cancelButton_; }
    QPushButton* pauseButton() const { return pauseButton_; }
    QPushButton* resumeButton() const { return resumeButton_; }
    QPushButton* playButton() const { return playButton_; }
    QPushButton* showInFolderButton() const { return showInFolderButton_; }
    QPushButton* retryButton() const { return retryButton_; }
    QPushButton* removeButton() const { return removeButton_; }
    QProgressBar* progressBar() const { return progressBar_; }
    QLabel* statusLabel() const { return statusLabel_; }
    ElidedLabel* detailLabel() const { return detailLabel_; }

    // The progress bar's range and value for a job's progress: none while
    // unknown or with nothing to reach (the bar then spins); scaled down to
    // the bar's integers when the numbers are larger.
    static std::optional<std::pair<int, int>> barValues(std::optional<qint64> value, std::optional<qint64> maximum);

signals:
    void cancelClicked();
    void pauseClicked();
    void resumeClicked();
    void playClicked();
    void showInFolderClicked();
    void retryClicked();
    void removeClicked();

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    ElidedLabel* titleLabel_;
    QLabel* statusLabel_;
    ElidedLabel* detailLabel_;
    QProgressBar* progressBar_;
    QPushButton* pauseButton_;
    QPushButton* resumeButton_;
    QPushButton* cancelButton_;
    QPushButton* playButton_;
    QPushButton* showInFolderButton_;
    QPushButton* retryButton_;
    QPushButton* removeButton_;
};

} // namespace downloadlist
