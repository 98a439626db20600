#include "ui/widgets/PZBackgroundView.h"

#include <QPaintEvent>
#include <QPainter>

PZBackgroundView::PZBackgroundView(QWidget* parent) : QWidget(parent)
{
    setPalette(lightPalette());
}

QPalette PZBackgroundView::lightPalette()
{
    const QColor white(Qt::white);
    const QColor ink(0x1d, 0x1f, 0x22);
    const QColor faint(0x6b, 0x72, 0x7a);
    QPalette p;
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        const bool disabled = group == QPalette::Disabled;
        p.setColor(group, QPalette::Window, white);
        p.setColor(group, QPalette::Base, white);
        p.setColor(group, QPalette::AlternateBase, QColor(0xf4, 0xf5, 0xf7));
        p.setColor(group, QPalette::Button, QColor(0xee, 0xf0, 0xf2));
        p.setColor(group, QPalette::Light, white);
        p.setColor(group, QPalette::Midlight, QColor(0xe2, 0xe5, 0xe9));
        p.setColor(group, QPalette::Mid, QColor(0xb8, 0xbe, 0xc5));
        p.setColor(group, QPalette::Dark, QColor(0x8a, 0x91, 0x99));
        p.setColor(group, QPalette::Shadow, QColor(0x40, 0x44, 0x48));
        p.setColor(group, QPalette::WindowText, disabled ? faint : ink);
        p.setColor(group, QPalette::Text, disabled ? faint : ink);
        p.setColor(group, QPalette::ButtonText, disabled ? faint : ink);
        p.setColor(group, QPalette::PlaceholderText, faint);
        p.setColor(group, QPalette::BrightText, white);
        p.setColor(group, QPalette::Highlight, QColor(0x2f, 0x6f, 0xd0));
        p.setColor(group, QPalette::HighlightedText, white);
        p.setColor(group, QPalette::Link, QColor(0x1a, 0x5f, 0xb4));
        p.setColor(group, QPalette::ToolTipBase, QColor(0xff, 0xff, 0xe1));
        p.setColor(group, QPalette::ToolTipText, ink);
    }
    return p;
}

void PZBackgroundView::paintEvent(QPaintEvent* event)
{
    QPainter(this).fillRect(event->rect(), Qt::white);
}
