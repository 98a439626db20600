#pragma once

#include "ui/widgets/ModelCell.h"

#include <QList>
#include <QPointer>
#include <QScrollArea>

#include <functional>

class QAbstractItemModel;
class QVBoxLayout;

// A view of a list model whose rows are widgets with buttons of their own: one
// cell widget per row, stacked top to bottom and scrolled. Unlike rows painted
// by an item delegate, the cells' buttons are real widgets, so the keyboard
// reaches them and screen readers see them. Rows are never selected; a change
// of one row updates that row's cell only. A model that pages its rows in
// (canFetchMore) is asked for more as the view nears its end, not before.
class CellListView : public QScrollArea {
    Q_OBJECT
public:
    using CellFactory = std::function<ModelCell*(const QModelIndex& index)>;

    explicit CellListView(QWidget* parent = nullptr);

    void setModel(QAbstractItemModel* model, CellFactory makeCell);
    QAbstractItemModel* model() const { return model_; }

    int count() const { return static_cast<int>(cells_.size()); }
    ModelCell* cellAt(int row) const;
    // The row of a cell or of any widget inside one; -1 when it is in none.
    int rowForView(const QWidget* view) const;

protected:
    void showEvent(QShowEvent* event) override;

private:
    void insertCells(int first, int last);
    void removeCells(int first, int last);
    void updateCells(int first, int last);
    void rebuild();
    void fetchMoreWhenNearTheEnd();

    QPointer<QAbstractItemModel> model_;
    CellFactory makeCell_;
    QWidget* content_;
    QVBoxLayout* layout_;
    QList<ModelCell*> cells_;
};
