#pragma once

#include <QString>

class QWidget;

// Shows the program's alerts: a message ("YouTube:") and the text that
// explains it, over a window, without blocking the interface thread. Tests put
// one of their own in its place.
class AlertPresenter {
public:
    virtual ~AlertPresenter() = default;
    virtual void showAlert(const QString& message, const QString& informativeText, QWidget* over);
};
