#include "ui/widgets/PZHeaderBackgroundView.h"

#include "ui/widgets/PZBackgroundView.h"

#include <QPaintEvent>
#include <QPainter>

PZHeaderBackgroundView::PZHeaderBackgroundView(QWidget* parent) : QWidget(parent)
{
    setPalette(stripPalette());
}

QPalette PZHeaderBackgroundView::stripPalette()
{
    // Buttons on the strip keep the light content palette; labels turn light.
    QPalette p = PZBackgroundView::lightPalette();
    const QColor light(0xf2, 0xf3, 0xf5);
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        p.setColor(group, QPalette::Window, stripColor());
        p.setColor(group, QPalette::WindowText, group == QPalette::Disabled ? QColor(0x9a, 0x9f, 0xa6) : light);
    }
    return p;
}

void PZHeaderBackgroundView::paintEvent(QPaintEvent* event)
{
    QPainter(this).fillRect(event->rect(), stripColor());
}
