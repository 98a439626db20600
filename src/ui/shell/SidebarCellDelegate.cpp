#include "ui/shell/SidebarCellDelegate.h"

#include <QIcon>
#include <QPainter>

namespace {

constexpr int margin = 8;
constexpr int iconSide = 16;

} // namespace

void SidebarCellDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QRect row = option.rect.adjusted(margin, 1, -margin, -1);
    if (option.state & QStyle::State_Selected) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(chosen());
        painter->drawRoundedRect(row, 5, 5);
    }
    if (option.state & QStyle::State_HasFocus && option.state & QStyle::State_Selected) {
        painter->setPen(QPen(QColor(0x2f, 0x6f, 0xd0), 1.5));
        painter->setBrush(Qt::NoBrush);
        painter->drawRoundedRect(QRectF(row).adjusted(0.75, 0.75, -0.75, -0.75), 5, 5);
    }

    int x = row.left() + margin;
    if (const QIcon icon = index.data(Qt::DecorationRole).value<QIcon>(); !icon.isNull()) {
        const QRect box(x, row.center().y() - iconSide / 2, iconSide, iconSide);
        icon.paint(painter, box);
        x = box.right() + 1 + margin;
    }
    const QVariant font = index.data(Qt::FontRole);
    painter->setFont(font.isValid() ? font.value<QFont>() : option.font);
    const QVariant colour = index.data(Qt::ForegroundRole);
    painter->setPen(colour.isValid() ? colour.value<QColor>() : ink());
    const QRect text(x, row.top(), row.right() - x - margin, row.height());
    painter->drawText(text, Qt::AlignVCenter | Qt::AlignLeft,
                      painter->fontMetrics().elidedText(index.data().toString(), Qt::ElideRight, text.width()));
    painter->restore();
}

QSize SidebarCellDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const QSize wanted = index.data(Qt::SizeHintRole).toSize();
    return {option.rect.width(), std::max(wanted.height(), option.fontMetrics.height() + 8)};
}
