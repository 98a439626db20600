#include "ui/shell/MainWindow.h"

#include <QDragEnterEvent>
#include <QDropEvent>

MainWindow::MainWindow(DropReader readDrop) : readDrop_(std::move(readDrop))
{
    setAcceptDrops(true);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event)
{
    dragMoveEvent(event);
}

void MainWindow::dragMoveEvent(QDragMoveEvent* event)
{
    // Only a watch-page link is taken; anything else is refused.
    if (!readDrop_(*event->mimeData()).isEmpty())
        event->acceptProposedAction();
    else
        event->ignore();
}

void MainWindow::dropEvent(QDropEvent* event)
{
    const QString address = readDrop_(*event->mimeData());
    if (address.isEmpty()) {
        event->ignore();
        return;
    }
    event->acceptProposedAction();
    Q_EMIT addressDropped(address);
}

void MainWindow::changeEvent(QEvent* event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && !isActiveWindow())
        Q_EMIT resignedKey();
}
