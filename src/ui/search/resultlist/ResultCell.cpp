#include "ui/search/resultlist/ResultCell.h"

#include "platform/Localization.h"
#include "platform/Text.h"
#include "ui/widgets/ElidedLabel.h"
#include "ui/widgets/Picture.h"
#include "ui/search/SearchResultModel.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QResizeEvent>

#include <utility>

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

    // Decoded where it was fetched; scaled here once per picture and size.
    const QImage image = index.data(SearchResultModel::ThumbnailRole).value<QImage>();
    if (image.cacheKey() != shownImage_) {
        shownImage_ = image.cacheKey();
        image_ = image;
        showThumbnail();
    }
}

void ResultCell::showThumbnail()
{
    const qreal ratio = devicePixelRatioF();
    QPixmap picture;
    if (!image_.isNull()) {
        picture = QPixmap::fromImage(image_.scaled(thumbnailSize_ * ratio, Qt::KeepAspectRatio, Qt::SmoothTransformation));
        picture.setDevicePixelRatio(ratio);
    }
    thumbnailView_->setPixmap(picture);
}

void ResultCell::setThumbnailSize(QSize size)
{
    if (size == thumbnailSize_)
        return;
    thumbnailSize_ = size;
    thumbnailView_->setFixedSize(size);
    showThumbnail();
}

void ResultCell::resizeEvent(QResizeEvent* event)
{
    ModelCell::resizeEvent(event);
    fitWidth(event->size().width());
}

int ResultCell::wordButtonsWidth()
{
    if (!compact_ || wordButtonsWidth_ == 0) {
        const bool wasCompact = compact_;
        setCompactButtons(false);
        wordButtonsWidth_ = 2 * 6;
        for (const QPushButton* button : {previewButton_, downloadVideoButton_, downloadAudioButton_})
            wordButtonsWidth_ += button->sizeHint().width();
        setCompactButtons(wasCompact);
    }
    return wordButtonsWidth_;
}

void ResultCell::setCompactButtons(bool compact)
{
    if (compact == compact_)
        return;
    compact_ = compact;
    const std::pair<QPushButton*, const char*> buttons[] = {{previewButton_, "icon_play"},
                                                            {downloadVideoButton_, "icon_video"},
                                                            {downloadAudioButton_, "icon_audio"}};
    for (const auto& [button, icon] : buttons) {
        const QString words = button->accessibleName();
        button->setText(compact ? QString() : words);
        button->setToolTip(compact ? words : QString());
        button->setIcon(compact ? Picture::icon(QStringLiteral(":/images/%1.svg").arg(QLatin1String(icon))) : QIcon());
        if (compact)
            button->setFixedWidth(compactButtonSide);
        else {
            button->setMinimumWidth(0);
            button->setMaximumWidth(QWIDGETSIZE_MAX);
        }
    }
}

void ResultCell::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::Midlight));
    painter.drawLine(0, height() - 1, width(), height() - 1);
}

} // namespace resultlist
