#pragma once

#include "ui/widgets/AlertPresenter.h"

#include <QList>
#include <QPair>
#include <QString>

// Alerts written down instead of shown.
class alert_recorder : public AlertPresenter {
public:
    void showAlert(const QString& message, const QString& informativeText, QWidget*) override
    {
        shown.append({message, informativeText});
    }
    QList<QPair<QString, QString>> shown;
};
