#include "ui/search/resultlist/HeaderCell.h"

#include "ui/widgets/ElidedLabel.h"
#include "ui/search/SearchResultModel.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace resultlist {

HeaderCell::HeaderCell(QWidget* parent) : ResultCell(QSize(400, 225), parent), descriptionLabel_(new QLabel)
{
    setFixedHeight(height);
    QFont large = titleLabel_->font();
    large.setPointSizeF(large.pointSizeF() * 1.4);
    large.setBold(true);
    titleLabel_->setFont(large);
    descriptionLabel_->setTextFormat(Qt::PlainText);
    descriptionLabel_->setWordWrap(true);
    descriptionLabel_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    descriptionLabel_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);

    QHBoxLayout* buttons = buttonRow();

    auto* picture = new QVBoxLayout;
    picture->setSpacing(10);
    picture->addWidget(thumbnailView_);
    picture->addLayout(buttons);
    picture->addStretch(1);

    auto* text = new QVBoxLayout;
    text->setSpacing(6);
    text->addWidget(titleLabel_);
    text->addWidget(lengthLabel_);
    text->addSpacing(4);
    text->addWidget(descriptionLabel_, 1);
    text->addWidget(busy_);

    auto* layout = new QHBoxLayout(this);
    layout->setSizeConstraint(QLayout::SetNoConstraint);
    layout->setContentsMargins(16, 20, 16, 16);
    layout->setSpacing(20);
    layout->addLayout(picture);
    layout->addLayout(text, 1);
}

QSize HeaderCell::minimumSizeHint() const
{
    return {around + 128 + 100, height};
}

void HeaderCell::fitWidth(int width)
{
    // The picture takes what the text leaves, up to its full size, and never
    // less than half the room; in steps, as each size is a new scaling.
    const int room = width - around;
    const int side = std::clamp(std::max(room - textColumn, room * 11 / 20) / 8 * 8, 128, 400);
    setThumbnailSize({side, side * 9 / 16});
    setCompactButtons(room - std::max(side, wordButtonsWidth()) < narrowTextColumn);
}

void HeaderCell::setObjectValue(const QModelIndex& index)
{
    ResultCell::setObjectValue(index);
    descriptionLabel_->setText(index.data(SearchResultModel::DescriptionRole).toString());
}

} // namespace resultlist
