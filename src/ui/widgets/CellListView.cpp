#include "ui/widgets/CellListView.h"

#include <QAbstractItemModel>
#include <QAccessibleWidget>
#include <QScrollBar>
#include <QVBoxLayout>

namespace {

// Qt's own interface for scroll areas reads past its list of children when a
// scroll bar comes or goes between two questions of a screen reader, and the
// program dies. The plain widget interface checks the index it is given.
QAccessibleInterface* checkedAccessible(const QString& className, QObject* object)
{
    if (className == QLatin1String("CellListView") && object->isWidgetType())
        return new QAccessibleWidget(static_cast<QWidget*>(object), QAccessible::Client);
    return nullptr;
}

} // namespace

CellListView::CellListView(QWidget* parent)
    : QScrollArea(parent), content_(new QWidget), layout_(new QVBoxLayout(content_))
{
    layout_->setContentsMargins(0, 0, 0, 0);
    layout_->setSpacing(0);
    layout_->addStretch(1);
    setWidget(content_);
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &CellListView::fetchMoreWhenNearTheEnd);
    connect(verticalScrollBar(), &QScrollBar::rangeChanged, this, &CellListView::fetchMoreWhenNearTheEnd);
    static const bool factoryInstalled = (QAccessible::installFactory(checkedAccessible), true);
    Q_UNUSED(factoryInstalled);
}

void CellListView::setModel(QAbstractItemModel* model, CellFactory makeCell)
{
    if (model_)
        disconnect(model_, nullptr, this, nullptr);
    model_ = model;
    makeCell_ = std::move(makeCell);
    if (model_) {
        connect(model_, &QAbstractItemModel::rowsInserted, this,
                [this](const QModelIndex&, int first, int last) { insertCells(first, last); });
        connect(model_, &QAbstractItemModel::rowsRemoved, this,
                [this](const QModelIndex&, int first, int last) { removeCells(first, last); });
        connect(model_, &QAbstractItemModel::dataChanged, this,
                [this](const QModelIndex& topLeft, const QModelIndex& bottomRight) {
                    updateCells(topLeft.row(), bottomRight.row());
                });
        connect(model_, &QAbstractItemModel::modelReset, this, &CellListView::rebuild);
        connect(model_, &QAbstractItemModel::layoutChanged, this, &CellListView::rebuild);
        connect(model_, &QAbstractItemModel::rowsMoved, this, &CellListView::rebuild);
    }
    rebuild();
}

void CellListView::fetchMoreWhenNearTheEnd()
{
    // Within a screenful of the end; a list that does not fill the view is at its end.
    const QScrollBar* bar = verticalScrollBar();
    if (model_ && isVisible() && bar->maximum() - bar->value() <= viewport()->height() &&
        model_->canFetchMore(QModelIndex()))
        model_->fetchMore(QModelIndex());
}

ModelCell* CellListView::cellAt(int row) const
{
    return row >= 0 && row < cells_.size() ? cells_[row] : nullptr;
}

int CellListView::rowForView(const QWidget* view) const
{
    for (; view; view = view->parentWidget())
        if (const auto i = cells_.indexOf(static_cast<ModelCell*>(const_cast<QWidget*>(view))); i >= 0)
            return static_cast<int>(i);
    return -1;
}

void CellListView::insertCells(int first, int last)
{
    for (int row = first; row <= last; ++row) {
        ModelCell* cell = makeCell_(model_->index(row, 0));
        cell->setObjectValue(model_->index(row, 0));
        cells_.insert(row, cell);
        layout_->insertWidget(row, cell);
        // Screen readers list the cells in their stacking order: kept the rows' order.
        if (row + 1 < cells_.size())
            cell->stackUnder(cells_[row + 1]);
    }
    // Rows that still leave room call for more once they are laid out.
    QMetaObject::invokeMethod(this, &CellListView::fetchMoreWhenNearTheEnd, Qt::QueuedConnection);
}

void CellListView::showEvent(QShowEvent* event)
{
    QScrollArea::showEvent(event);
    QMetaObject::invokeMethod(this, &CellListView::fetchMoreWhenNearTheEnd, Qt::QueuedConnection);
}

void CellListView::removeCells(int first, int last)
{
    for (int row = last; row >= first; --row)
        if (row < cells_.size())
            delete cells_.takeAt(row);
}

void CellListView::updateCells(int first, int last)
{
    for (int row = std::max(first, 0); row <= last && row < cells_.size(); ++row)
        cells_[row]->setObjectValue(model_->index(row, 0));
}

void CellListView::rebuild()
{
    removeCells(0, static_cast<int>(cells_.size()) - 1);
    if (model_ && model_->rowCount() > 0)
        insertCells(0, model_->rowCount() - 1);
}
