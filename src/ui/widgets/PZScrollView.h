#pragma once

#include "ui/widgets/CellListView.h"

#include <QPointer>

// The scroll view of the search results. It scrolls sideways too when the view
// is narrower than its rows, and notes scrolling and painting in the log.
class PZScrollView : public CellListView {
    Q_OBJECT
public:
    explicit PZScrollView(QWidget* parent = nullptr);

    QObject* delegate() const { return delegate_; }
    void setDelegate(QObject* delegate) { delegate_ = delegate; }

protected:
    void scrollContentsBy(int dx, int dy) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QPointer<QObject> delegate_;
};
