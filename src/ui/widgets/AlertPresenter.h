#pragma once

#include <QString>

#include <functional>

class QWidget;

// Shows the program's alerts: a message ("YouTube:") and the text that
// explains it, over a window, without blocking the interface thread. Tests put
// one of their own in its place.
class AlertPresenter {
public:
    // A button beside OK, and what it does.
    struct Action {
        QString label;
        std::function<void()> run;
        explicit operator bool() const { return static_cast<bool>(run); }
    };

    virtual ~AlertPresenter() = default;

    // A text saying that yt-dlp may be too old, or that there is none, offers
    // to get it, once that is offered here.
    void showAlert(const QString& message, const QString& informativeText, QWidget* over);
    // What such alerts offer (one label for each case); nothing until this is called.
    void offerTools(QString updateLabel, QString getLabel, std::function<void()> get);

protected:
    virtual void present(const QString& message, const QString& informativeText, QWidget* over, const Action& action);

private:
    QString updateLabel_;
    QString getLabel_;
    std::function<void()> get_;
};
