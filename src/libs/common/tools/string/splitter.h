#pragma once

#include "common/qvcommon_export.h"

#include <QString>
#include <QStringList>

namespace tools::string {

/**
 * Cuts a long text into pieces of limited size, as messages need it. Joined, the pieces always give
 * the text again. Stateless; any thread; the cost grows with the length of the text.
 *
 * @code
 * const QStringList parts = tools::string::splitter::Utf8(text, 1024);
 * @endcode
 */
class QVCOMMON_EXPORT splitter
{
public:
    splitter() = delete;

    /**
     * Pieces of at most @p maxBytes bytes of UTF-8, measured from the point where a piece has
     * @p maxBytes / 2 code units; an empty text gives no piece.
     *
     * Two consequences are part of the format: a piece of fewer than @p maxBytes / 2 code units is
     * not measured, so one made of three-byte characters (above U+07FF) can hold up to half as much
     * again as @p maxBytes; and the text is cut between UTF-16 code units, so a surrogate pair can
     * be torn apart (each half alone counts as one byte, as QString::toUtf8() writes it).
     *
     * @p maxBytes should be 4 or more. Below that, a character which is longer than the limit makes
     * a piece of its own.
     */
    static QStringList Utf8(const QString& text, int maxBytes);

    /**
     * Pieces under the rule that plain ASCII counts one unit a character and anything else two:
     * the text is taken in slices of @p maxUnits / 2 code units; neighbouring ASCII slices are
     * joined until they reach @p maxUnits, any other slice stands alone.
     *
     * With an odd @p maxUnits of 5 and more an ASCII piece has up to half as many units again, as
     * three slices fit before the limit is reached; use even ones. A @p maxUnits below 2 gives
     * pieces of one code unit.
     */
    static QStringList Ucs2(const QString& text, int maxUnits);
};

} // namespace tools::string
