#pragma once

#include <QEvent>
#include <QObject>

#include <functional>

// Calls back when the watched object gets an event of one type.
class event_watch : public QObject {
public:
    event_watch(QEvent::Type type, std::function<void()> seen) : type_(type), seen_(std::move(seen)) {}

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == type_)
            seen_();
        return false;
    }

private:
    QEvent::Type type_;
    std::function<void()> seen_;
};
