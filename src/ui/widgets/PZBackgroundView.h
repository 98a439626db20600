#pragma once

#include <QPalette>
#include <QWidget>

// A content view's white ground. Its children get a light palette of their own,
// so that their text stays dark on it under a dark system theme too.
class PZBackgroundView : public QWidget {
    Q_OBJECT
public:
    explicit PZBackgroundView(QWidget* parent = nullptr);

    // The light colours of the content views, whatever the system's theme.
    static QPalette lightPalette();

protected:
    void paintEvent(QPaintEvent* event) override;
};
