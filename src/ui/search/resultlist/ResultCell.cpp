#include "ui/search/resultlist/ResultCell.h"

#include "platform/Localization.h"
#include "platform/Text.h"
#include "ui/widgets/ElidedLabel.h"
#include "ui/search/SearchResultModel.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>

using platform::Localization;

namespace resultlist {

ResultCell::ResultCell(QSize thumbnailSize, QWidget* parent)
    : ModelCell(parent),
      thumbnailView_(new QLabel),
      titleLabel_(new ElidedLabel),
      lengthLabel_(new QLabel),
      busy_(new QProgressBar),
      previewButton_(new QPushButton(Localization::string("Search.Preview"))),
      downloadVideoButton_(new QPushButton(Localization::string("Search.DownloadVideo"))),
      downloadAudioButton_(new QPushButton(Localization::string("Search.DownloadAudio"))),
      thumbnailSize_(thumbnailSize)
{
    thumbnailView_->setFixedSize(thumbnailSize);
    thumbnailView_->setAlignment(Qt::AlignCenter);
    thumbnailView_->setAutoFillBackground(true);
    QPalette ground = thumbnailView_->palette();
    ground.setColor(QPalette::Window, QColor(0x20, 0x22, 0x25));
    thumbnailView_->setPalette(ground);
    lengthLabel_->setTextFormat(Qt::PlainText);
    lengthLabel_->setForegroundRole(QPalette::PlaceholderText);
    busy_->setRange(0, 0);
    busy_->setTextVisible(false);
    busy_->setFixedSize(60, 6);
    busy_->setAccessibleName(Localization::string("Search.FindingStreams"));
    busy_->hide();
    for (QPushButton* button : {previewButton_, downloadVideoButton_, downloadAudioButton_})
        button->setAccessibleName(button->text());
    connect(previewButton_, &QPushButton::clicked, this, &ResultCell::previewClicked);
    connect(downloadVideoButton_, &QPushButton::clicked, this, &ResultCell::downloadVideoClicked);
    connect(downloadAudioButton_, &QPushButton::clicked, this, &ResultCell::downloadAudioClicked);
}

QHBoxLayout* ResultCell::buttonRow() const
{
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(6);
    buttons->addWidget(previewButton_);
    buttons->addWidget(downloadVideoButton_);
    buttons->addWidget(downloadAudioButton_);
    buttons->addStretch(1);
    return buttons;
}

void ResultCell::setObjectValue(const QModelIndex& index)
{
    const QString title = index.data(Qt::DisplayRole).toString();
    titleLabel_->setFullText(title);
    setAccessibleName(title);
    setAccessibleDescription(title);
    lengthLabel_->setText(platform::clockText(index.data(SearchResultModel::SecondsRole).toLongLong()));
    busy_->setVisible(index.data(SearchResultModel::LoadingRole).toBool());

    // Decoded where it was fetched; scaled here once per picture.
    const QImage image = index.data(SearchResultModel::ThumbnailRole).value<QImage>();
    if (image.cacheKey() != shownImage_) {
        shownImage_ = image.cacheKey();
        const qreal ratio = devicePixelRatioF();
        QPixmap picture;
        if (!image.isNull()) {
            picture = QPixmap::fromImage(
                image.scaled(thumbnailSize_ * ratio, Qt::KeepAspectRatio, Qt::SmoothTransformation));
            picture.setDevicePixelRatio(ratio);
        }
        thumbnailView_->setPixmap(picture);
    }
}

void ResultCell::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::Midlight));
    painter.drawLine(0, height() - 1, width(), height() - 1);
}

} // namespace resultlist
