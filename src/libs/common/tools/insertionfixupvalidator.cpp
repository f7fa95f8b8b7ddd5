#include "common/tools/insertionfixupvalidator.h"

#include <algorithm>

namespace tools {

CInsertionFixupValidator::CInsertionFixupValidator(QObject* parent) : RegExpValidator(parent)
{
}

CInsertionFixupValidator::CInsertionFixupValidator(const QRegExp& regExp, QObject* parent)
    : RegExpValidator(regExp, parent)
{
}

CInsertionFixupValidator::~CInsertionFixupValidator() = default;

void CInsertionFixupValidator::fixup(QString& input) const
{
    const QRegExp pattern = regExp();
    if (!pattern.isValid())
        return;
    while (!input.isEmpty()) {
        if (pattern.exactMatch(input) || pattern.matchedLength() == input.size())
            return;
        input.remove(pattern.matchedLength(), 1);
    }
}

QValidator::State CInsertionFixupValidator::validate(QString& input, int& pos) const
{
    const QString original = input;
    fixup(input);
    pos = qBound(0, pos, int(original.size()));
    if (pos == original.size()) {
        pos = int(input.size());
    } else if (input.size() != original.size()) {
        QString before = original.left(pos);
        CInsertionFixupValidator::fixup(before);
        pos = int(std::min(before.size(), input.size()));
    }
    return RegExpValidator::validate(input, pos);
}

} // namespace tools
