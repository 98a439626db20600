#include "ui/widgets/PZScrollView.h"

#include "platform/Log.h"

PZScrollView::PZScrollView(QWidget* parent) : CellListView(parent)
{
    setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
}

void PZScrollView::scrollContentsBy(int dx, int dy)
{
    CellListView::scrollContentsBy(dx, dy);
    platform::Log::line(QStringLiteral("reflectScrolledClipView"));
}

void PZScrollView::paintEvent(QPaintEvent* event)
{
    CellListView::paintEvent(event);
    platform::Log::line(QStringLiteral("drawRect"));
}
