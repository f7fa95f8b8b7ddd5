#pragma once

#include "common/qvcommon_export.h"

#include <QString>

namespace common {

/**
 * A version number of four parts, the first the most significant.
 *
 * @code
 * const common::Version current("5.1.0.12");
 * if (current.less("5.2"))   // 5.2.0.0
 *     Offer(current.ToString());
 * @endcode
 *
 * Parts are numbers, so 1.10 is greater than 1.9. There are no pre-release tags and no errors: what
 * cannot be read as a number counts as 0. All zero is the null version. A plain value; objects on
 * different threads are independent.
 */
class QVCOMMON_EXPORT Version
{
public:
    /** The null version. */
    Version();
    /** A copy. */
    Version(const Version& other);
    /** Takes over all four parts. */
    Version& operator=(const Version& other);
    /** The version p1.p2.p3.p4. */
    Version(unsigned int p1, unsigned int p2, unsigned int p3, unsigned int p4);
    /** As parse() of @p text into the null version. */
    Version(const QString& text);
    /** As parse() of @p text, which is UTF-8, into the null version; null is the empty text. */
    Version(const char* text);

    /**
     * Takes over up to four pieces of @p text, which are separated by ".", "-", "_" or ",".
     *
     * A piece that is not a decimal number of at most 32 bits becomes 0: "1..3" is 1.0.3.0 and
     * "1.2b" is 1.0.0.0. Further pieces are ignored. A part for which there is no piece keeps its
     * value: parsing "7" into 1.2.3.4 gives 7.2.3.4.
     *
     * @return always true
     */
    bool parse(const QString& text);

    /** The four parts joined by ".": "5.1.0.12". */
    QString ToString() const;
    /** Whether all four parts are 0. */
    bool IsNull() const;

    /** Whether all four parts are equal. */
    bool equal(const Version& other) const;
    /** Whether the first part that differs is greater here. */
    bool greater(const Version& other) const;
    /** Whether the first part that differs is less here. */
    bool less(const Version& other) const;

private:
    unsigned int parts_[4];
};

/** See Version::equal(). */
inline bool operator==(const Version& a, const Version& b)
{
    return a.equal(b);
}
/** See Version::equal(). */
inline bool operator!=(const Version& a, const Version& b)
{
    return !a.equal(b);
}
/** See Version::less(). */
inline bool operator<(const Version& a, const Version& b)
{
    return a.less(b);
}
/** See Version::greater(). */
inline bool operator>(const Version& a, const Version& b)
{
    return a.greater(b);
}
/** See Version::greater(). */
inline bool operator<=(const Version& a, const Version& b)
{
    return !a.greater(b);
}
/** See Version::less(). */
inline bool operator>=(const Version& a, const Version& b)
{
    return !a.less(b);
}

} // namespace common
