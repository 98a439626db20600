#include "ui/widgets/AlertPresenter.h"

#include <QMessageBox>

void AlertPresenter::showAlert(const QString& message, const QString& informativeText, QWidget* over)
{
    auto* box = new QMessageBox(QMessageBox::Warning, message, message, QMessageBox::Ok, over);
    box->setInformativeText(informativeText);
    // The text comes from the network: never markup (this covers both labels).
    box->setTextFormat(Qt::PlainText);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(over ? Qt::WindowModal : Qt::ApplicationModal);
    box->open();
}
