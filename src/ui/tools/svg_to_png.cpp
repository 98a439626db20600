// Build-time tool: draws an SVG picture into a PNG of the given size, so that
// the program shows its larger pictures without parsing SVG at start-up.
//   svg_to_png IN.svg OUT.png SIDE
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fputs("usage: svg_to_png IN.svg OUT.png SIDE\n", stderr);
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QSvgRenderer renderer(QString::fromLocal8Bit(argv[1]));
    const int side = QByteArray(argv[3]).toInt();
    if (!renderer.isValid() || side <= 0) {
        std::fprintf(stderr, "svg_to_png: cannot draw %s\n", argv[1]);
        return 1;
    }
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    renderer.render(&painter);
    painter.end();
    return image.save(QString::fromLocal8Bit(argv[2]), "PNG") ? 0 : 1;
}
