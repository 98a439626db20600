#include "ui/widgets/AlertPresenter.h"

#include "catalogue/engine/YtDlp.h"

#include <QMessageBox>
#include <QPushButton>

void AlertPresenter::showAlert(const QString& message, const QString& informativeText, QWidget* over)
{
    Action action;
    if (get_ && engine::YtDlp::isOutdatedFailure(informativeText))
        action = {updateLabel_, get_};
    else if (get_ && engine::YtDlp::isMissingFailure(informativeText))
        action = {getLabel_, get_};
    present(message, informativeText, over, action);
}

void AlertPresenter::offerTools(QString updateLabel, QString getLabel, std::function<void()> get)
{
    updateLabel_ = std::move(updateLabel);
    getLabel_ = std::move(getLabel);
    get_ = std::move(get);
}

void AlertPresenter::present(const QString& message, const QString& informativeText, QWidget* over,
                             const Action& action)
{
    auto* box = new QMessageBox(QMessageBox::Warning, message, message, QMessageBox::Ok, over);
    box->setInformativeText(informativeText);
    // The text comes from the network: never markup (this covers both labels).
    box->setTextFormat(Qt::PlainText);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(over ? Qt::WindowModal : Qt::ApplicationModal);
    if (action) {
        QPushButton* button = box->addButton(action.label, QMessageBox::AcceptRole);
        button->setAccessibleName(action.label);
        QObject::connect(button, &QPushButton::clicked, box, [run = action.run] { run(); });
    }
    box->open();
}
