#include "common/contact/contactcontext.h"

namespace common::contact {

using number::INumberContext;

IContactContext::~IContactContext() = default;

ContactContext::ContactContext(const QSharedPointer<INumberContext>& newNumber,
                               const QString& newName)
    : number(newNumber), name(newName)
{
}

ContactContext::~ContactContext() = default;

ContactContext* ContactContext::CreateInstance(const QSharedPointer<INumberContext>& number,
                                               const QString& name)
{
    return new ContactContext(number, name);
}

QImage& ContactContext::Image(QImage& image) const
{
    return image;
}

bool ContactContext::IsKnown() const
{
    return false;
}

QString ContactContext::Name() const
{
    return name == User() ? noName : name;
}

QString ContactContext::ContactNumber() const
{
    return OfNumber(&INumberContext::ContactNumber);
}

QString ContactContext::Number() const
{
    return OfNumber(&INumberContext::Number);
}

int ContactContext::Type() const
{
    return number ? number->Type() : INumberContext::PhoneNumber;
}

QString ContactContext::DisplayName() const
{
    return name;
}

QString ContactContext::Ringtone() const
{
    return QStringLiteral(":/ringtones/Ringtone Default.wav");
}

QString ContactContext::URI() const
{
    return OfNumber(&INumberContext::URI);
}

QString ContactContext::User() const
{
    return OfNumber(&INumberContext::User);
}

QString ContactContext::Host() const
{
    return OfNumber(&INumberContext::Host);
}

QString ContactContext::Extention() const
{
    return OfNumber(&INumberContext::Extention);
}

QString ContactContext::OfNumber(QString (INumberContext::*text)() const) const
{
    return number ? (*number.*text)() : QString();
}

QSharedPointer<IContactContext> CreateInstance(const QString& text, const QString& name)
{
    return QSharedPointer<IContactContext>(
        ContactContext::CreateInstance(number::CreateInstance(text), name));
}

QSharedPointer<IContactContext> CreateInstance(const QString& user, const QString& host,
                                               const QString& name, const QString& extension)
{
    return QSharedPointer<IContactContext>(
        ContactContext::CreateInstance(number::CreateInstance(user, host, extension), name));
}

} // namespace common::contact
