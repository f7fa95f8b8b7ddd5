#pragma once

#include "common/qvcommon_export.h"

#include <QObject>
#include <QSharedPointer>
#include <QString>

namespace common::contact::number {

/**
 * One callable address, parsed and classified. Immutable, so it may be read on any thread.
 *
 * @code
 * using common::contact::number::INumberContext;
 * const auto number = common::contact::number::CreateInstance("+74955550123,,12");
 * if (number->Type() == INumberContext::PhoneNumber)
 *     Dial(number->ContactNumber()); // "74955550123,12"
 * @endcode
 *
 * Records come from the factory functions; the last pointer frees the record, so never delete one
 * or give it a QObject parent.
 */
class QVCOMMON_EXPORT INumberContext : public QObject
{
    Q_OBJECT

public:
    /**
     * Kinds of addresses, the values of Type(). SkypeName is tried first, then ServiceAccount,
     * PhoneNumber and SipAddress.
     *
     * @warning ServiceAccount proves nothing: any host whose name contains that of the service
     * counts, also "service.test.attacker.test".
     */
    enum Kind {
        /** The host contains the service's host name, but is not the host for external numbers
         * (without a port). */
        ServiceAccount = 0,
        /** Digits and telephone punctuation only, not beginning with "000", at any other host. */
        PhoneNumber = 1,
        SipAddress = 2, ///< any other address
        SkypeName = 3   ///< the host is "skype" or "skype.com"
    };

    ~INumberContext() override;

    /** What to dial: user and post-dial digits ("123,45"); URI() for SipAddress and SkypeName. */
    virtual QString ContactNumber() const = 0;
    /** What to show: ContactNumber(), for a Skype name with "skype: " before it. */
    virtual QString Number() const = 0;
    /** One of Kind. */
    virtual int Type() const = 0;
    /** "user@host"; without a host the user and, if there are any, the post-dial digits. */
    virtual QString URI() const = 0;
    /** The part before the "@", or the digits, or the Skype name in lower case. */
    virtual QString User() const = 0;
    /** In lower case; with ":" and the port, if the address has one. */
    virtual QString Host() const = 0;
    /** The digits to dial once connected: "0" to "9", "a" to "f" in either case, "*" and "#". */
    virtual QString Extention() const = 0;
};

/** The record itself; use it through INumberContext. */
class QVCOMMON_EXPORT NumberContext : public INumberContext
{
    Q_OBJECT

public:
    /**
     * @param user white space around it is dropped; becomes lower case for a Skype name
     * @param host white space around it is dropped; may have a port
     * @param extension all but post-dial digits is dropped
     */
    NumberContext(const QString& user, const QString& host, const QString& extension);
    ~NumberContext() override;

    /** A new record that the caller owns. */
    static NumberContext* CreateInstance(const QString& user, const QString& host,
                                         const QString& extension);

    /** Whether the text has digits, telephone punctuation and white space only, or is empty. */
    static bool IsNumeric(const QString& text);

    QString ContactNumber() const override;
    QString Number() const override;
    int Type() const override;
    QString URI() const override;
    QString User() const override;
    QString Host() const override;
    QString Extention() const override;

private:
    QVCOMMON_NO_EXPORT QString WithExtension() const;

    QString user;
    QString host;
    QString extension;
    int type;
};

/** A record made of parts; see the constructor of NumberContext. Never null. */
QVCOMMON_EXPORT QSharedPointer<INumberContext>
CreateInstance(const QString& user, const QString& host, const QString& extension);

/**
 * The record of an address; see tools::sip::SipId::ParseURIEx(). Pass a text that a user pasted
 * through tools::sip::Normalise() first. Never null: a text that is no address becomes the user. A
 * display name is dropped.
 */
QVCOMMON_EXPORT QSharedPointer<INumberContext> CreateInstance(const QString& text);

} // namespace common::contact::number
