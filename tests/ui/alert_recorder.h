#pragma once

#include "ui/widgets/AlertPresenter.h"

#include <QList>
#include <QPair>
#include <QString>

// Alerts written down instead of shown, with the button each offered beside OK.
class alert_recorder : public AlertPresenter {
public:
    QList<QPair<QString, QString>> shown;
    QList<Action> actions;

protected:
    void present(const QString& message, const QString& informativeText, QWidget*, const Action& action) override
    {
        shown.append({message, informativeText});
        actions.append(action);
    }
};
