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
    QLabel* thumbnailView() const { return thumbnailView_; }
    bool compactButtons() const { return compact_; }

signals:
    void previewClicked();
    void downloadVideoClicked();
    void downloadAudioClicked();

protected:
    ResultCell(QSize thumbnailSize, QWidget* parent);
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    // Preview, Download video and Download audio, side by side.
    QHBoxLayout* buttonRow() const;

    // A narrow list is never scrolled sideways: each cell fits its parts to
    // the width it is given (it asks only for its narrowest, minimumSizeHint).
    virtual void fitWidth(int width) = 0;
    // The buttons' icons alone, their words kept as tooltips and accessible names.
    void setCompactButtons(bool compact);
    // The row of buttons with their words, as last measured while they showed them.
    int wordButtonsWidth();
    static constexpr int compactButtonSide = 34;
    static constexpr int compactButtonsWidth = 3 * compactButtonSide + 2 * 6;
    void setThumbnailSize(QSize size);

    QLabel* thumbnailView_;
    ElidedLabel* titleLabel_;
    QLabel* lengthLabel_;
    QProgressBar* busy_;
    QPushButton* previewButton_;
    QPushButton* downloadVideoButton_;
    QPushButton* downloadAudioButton_;

private:
    void showThumbnail();

    QSize thumbnailSize_;
    QImage image_;
    qint64 shownImage_ = -1;
    bool compact_ = false;
    int wordButtonsWidth_ = 0;
};

} // namespace resultlist
