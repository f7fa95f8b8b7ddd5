#include "common/tools/version.h"

#include <algorithm>
#include <iterator>

namespace common {

namespace {

bool IsSeparator(QChar c)
{
    return c == '-' || c == ',' || c == '_' || c == '.';
}

// QString::toUInt() alone would also take a sign and white space.
unsigned int Number(const QString& piece)
{
    const bool digitsOnly =
        std::all_of(piece.cbegin(), piece.cend(), [](QChar c) { return c >= '0' && c <= '9'; });
    return digitsOnly ? piece.toUInt() : 0;
}

} // namespace

Version::Version() : Version(0, 0, 0, 0)
{
}

Version::Version(const Version& other) = default;

Version& Version::operator=(const Version& other) = default;

Version::Version(unsigned int p1, unsigned int p2, unsigned int p3, unsigned int p4)
    : parts_{p1, p2, p3, p4}
{
}

Version::Version(const QString& text) : Version()
{
    parse(text);
}

Version::Version(const char* text) : Version(QString::fromUtf8(text))
{
}

bool Version::parse(const QString& text)
{
    auto piece = text.cbegin();
    for (unsigned int& part : parts_) {
        const auto end = std::find_if(piece, text.cend(), IsSeparator);
        part = Number(QString(piece, int(end - piece)));
        if (end == text.cend())
            break;
        piece = end + 1;
    }
    return true;
}

QString Version::ToString() const
{
    return QStringLiteral("%1.%2.%3.%4")
        .arg(parts_[0])
        .arg(parts_[1])
        .arg(parts_[2])
        .arg(parts_[3]);
}

bool Version::IsNull() const
{
    return equal(Version());
}

bool Version::equal(const Version& other) const
{
    return std::equal(std::begin(parts_), std::end(parts_), std::begin(other.parts_));
}

bool Version::greater(const Version& other) const
{
    return other.less(*this);
}

bool Version::less(const Version& other) const
{
    return std::lexicographical_compare(std::begin(parts_), std::end(parts_),
                                        std::begin(other.parts_), std::end(other.parts_));
}

} // namespace common
