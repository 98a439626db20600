#include "ui/widgets/Picture.h"

#include <QGuiApplication>
#include <QHash>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QSvgRenderer>

QPixmap Picture::pixmap(const QString& resource, QSize size, qreal devicePixelRatio)
{
    QSvgRenderer renderer(resource);
    QPixmap picture(size * devicePixelRatio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    renderer.render(&painter);
    painter.end();
    picture.setDevicePixelRatio(devicePixelRatio);
    return picture;
}

namespace {

// Draws the picture at the size and pixel ratio asked for, once each.
class SvgIconEngine : public QIconEngine {
public:
    explicit SvgIconEngine(QString resource) : resource_(std::move(resource)) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override
    {
        const qreal ratio = painter->device() ? painter->device()->devicePixelRatioF() : 1.0;
        QPixmap picture = scaledPixmap(rect.size(), mode, state, ratio);
        painter->drawPixmap(rect, picture);
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        return scaledPixmap(size, mode, state, 1.0);
    }
    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State, qreal scale) override
    {
        const QString key = QStringLiteral("%1@%2x%3@%4/%5").arg(resource_).arg(size.width()).arg(size.height()).arg(scale).arg(mode);
        auto found = cache_.find(key);
        if (found == cache_.end())
            found = cache_.insert(key, draw(size, mode, scale));
        return *found;
    }
    QIconEngine* clone() const override { return new SvgIconEngine(resource_); }

private:
    QPixmap draw(const QSize& size, QIcon::Mode mode, qreal scale) const
    {
        QPixmap picture = Picture::pixmap(resource_, size, scale);
        if (mode != QIcon::Disabled && mode != QIcon::Selected)
            return picture;
        QPainter painter(&picture);
        if (mode == QIcon::Disabled) {
            painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
            painter.fillRect(picture.rect(), QColor(0, 0, 0, 102));
        } else {
            // On a selected row the picture takes the row's text colour: grey on blue is hard to see.
            painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
            painter.fillRect(picture.rect(), QGuiApplication::palette().color(QPalette::HighlightedText));
        }
        return picture;
    }

    const QString resource_;
    QHash<QString, QPixmap> cache_;
};

} // namespace

QIcon Picture::icon(const QString& resource)
{
    return QIcon(new SvgIconEngine(resource));
}

QPixmap Picture::logo(qreal devicePixelRatio)
{
    return pixmap(QStringLiteral(":/images/logo.svg"), QSize(logoSide, logoSide), devicePixelRatio);
}

QIcon Picture::logoIcon()
{
    QIcon icon;
    for (const qreal ratio : {1.0, 2.0}) {
        QPixmap picture = logo(ratio);
        picture.setDevicePixelRatio(1.0); // an icon's sizes are in pixels
        icon.addPixmap(picture);
    }
    return icon;
}
