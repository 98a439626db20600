#pragma once

#include <QPalette>
#include <QWidget>

// The dark strip along the top of a content view; text on it is light.
class PZHeaderBackgroundView : public QWidget {
    Q_OBJECT
public:
    explicit PZHeaderBackgroundView(QWidget* parent = nullptr);

    static QColor stripColor() { return QColor::fromRgbF(0.1f, 0.1f, 0.1f, 1.0f); }
    static QPalette stripPalette();

protected:
    void paintEvent(QPaintEvent* event) override;
};
