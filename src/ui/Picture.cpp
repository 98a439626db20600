#include "ui/Picture.h"

#include <QHash>
#include <QIconEngine>
#include <QPainter>
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
        const QString key = QStringLiteral("%1@%2x%3@%4").arg(resource_).arg(size.width()).arg(size.height()).arg(scale);
        auto found = cache_.find(key);
        if (found == cache_.end())
            found = cache_.insert(key, Picture::pixmap(resource_, size, scale));
        if (mode != QIcon::Disabled)
            return *found;
        QPixmap faded(found->size());
        faded.setDevicePixelRatio(found->devicePixelRatio());
        faded.fill(Qt::transparent);
        QPainter painter(&faded);
        painter.setOpacity(0.4);
        painter.drawPixmap(0, 0, *found);
        return faded;
    }
    QIconEngine* clone() const override { return new SvgIconEngine(resource_); }

private:
    const QString resource_;
    QHash<QString, QPixmap> cache_;
};

} // namespace

QIcon Picture::icon(const QString& resource)
{
    return QIcon(new SvgIconEngine(resource));
}
