#pragma once

#include <QMainWindow>

#include <functional>

class QMimeData;

// The program's main window: it takes a dropped watch-page link and says when
// it stops being the key window.
class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    // The address a drop carries, or empty for a drop the window refuses.
    using DropReader = std::function<QString(const QMimeData&)>;

    explicit MainWindow(DropReader readDrop);

Q_SIGNALS:
    void addressDropped(const QString& address);
    void resignedKey();

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    const DropReader readDrop_;
};
