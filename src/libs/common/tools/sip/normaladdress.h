#pragma once

#include "common/qvcommon_export.h"

#include <QString>
#include <QStringList>

namespace tools::sip {

/** What Normalise() makes of an address. */
struct NormalAddress
{
    /** Why an address is refused. */
    enum Problem {
        NoProblem = 0,  ///< it is not refused
        Empty,          ///< there is nothing, or no digit where a number stands
        UnknownLink,    ///< a link of another scheme than those that Normalise() reads
        WrongCharacter, ///< white space or another character that its place does not allow
        UserMissing,    ///< "@example.com", "sip:example.com"
        UserMalformed,  ///< a dot at an end of the user, or two in a row
        HostMissing,    ///< "alice@", "sip:alice"
        HostIsAddress,  ///< an IP address: "192.168.1.10"
        HostIsShort,    ///< a name without a domain: "pbx"
        HostEnding,     ///< a last label that has not 2 to 4 letters: "example.online"
        HostMalformed,  ///< no domain name for another reason
        PortMalformed   ///< not from 1 to 65535
    };

    /**
     * What SipId::ParseURIEx() and common::contact::number::CreateInstance() take: "+74955550123",
     * "jane@example.com:5060,,12", "skype:jane" or a bare user. Empty if the address is refused.
     */
    QString text;
    /** The name beside the address, without quotes; for common::contact::CreateInstance(). */
    QString displayName;
    /**
     * What had a meaning and is not in @c text, as it was written: ";transport=tls",
     * "?subject=lunch", "sips:" (that the call be encrypted), "(0)". A password is told as
     * "password" only.
     */
    QStringList dropped;
    /** Why the address is refused, if it is. */
    Problem problem = NoProblem;
    /** The problem for a person, in English: "the host is missing". */
    QString reason;
};

/**
 * Turns an address as people type, paste and click it into one that SipId reads. Any thread.
 *
 * @code
 * const auto address = tools::sip::Normalise("tel:+7-(495)-555-01-23;ext=12");
 * if (address.problem)
 *     ShowProblem(address.reason); // "the host is missing"
 * else
 *     Dial(address.text); // "+74955550123,12"
 * @endcode
 *
 * It reads
 * - links of the schemes "tel:" (RFC 3966), "sip:" and "sips:" (RFC 3261, section 19.1), "callto:"
 *   and "skype:", with or without "//"; only in these, %41 is an "A". Escapes of characters that a
 *   user cannot have stay as they are;
 * - telephone numbers with hyphens, dots, brackets and blanks, with the digits of any script, with
 *   ";ext=" and ";postd=" as post-dial digits. Of a "+44 (0)20" the "(0)" is dropped. A domain in
 *   ";phone-context=" becomes the host, and a number there is dropped, as it is no prefix;
 * - user\@host, with such a number for a user if it begins with "+" or there is ";user=phone";
 * - any of these in angle brackets, with or without a name before them.
 *
 * Invisible marks and white space around the address, or inside of a number, do not matter. What is
 * accepted parses, and stays as it is when it is normalised again.
 *
 * @warning "sips:" and ";transport=tls" ask for encryption that the result does not ask for: see
 * NormalAddress::dropped.
 */
QVCOMMON_EXPORT NormalAddress Normalise(const QString& written);

} // namespace tools::sip
