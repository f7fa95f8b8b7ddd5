#include "common/tools/insertionfixupvalidator.h"

#include <algorithm>

namespace tools {

CInsertionFixupValidator::CInsertionFixupValidator(QObject* parent) : QRegExpValidator(parent)
{
}

CInsertionFixupValidator::CInsertionFixupValidator(QRegExp const& regExp, QObject* parent)
    : QRegExpValidator(regExp, parent)
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
    pos = qBound(0, pos, input.size());
    const QString before = input.left(pos);
    const QString behind = input.mid(pos);
    fixup(input);
    if (!input.startsWith(before) && input.endsWith(behind))
        pos = input.size() - behind.size();
    pos = std::min(pos, input.size());
    return QRegExpValidator::validate(input, pos);
}

} // namespace tools
