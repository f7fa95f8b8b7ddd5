#include "common/contact/numbercontext.h"

#include "common/deployment_p.h"
#include "common/tools/sip/sipid.h"

#include <algorithm>
#include <iterator>

namespace common::contact::number {

using tools::sip::SipId;

namespace {

bool Same(const QString& host, const char* other)
{
    return host.compare(QLatin1String(other), Qt::CaseInsensitive) == 0;
}

bool IsSkype(const QString& host)
{
    return Same(host, "skype") || Same(host, "skype.com");
}

bool IsOfTheService(const QString& host)
{
    return host.contains(QLatin1String(QVCOMMON_SIP_HOST), Qt::CaseInsensitive) &&
           !Same(host, QVCOMMON_EXTERNAL_NUMBER_HOST);
}

int KindOf(const QString& user, const QString& host)
{
    if (IsSkype(host))
        return INumberContext::SkypeName;
    if (IsOfTheService(host))
        return INumberContext::ServiceAccount;
    if (!NumberContext::IsNumeric(user) || SipId::NumericSipRegExp().exactMatch(user))
        return INumberContext::SipAddress;
    return INumberContext::PhoneNumber;
}

QString PostDialDigits(const QString& text)
{
    const QString allowed = QStringLiteral("0123456789abcdefABCDEF*#");
    QString digits;
    std::copy_if(text.cbegin(), text.cend(), std::back_inserter(digits),
                 [&](QChar c) { return allowed.contains(c); });
    return digits;
}

} // namespace

INumberContext::~INumberContext() = default;

NumberContext::NumberContext(const QString& newUser, const QString& newHost,
                             const QString& newExtension)
    : user(newUser.trimmed()),
      host(newHost.trimmed().toLower()),
      extension(PostDialDigits(newExtension)),
      type(KindOf(user, host))
{
    if (type == SkypeName)
        user = user.toLower();
}

NumberContext::~NumberContext() = default;

NumberContext* NumberContext::CreateInstance(const QString& user, const QString& host,
                                             const QString& extension)
{
    return new NumberContext(user, host, extension);
}

bool NumberContext::IsNumeric(const QString& text)
{
    return SipId::NumericNumberRegExp().exactMatch(text);
}

QString NumberContext::ContactNumber() const
{
    return type == ServiceAccount || type == PhoneNumber ? WithExtension() : URI();
}

QString NumberContext::Number() const
{
    return type == SkypeName ? QStringLiteral("skype: ") + ContactNumber() : ContactNumber();
}

int NumberContext::Type() const
{
    return type;
}

QString NumberContext::URI() const
{
    return host.isEmpty() ? WithExtension() : user + QLatin1Char('@') + host;
}

QString NumberContext::User() const
{
    return user;
}

QString NumberContext::Host() const
{
    return host;
}

QString NumberContext::Extention() const
{
    return extension;
}

QString NumberContext::WithExtension() const
{
    return extension.isEmpty() ? user : user + QLatin1Char(',') + extension;
}

QSharedPointer<INumberContext> CreateInstance(const QString& user, const QString& host,
                                              const QString& extension)
{
    return QSharedPointer<INumberContext>(NumberContext::CreateInstance(user, host, extension));
}

QSharedPointer<INumberContext> CreateInstance(const QString& text)
{
    QString user;
    QString host;
    QString displayName;
    QString postDial;
    SipId::ParseURIEx(text, user, host, displayName, postDial);
    return CreateInstance(user, host, postDial);
}

} // namespace common::contact::number
