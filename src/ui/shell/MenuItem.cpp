#include "ui/shell/MenuItem.h"

#include <QSize>

QVariant MenuItem::view(int role) const
{
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return title_;
    case Qt::DecorationRole:
        return image_;
    case Qt::SizeHintRole:
        return QSize(0, 30);
    default:
        return {};
    }
}
