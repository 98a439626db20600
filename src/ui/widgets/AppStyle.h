#pragma once

#include <QProxyStyle>

// The system's style, but for the "more" chevron of a menu bar too narrow for
// its menus: the style reads its picture through an image reader that loads
// every image plugin (and libjpeg) to find the format, and every window with a
// menu bar asks for it while it is built, before anything is shown.
class AppStyle : public QProxyStyle {
public:
    explicit AppStyle(const QString& key);
    QIcon standardIcon(StandardPixmap standardIcon, const QStyleOption* option, const QWidget* widget) const override;
};
