#pragma once

#include "common/qvcommon_export.h"

#include <QRegExp>
#include <QString>

namespace tools::sip {

/**
 * The rule for passwords of SIP accounts. Stateless; any thread.
 *
 * @code
 * using tools::sip::Password;
 * edit->setValidator(new tools::CInsertionFixupValidator(Password::PasswordSymbolRegExp(), edit));
 * button->setEnabled(Password::IsGood(edit->text()));
 * @endcode
 */
class QVCOMMON_EXPORT Password
{
public:
    Password() = delete;

    /** Any number of the characters that a password may have, none included. */
    static QRegExp PasswordSymbolRegExp();

    /**
     * Whether the password has 8 to 20 characters, each a Latin letter, a Cyrillic letter from
     * U+0430 to U+044F in either case, a digit, a hyphen or one of !@#$%^&*()_+=;:,./?\|`~[]{}.
     */
    static bool IsGood(const QString& password);
};

} // namespace tools::sip
