#include "ui/search/resultlist/MainCell.h"

#include "ui/widgets/ElidedLabel.h"

#include <QGridLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

namespace resultlist {

MainCell::MainCell(QWidget* parent) : ResultCell(QSize(160, 90), parent)
{
    setFixedHeight(height);
    QFont bold = titleLabel_->font();
    bold.setBold(true);
    titleLabel_->setFont(bold);

    QHBoxLayout* buttons = buttonRow();
    buttons->addWidget(busy_);

    auto* text = new QVBoxLayout;
    text->setSpacing(4);
    text->addStretch(1);
    text->addWidget(titleLabel_);
    text->addWidget(lengthLabel_);
    text->addSpacing(6);
    text->addLayout(buttons);
    text->addStretch(1);

    auto* layout = new QHBoxLayout(this);
    layout->setSizeConstraint(QLayout::SetNoConstraint);
    layout->setContentsMargins(16, 14, 16, 14);
    layout->setSpacing(16);
    layout->addWidget(thumbnailView_, 0, Qt::AlignVCenter);
    layout->addLayout(text, 1);
}

QSize MainCell::minimumSizeHint() const
{
    return {around + 128 + compactButtonsWidth, height};
}

void MainCell::fitWidth(int width)
{
    setCompactButtons(width < around + 160 + wordButtonsWidth());
    // The smaller picture only where even the icons leave it no room.
    setThumbnailSize(width < around + 160 + compactButtonsWidth ? QSize(128, 72) : QSize(160, 90));
}

} // namespace resultlist
