#include "ui/shell/MenuNode.h"

#include <QApplication>
#include <QColor>
#include <QFont>
#include <QSize>

QVariant MenuNode::view(int role) const
{
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return title();
    case Qt::FontRole: {
        QFont font = QApplication::font();
        font.setBold(true);
        font.setCapitalization(QFont::AllUppercase);
        font.setPointSizeF(font.pointSizeF() * 0.85);
        return font;
    }
    case Qt::ForegroundRole:
        return QColor(0x6b, 0x72, 0x7a);
    case Qt::SizeHintRole:
        return QSize(0, 28);
    default:
        return {};
    }
}
