#pragma once

#include <QModelIndex>
#include <QWidget>

// The widget of one row of a CellListView: it shows what the model holds for
// its row, and is told again whenever that row changes.
class ModelCell : public QWidget {
public:
    using QWidget::QWidget;

    virtual void setObjectValue(const QModelIndex& index) = 0;
};
