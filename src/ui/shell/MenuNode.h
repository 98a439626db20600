#pragma once

#include "ui/shell/MenuItem.h"

#include <QList>

#include <memory>

// A section header of the sidebar: a title only, and entries under it.
class MenuNode : public MenuItem {
public:
    QList<std::shared_ptr<MenuItem>>& items() { return items_; }
    const QList<std::shared_ptr<MenuItem>>& items() const { return items_; }

    // A "HeaderCell": the title in small capitals, no picture.
    QVariant view(int role) const override;

private:
    QList<std::shared_ptr<MenuItem>> items_;
};
