#pragma once

#include <QStyledItemDelegate>

// Paints the sidebar's rows as a source list: a "HeaderCell" is a small
// capitalised title, a "DataCell" a picture and title, indented, with a rounded
// mark when chosen.
class SidebarCellDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    static QColor background() { return {0xe9, 0xec, 0xf0}; }
    static QColor chosen() { return {0xc9, 0xd3, 0xe0}; }
    static QColor ink() { return {0x1d, 0x1f, 0x22}; }
};
