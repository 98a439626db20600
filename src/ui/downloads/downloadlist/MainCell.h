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

// One job of the downloads view: its title, status, progress (with bytes,
// speed and time left while it downloads), the reason of a failure, and Cancel
// and Play while the job offers them.
class MainCell : public ModelCell {
    Q_OBJECT
public:
    explicit MainCell(QWidget* parent = nullptr);

    void setObjectValue(const QModelIndex& index) override;

    QPushButton* cancelButton() const { return cancelButton_; }
    QPushButton* playButton() const { return playButton_; }
    QProgressBar* progressBar() const { return progressBar_; }
    QLabel* statusLabel() const { return statusLabel_; }
    QLabel* detailLabel() const { return detailLabel_; }

    // The progress bar's range and value for a job's progress: none while
    // unknown or with nothing to reach (the bar then spins); scaled down to
    // the bar's integers when the numbers are larger.
    static std::optional<std::pair<int, int>> barValues(std::optional<qint64> value, std::optional<qint64> maximum);

signals:
    void cancelClicked();
    void playClicked();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    ElidedLabel* titleLabel_;
    QLabel* statusLabel_;
    QLabel* detailLabel_;
    QProgressBar* progressBar_;
    QPushButton* cancelButton_;
    QPushButton* playButton_;
};

} // namespace downloadlist
