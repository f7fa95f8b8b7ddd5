#include "common/tools/string/splitter.h"

namespace tools::string {

namespace {

// What a code unit adds to the size of QString::toUtf8() when it follows the given one: a lone
// surrogate is one byte ("?"), and the low half turns that into the four bytes of a pair.
int AddedBytes(QChar previous, QChar unit)
{
    if (unit.isLowSurrogate() && previous.isHighSurrogate())
        return 3;
    if (unit.isSurrogate() || unit.unicode() < 0x80)
        return 1;
    return unit.unicode() < 0x800 ? 2 : 3;
}

constexpr int blockSize = 16;

// What a block of code units adds to that size. Plain arithmetic on sixteen bits, which compilers
// turn into vector instructions.
int AddedBytes(const ushort* block)
{
    ushort bytes = 0;
    for (int i = 0; i < blockSize; ++i) {
        const ushort unit = block[i];
        const ushort previous = block[i - 1];
        const ushort surrogate = (unit & 0xF800) == 0xD800;
        const ushort afterHigh = (previous & 0xFC00) == 0xD800;
        const ushort low = (unit & 0xFC00) == 0xDC00;
        bytes += 1 + (unit >= 0x80) + (unit >= 0x800) - 2 * surrogate + 2 * (low & afterHigh);
    }
    return bytes;
}

// Passes over the blocks after the first unit of a piece that leave it below the limit.
void SkipBlocks(const QString& text, int maxBytes, int& position, int& bytes)
{
    const ushort* units = text.utf16();
    while (text.size() - position > blockSize) {
        const int added = AddedBytes(units + position + 1);
        if (bytes + added >= maxBytes)
            return;
        bytes += added;
        position += blockSize;
    }
}

} // namespace

QStringList splitter::Utf8(const QString& text, int maxBytes)
{
    QStringList pieces;
    int start = 0;
    int bytes = 0;
    for (int i = 0; i < text.size(); ++i) {
        const int units = i - start + 1;
        bytes += AddedBytes(units > 1 ? text[i - 1] : QChar(), text[i]);
        if (units == 1)
            SkipBlocks(text, maxBytes, i, bytes);
        if (i - start + 1 < maxBytes / 2 || bytes < maxBytes)
            continue;

        const bool fits = bytes == maxBytes || units == 1;
        const int end = fits ? i + 1 : i;
        pieces << text.mid(start, end - start);
        start = end;
        bytes = 0;
        i = end - 1; // a unit that did not fit is taken again
    }
    if (start < text.size())
        pieces << text.mid(start);
    return pieces;
}

QStringList splitter::Ucs2(const QString& text, int maxUnits)
{
    const int sliceLength = qMax(maxUnits / 2, 1);
    QStringList pieces;
    QString ascii;
    const auto flush = [&] {
        if (!ascii.isEmpty())
            pieces << ascii;
        ascii.clear();
    };

    for (int i = 0; i < text.size(); i += sliceLength) {
        const QString slice = text.mid(i, sliceLength);
        const bool plain = slice.toUtf8().size() == slice.size();
        if (!plain || ascii.size() >= maxUnits)
            flush();
        if (plain)
            ascii += slice;
        else
            pieces << slice;
    }
    flush();
    return pieces;
}

} // namespace tools::string
