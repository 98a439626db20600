#pragma once

#include "ui/shell/MenuItem.h"

#include <QAbstractListModel>
#include <QList>

#include <memory>

// The sidebar's rows: its entries, in order, each showing its own cell.
class MenuModel : public QAbstractListModel {
    Q_OBJECT
public:
    using QAbstractListModel::QAbstractListModel;

    void append(std::shared_ptr<MenuItem> item);
    const QList<std::shared_ptr<MenuItem>>& items() const { return items_; }
    std::shared_ptr<MenuItem> item(int row) const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    QList<std::shared_ptr<MenuItem>> items_;
};
