#pragma once

#include "common/qvcommon_export.h"

#include <QRegExp>
#include <QString>

namespace tools::sip {

/**
 * The grammar of the addresses that a user types, pastes or clicks. Stateless; any thread.
 *
 * @code
 * using tools::sip::SipId;
 * QString user, host, name, postDial, port;
 * const QString text = "\"Jane Roe\" <sip:jane@example.test:5060>";
 * if (SipId::ParseURIEx(text, user, host, name, postDial, port))
 *     label->setText(user + " at " + host); // "jane at example.test"; the port is "5060"
 * @endcode
 *
 * It is a practical grammar, neither that of RFC 3261 nor a subset of it: a display name needs its
 * quotes and the angle brackets around the address, a host is a domain name that ends in a label of
 * 2 to 4 letters (so no IP address and no "localhost"), and "sips:" is no prefix. Letter case does
 * not matter anywhere. Parsing takes time linear in the length of the text.
 *
 * All patterns are to be matched with QRegExp::exactMatch(). For what people paste, links included, see
 * Normalise(); for the record of a parsed address, common::contact::number::INumberContext.
 */
class QVCOMMON_EXPORT SipId
{
public:
    SipId() = delete;

    /** Results of Check(). */
    enum CheckResult {
        OwnDomain = 0,        ///< a well-formed identifier of the service's own domain
        OtherDomain = 1,      ///< no domain, or that of another service
        ForbiddenSymbols = 2, ///< characters that an identifier or a host name cannot have
        WrongFormat = 3       ///< empty or wrongly formed
    };

    /** The characters of a user part, as the contents of a character class. */
    static QString AllSymbols();

    /** One or more of AllSymbols(). */
    static QRegExp AllSymbolRegExp();
    /** Up to 255 of AllSymbols() but ":", then perhaps a colon and up to five digits. */
    static QRegExp SymbolRegExp();
    /** An identifier of the service's own domain, with or without a port. */
    static QRegExp FormatRegExp();
    /** The same with up to two ports in a row. */
    static QRegExp ZelkoSipIDRegExp();
    /**
     * An address in angle brackets, with or without a display name: group 2 is that name, 4 the
     * user, 7 the host, 10 the port.
     */
    static QRegExp URIRegExp();
    /** user\@host: group 2 is the user, 5 the host, 8 the port, 9 the post-dial digits. */
    static QRegExp IDRegExp();
    /** user\@host without a port: group 2 is the user, 5 the host, 7 the post-dial digits. */
    static QRegExp IDWithoutPortRegExp();
    /** A Skype name behind "skype:": group 2 is the name. */
    static QRegExp SkypeURIRegExp();
    /** A Skype name at "skype" or "skype.com": group 1 is the name. */
    static QRegExp SkypeIDRegExp();
    /** A telephone number: group 1 is the digits, 2 the post-dial digits. */
    static QRegExp PhoneNumberRegExp();
    /** A user without a host: group 1 is the user. */
    static QRegExp SIPUserRegExp();
    /** Digits and telephone punctuation, or nothing. */
    static QRegExp NumericNumberRegExp();
    /** The same behind "000": a number that is a SIP user. */
    static QRegExp NumericSipRegExp();

    /**
     * Judges an identifier of the service; the result is one of CheckResult. White space around it
     * counts. The service's own domain is a part of the grammar, not of the deployment.
     */
    static int Check(const QString& id);
    /** Whether Check() gives OwnDomain. */
    static bool IsValid(const QString& id);
    /**
     * Tells why an identifier is not of the service's own domain: ForbiddenSymbols if what follows
     * the first "@" has characters that a host name cannot have, else OtherDomain.
     */
    static int CheckDomain(const QString& id);

    /**
     * Splits an address: in angle brackets, user\@host, a Skype name, a telephone number or a bare
     * user, whichever fits first.
     *
     * @param text surrounding white space does not matter
     * @param[out] user of a telephone number, the digits without a leading "+"; but "+7(495)555" is
     *             a bare user and stays as it is
     * @param[out] host without the port; "skype.com" for a Skype name, empty for a telephone number
     *             or a bare user
     * @param[out] displayName without its quotes
     * @param[out] postDial the digits to dial once connected, with the commas (pauses) before and
     *             among them, without white space
     * @param[in,out] port left as it is where the form of the address has no port: pass an empty
     *                text
     * @return whether the text is an address. If not, @p user is the whole text, trimmed, and the
     *         others are empty (but @p port is as it was).
     */
    static bool ParseURIEx(const QString& text, QString& user, QString& host, QString& displayName,
                           QString& postDial, QString& port);
    /** The same; a port stays with the host: "example.test:5060". */
    static bool ParseURIEx(const QString& text, QString& user, QString& host, QString& displayName,
                           QString& postDial);
    /** The same, without the post-dial digits. */
    static bool ParseURI(const QString& text, QString& user, QString& host, QString& displayName);
};

} // namespace tools::sip
