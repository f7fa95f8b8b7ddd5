#include "common/tools/regexpvalidator.h"

#if QT_VERSION_MAJOR >= 6

namespace tools {

RegExpValidator::RegExpValidator(QObject* parent) : RegExpValidator(QRegExp(".*"), parent)
{
}

RegExpValidator::RegExpValidator(const QRegExp& regExp, QObject* parent)
    : QValidator(parent), pattern_(regExp)
{
}

RegExpValidator::~RegExpValidator() = default;

QValidator::State RegExpValidator::validate(QString& input, int& pos) const
{
    const QRegExp own = pattern_; // matching changes it
    if (own.exactMatch(input))
        return Acceptable;
    if (own.matchedLength() == input.size())
        return Intermediate;
    pos = int(input.size());
    return Invalid;
}

const QRegExp& RegExpValidator::regExp() const
{
    return pattern_;
}

void RegExpValidator::setRegExp(const QRegExp& regExp)
{
    if (pattern_ == regExp)
        return;
    pattern_ = regExp;
    Q_EMIT regExpChanged(regExp);
    Q_EMIT changed();
}

} // namespace tools

#endif
