#include "ui/shell/MenuModel.h"

void MenuModel::append(std::shared_ptr<MenuItem> item)
{
    const int row = static_cast<int>(items_.size());
    beginInsertRows(QModelIndex(), row, row);
    items_.append(std::move(item));
    endInsertRows();
}

std::shared_ptr<MenuItem> MenuModel::item(int row) const
{
    return row >= 0 && row < items_.size() ? items_[row] : nullptr;
}

int MenuModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(items_.size());
}

QVariant MenuModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    return items_[index.row()]->view(role);
}
