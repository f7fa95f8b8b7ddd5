#pragma once

#include "common/qvcommon_export.h"

#include <QIcon>
#include <QList>
#include <QPixmap>
#include <QSize>
#include <QString>

/**
 * @file
 * Icons made from SVG files (SVG 1.2 Tiny, as QtSvg draws it). For the GUI thread, with a
 * QGuiApplication. A file that cannot be drawn gives transparent pictures; Qt logs the reason.
 */

namespace tools::svg {

/** The sizes of these icons, in ascending order: 16, 24, 32, 48, 64 and 128 pixels square. */
QVCOMMON_EXPORT QList<QSize> IconSizes();

/**
 * The picture, stretched to exactly @p size, on a transparent ground; nothing but that ground if
 * the file cannot be read. Like all that paints here, for the GUI thread.
 */
QVCOMMON_EXPORT QPixmap GetPixmap(const QString& svgPath, const QSize& size);

/**
 * Paints @p base, and over it @p overlay with that opacity (0 to 1), both stretched to the whole of
 * @p target, whose former content goes.
 */
QVCOMMON_EXPORT void DrawWithOverlay(QPixmap& target, const QPixmap& base, const QPixmap& overlay,
                                     double opacity);

/**
 * Icons that hold a picture in each of IconSizes().
 *
 * @code
 * button->setIcon(tools::svg::SvgIcon::CreateFromSvg(":/icons/call.svg"));
 * @endcode
 */
class QVCOMMON_EXPORT SvgIcon
{
public:
    SvgIcon() = delete;

    /** The picture in all sizes; see GetPixmap() for a file that cannot be read. */
    static QIcon CreateFromSvg(const QString& svgPath);

    /**
     * A series in which the second picture comes up over the first one: icon k of @p steps (from 1)
     * has it at opacity k / steps. Empty if @p steps is 0 or less.
     */
    static QList<QIcon> CreateFromTwoSvgWithOverlay(const QString& baseSvg,
                                                    const QString& overlaySvg, int steps);
};

} // namespace tools::svg
