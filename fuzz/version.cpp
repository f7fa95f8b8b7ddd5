// Parses texts as versions, against the plain rule, and compares three of them with one another.
#include "fuzz.h"

#include <common/tools/version.h>

#include <QStringList>

#include <array>

using common::Version;

namespace {

using Parts = std::array<quint64, 4>;

void PlainParse(const QString& text, Parts& parts)
{
    size_t i = 0;
    quint64 number = 0;
    bool valid = false; // an empty piece is none
    bool any = false;
    const auto end = [&] {
        if (i < parts.size())
            parts[i] = valid ? number : 0;
        ++i;
        number = 0;
        valid = any = false;
    };
    for (const QChar c : text) {
        if (QString("-,_.").contains(c)) {
            end();
            continue;
        }
        const int digit = c.unicode() - '0';
        valid = (valid || !any) && digit >= 0 && digit <= 9;
        any = true;
        if (valid)
            number = number * 10 + quint64(digit);
        valid = valid && number <= 0xFFFFFFFF;
    }
    end();
}

Version Make(const Parts& parts)
{
    return Version(uint(parts[0]), uint(parts[1]), uint(parts[2]), uint(parts[3]));
}

Version Parsed(const QString& text)
{
    Version version(9, 8, 7, 6);
    Parts parts = {9, 8, 7, 6};
    EXPECT(version.parse(text));
    PlainParse(text, parts);
    EXPECT(version == Make(parts));
    parts = {};
    PlainParse(text, parts);
    EXPECT(Version(text) == Make(parts));
    EXPECT(Version(Version(text).ToString()) == Version(text));
    EXPECT(Version(text).IsNull() == (parts == Parts{}));
    return text.startsWith('-') ? version : Version(text);
}

void Compare(const Version& a, const Version& b)
{
    EXPECT(a.less(b) + a.equal(b) + a.greater(b) == 1);
    EXPECT(a.less(b) == b.greater(a) && a.equal(b) == b.equal(a));
    EXPECT((a < b) == a.less(b) && (a > b) == a.greater(b) && (a == b) == a.equal(b));
    EXPECT((a <= b) == !a.greater(b) && (a >= b) == !a.less(b) && (a != b) == !a.equal(b));
    EXPECT((a.ToString() == b.ToString()) == a.equal(b));
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QStringList texts = Text(Input(data, size).Rest()).split(' ');
    const Version a = Parsed(texts.value(0));
    const Version b = Parsed(texts.value(1));
    const Version c = Parsed(texts.value(2));
    Compare(a, b);
    Compare(b, c);
    Compare(a, c);
    EXPECT(!(a < b && b < c) || a < c);
    EXPECT(!(a == b && b == c) || a == c);
    return 0;
}
