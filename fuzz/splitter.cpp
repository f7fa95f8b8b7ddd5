// Cuts texts into pieces, against the rules in their plainest form.
#include "fuzz.h"

#include <common/tools/string/converter.h>
#include <common/tools/string/splitter.h>

using tools::string::converter;
using tools::string::splitter;

namespace {

// For limits that any character fits into.
QStringList PlainUtf8(const QString& text, int maxBytes)
{
    QStringList pieces;
    QString piece;
    for (int i = 0; i < text.size(); ++i) {
        piece += text[i];
        if (piece.size() < maxBytes / 2)
            continue;
        const int bytes = piece.toUtf8().size();
        if (bytes < maxBytes)
            continue;
        if (bytes > maxBytes) {
            piece.chop(1);
            --i;
        }
        pieces << piece;
        piece.clear();
    }
    return piece.isEmpty() ? pieces : pieces << piece;
}

QStringList PlainUcs2(const QString& text, int maxUnits)
{
    QStringList pieces;
    QString ascii;
    for (int i = 0; i < text.size(); i += maxUnits / 2) {
        const QString slice = text.mid(i, maxUnits / 2);
        const bool plain = slice.toUtf8().size() == slice.size();
        if (!ascii.isEmpty() && (!plain || ascii.size() >= maxUnits)) {
            pieces << ascii;
            ascii.clear();
        }
        if (plain)
            ascii += slice;
        else
            pieces << slice;
    }
    return ascii.isEmpty() ? pieces : pieces << ascii;
}

QString PlainUuidForm(const QString& text, unsigned int group)
{
    QString form = '{' + text.toUtf8().toHex();
    int position = int(group) + 1;
    for (unsigned int left = unsigned(form.size()); left >= 2 * group; left -= group) {
        form.insert(position, '-');
        position += int(group) + 1;
    }
    return form + '}';
}

bool AreWhole(const QStringList& pieces, const QString& text)
{
    return pieces.join(QString()) == text && !pieces.contains(QString());
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Input input(data, size);
    const int limit = input.Number(0, 3) ? input.Number(-3, 40) : input.Number(INT_MIN, INT_MAX);
    const QString text = Text(input.Rest());

    const QStringList utf8 = splitter::Utf8(text, limit);
    EXPECT(AreWhole(utf8, text));
    EXPECT(limit < 4 || utf8 == PlainUtf8(text, limit));

    const QStringList ucs2 = splitter::Ucs2(text, limit);
    EXPECT(AreWhole(ucs2, text));
    for (const QString& piece : ucs2)
        EXPECT(limit < 2 || limit % 2 || piece.size() <= limit);
    if (limit >= 2 && limit < INT_MAX / 4)
        EXPECT(ucs2 == PlainUcs2(text, limit));

    const auto group = static_cast<unsigned int>(limit);
    const QString form = converter::ToUuidForm(text, group);
    EXPECT(QString(form).remove('-') == '{' + converter::ToHex(text) + '}');
    EXPECT(group == 0 || group > INT_MAX / 4 || form == PlainUuidForm(text, group));
    return 0;
}
