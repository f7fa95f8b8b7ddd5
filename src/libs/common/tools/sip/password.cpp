#include "common/tools/sip/password.h"

namespace tools::sip {

QRegExp Password::PasswordSymbolRegExp()
{
    return QRegExp(QStringLiteral(R"re(^([-a-zа-я0-9!@#$%^&*()_+=;:,./?\\|`~\[\]{}]*)$)re"),
                   Qt::CaseInsensitive, QRegExp::RegExp);
}

bool Password::IsGood(const QString& password)
{
    return QRegExp(QStringLiteral(R"re(^([-a-zа-я0-9!@#$%^&*()_+=;:,./?\\|`~\[\]{}]{8,20})$)re"),
                   Qt::CaseInsensitive, QRegExp::RegExp)
        .exactMatch(password);
}

} // namespace tools::sip
