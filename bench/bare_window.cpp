// The peer of the desktop start-up benchmark: the least a Qt Widgets program
// does to show a window.
#include <QApplication>
#include <QWidget>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QWidget window;
    window.setWindowTitle(QStringLiteral("Bare"));
    window.resize(960, 680);
    window.show();
    return QApplication::exec();
}
