#pragma once

#include "common/contact/numbercontext.h"
#include "common/qvcommon_export.h"

#include <QObject>
#include <QSharedPointer>
#include <QString>

class QImage;

namespace common::contact {

/**
 * What a client shows and dials for one party of a call: a number and the name the party is known
 * under.
 *
 * @code
 * const auto contact = common::contact::CreateInstance("sip:jane@example.test", "Jane Roe");
 * label->setText(contact->Name().isEmpty() ? contact->Number() : contact->Name());
 * @endcode
 *
 * Records come from the factory functions; the last pointer frees the record, so never delete one
 * or give it a QObject parent.
 */
class QVCOMMON_EXPORT IContactContext : public QObject
{
    Q_OBJECT

public:
    ~IContactContext() override;

    /** The party's picture, painted into @p image; without one, @p image as it was. */
    virtual QImage& Image(QImage& image) const = 0;
    /** Whether the party is in an address book. */
    virtual bool IsKnown() const = 0;
    /** The name if it is worth showing: empty if it merely repeats User(). */
    virtual QString Name() const = 0;
    /** What to dial; see number::INumberContext, as for the other parts of the address. */
    virtual QString ContactNumber() const = 0;
    /** What to show of the address. */
    virtual QString Number() const = 0;
    /** One of number::INumberContext::Kind. */
    virtual int Type() const = 0;
    /** The name as it was given. */
    virtual QString DisplayName() const = 0;
    /** The path of a sound file, perhaps in the client's resources. */
    virtual QString Ringtone() const = 0;
    /** The whole address; see number::INumberContext::URI(). */
    virtual QString URI() const = 0;
    /** The part before the "@". */
    virtual QString User() const = 0;
    /** The part behind the "@", with the port if there is one. */
    virtual QString Host() const = 0;
    /** The digits to dial once connected. */
    virtual QString Extention() const = 0;

Q_SIGNALS:
    /** What the record tells has changed. */
    void changed();
};

/**
 * A party that is in no address book: no picture, not known, the default ringtone. Immutable, so it
 * may be read on any thread, and never emits changed(). Use it through IContactContext.
 */
class QVCOMMON_EXPORT ContactContext : public IContactContext
{
    Q_OBJECT

public:
    /**
     * @param number the address; may be null: an empty telephone number
     * @param name   what the party is called
     */
    ContactContext(const QSharedPointer<number::INumberContext>& number, const QString& name);
    ~ContactContext() override;

    /** A new record that the caller owns. */
    static ContactContext* CreateInstance(const QSharedPointer<number::INumberContext>& number,
                                          const QString& name);

    QImage& Image(QImage& image) const override;
    bool IsKnown() const override;
    QString Name() const override;
    QString ContactNumber() const override;
    QString Number() const override;
    int Type() const override;
    QString DisplayName() const override;
    QString Ringtone() const override;
    QString URI() const override;
    QString User() const override;
    QString Host() const override;
    QString Extention() const override;

private:
    QVCOMMON_NO_EXPORT QString OfNumber(QString (number::INumberContext::*text)() const) const;

    QSharedPointer<number::INumberContext> number;
    QString name;
    QString noName;
};

/** The record of an address that a user typed, pasted or clicked. Never null. */
QVCOMMON_EXPORT QSharedPointer<IContactContext> CreateInstance(const QString& text,
                                                               const QString& name);

/**
 * The record of an address in parts. Never null. Mind the order: number::CreateInstance() takes the
 * extension third.
 */
QVCOMMON_EXPORT QSharedPointer<IContactContext> CreateInstance(const QString& user,
                                                               const QString& host,
                                                               const QString& name,
                                                               const QString& extension);

} // namespace common::contact
