#pragma once

#include <QIcon>
#include <QPixmap>
#include <QSize>
#include <QString>

// The program's pictures, drawn from its SVG resources straight into pixmaps
// for the screen's pixel ratio (without the icon engine plugins, which cost a
// start-up dearly).
class Picture {
public:
    static QPixmap pixmap(const QString& resource, QSize size, qreal devicePixelRatio);
    // The picture at 16 pixels, for list rows and buttons, drawn when first shown.
    static QIcon icon(const QString& resource);
    // The logo, 128 points square.
    static constexpr int logoSide = 128;
    static QPixmap logo(qreal devicePixelRatio);
    // The logo at one and two pixels per point, for the window's icon.
    static QIcon logoIcon();
};
