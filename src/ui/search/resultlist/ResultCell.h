#pragma once

#include "ui/widgets/ModelCell.h"

#include <QImage>

class ElidedLabel;
class QHBoxLayout;
class QLabel;
class QProgressBar;
class QPushButton;

namespace resultlist {

// What both layouts of a search result show: the thumbnail, title and length
// of a video, a busy mark while its streams are found, and its three buttons.
class ResultCell : public ModelCell {
    Q_OBJECT
public:
    void setObjectValue(const QModelIndex& index) override;

    QPushButton* previewButton() const { return previewButton_; }
    QPushButton* downloadVideoButton() const { return downloadVideoButton_; }
    QPushButton* downloadAudioButton() const { return downloadAudioButton_; }
    ElidedLabel* titleLabel() const { return titleLabel_; }
    QLabel* lengthLabel() const { return lengthLabel_; }

signals:
    void previewClicked();
    void downloadVideoClicked();
    void downloadAudioClicked();

protected:
    ResultCell(QSize thumbnailSize, QWidget* parent);
    void paintEvent(QPaintEvent* event) override;
    // Preview, Download video and Download audio, side by side.
    QHBoxLayout* buttonRow() const;

    QLabel* thumbnailView_;
    ElidedLabel* titleLabel_;
    QLabel* lengthLabel_;
    QProgressBar* busy_;
    QPushButton* previewButton_;
    QPushButton* downloadVideoButton_;
    QPushButton* downloadAudioButton_;

private:
    const QSize thumbnailSize_;
    qint64 shownImage_ = -1;
};

} // namespace resultlist
