#include "common/tools/svg/svgicon.h"

#include <QPainter>
#include <QSvgRenderer>

namespace tools::svg {

QList<QSize> IconSizes()
{
    static const QList<QSize> sizes = {{16, 16}, {24, 24}, {32, 32},
                                       {48, 48}, {64, 64}, {128, 128}};
    return sizes;
}

QPixmap GetPixmap(const QString& svgPath, const QSize& size)
{
    QPixmap pixmap(size);
    if (pixmap.isNull())
        return pixmap;
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    QSvgRenderer(svgPath).render(&painter, pixmap.rect());
    return pixmap;
}

void DrawWithOverlay(QPixmap& target, const QPixmap& base, const QPixmap& overlay, double opacity)
{
    if (target.isNull())
        return;
    target.fill(Qt::transparent);
    QPainter painter(&target);
    const QRectF whole(QPointF(0, 0), QSizeF(target.size()) / target.devicePixelRatio());
    painter.drawPixmap(whole, base, base.rect());
    painter.setOpacity(opacity);
    painter.drawPixmap(whole, overlay, overlay.rect());
}

QIcon SvgIcon::CreateFromSvg(const QString& svgPath)
{
    QIcon icon;
    const QList<QSize> sizes = IconSizes();
    for (const QSize& size : sizes)
        icon.addPixmap(GetPixmap(svgPath, size), QIcon::Normal, QIcon::Off);
    return icon;
}

QList<QIcon> SvgIcon::CreateFromTwoSvgWithOverlay(const QString& baseSvg, const QString& overlaySvg,
                                                  int steps)
{
    const QIcon base = CreateFromSvg(baseSvg);
    const QIcon overlay = CreateFromSvg(overlaySvg);
    const QList<QSize> sizes = IconSizes();
    QList<QIcon> icons;
    for (int step = 1; step <= steps; ++step) {
        QIcon icon;
        for (const QSize& size : sizes) {
            QPixmap pixmap(size);
            DrawWithOverlay(pixmap, base.pixmap(size, QIcon::Normal, QIcon::Off),
                            overlay.pixmap(size, QIcon::Normal, QIcon::Off),
                            static_cast<double>(step) / steps);
            icon.addPixmap(pixmap, QIcon::Normal, QIcon::Off);
        }
        icons << icon;
    }
    return icons;
}

} // namespace tools::svg
