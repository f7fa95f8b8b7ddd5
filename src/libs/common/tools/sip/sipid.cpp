#include "common/tools/sip/sipid.h"

#include <QStringList>

namespace tools::sip {

namespace {

QRegExp IgnoringCase(const QString& pattern)
{
    return QRegExp(pattern, Qt::CaseInsensitive, QRegExp::RegExp);
}

// What an address was split into, in the order of ParseURIEx().
struct Address
{
    QString& user;
    QString& host;
    QString& displayName;
    QString& postDial;
    QString& port;
};

QString WithoutSpace(QString text)
{
    static const QRegExp space(QStringLiteral("\\s"));
    return text.remove(QRegExp(space));
}

void TakeURI(const QStringList& groups, Address& address)
{
    address.displayName = groups.at(2);
    address.user = groups.at(4);
    address.host = groups.at(7);
    address.port = groups.at(10);
}

void TakeID(const QStringList& groups, Address& address)
{
    address.user = groups.at(2);
    address.host = groups.at(5);
    address.port = groups.at(8);
    address.postDial = WithoutSpace(groups.at(9));
}

void TakeSkypeURI(const QStringList& groups, Address& address)
{
    address.user = groups.at(2);
    address.host = QStringLiteral("skype.com");
}

void TakeSkypeID(const QStringList& groups, Address& address)
{
    address.user = groups.at(1);
    address.host = QStringLiteral("skype.com");
}

void TakePhoneNumber(const QStringList& groups, Address& address)
{
    address.user = groups.at(1);
    address.postDial = WithoutSpace(groups.at(2));
}

void TakeSIPUser(const QStringList& groups, Address& address)
{
    address.user = groups.at(1);
}

struct Form
{
    QRegExp (*pattern)();
    int requiredTexts;
    void (*take)(const QStringList& groups, Address& address);
};

// The first form that matches decides. SkypeIDRegExp() has fewer texts than are required of it, so
// "name@skype" is no address; clients rely on that.
constexpr Form forms[] = {
    {SipId::URIRegExp, 13, TakeURI},
    {SipId::IDRegExp, 10, TakeID},
    {SipId::SkypeURIRegExp, 4, TakeSkypeURI},
    {SipId::SkypeIDRegExp, 4, TakeSkypeID},
    {SipId::PhoneNumberRegExp, 3, TakePhoneNumber},
    {SipId::SIPUserRegExp, 3, TakeSIPUser},
};

bool Split(const QString& text, Address& address)
{
    for (const Form& form : forms) {
        const QRegExp pattern = form.pattern();
        if (!pattern.exactMatch(text))
            continue;
        const QStringList groups = pattern.capturedTexts();
        if (groups.size() < form.requiredTexts)
            return false;
        form.take(groups, address);
        return true;
    }
    return false;
}

} // namespace

QString SipId::AllSymbols()
{
    return QStringLiteral(R"re(-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.@:)re");
}

QRegExp SipId::AllSymbolRegExp()
{
    static const QRegExp pattern =
        IgnoringCase(QStringLiteral(R"re([-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.@:]+)re"));
    return pattern;
}

QRegExp SipId::SymbolRegExp()
{
    static const QRegExp pattern = IgnoringCase(
        QStringLiteral(R"re([-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.@]{0,255}(:[0-9]{0,5})?)re"));
    return pattern;
}

QRegExp SipId::FormatRegExp()
{
    static const QRegExp pattern = IgnoringCase(QStringLiteral(
        R"re(^([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@(([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)*(zelkosip)\.(?:[a-z]{2,4}))(:([1-9][0-9]{0,4}))?$)re"));
    return pattern;
}

QRegExp SipId::ZelkoSipIDRegExp()
{
    static const QRegExp pattern = IgnoringCase(QStringLiteral(
        R"re(^([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@(([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)*(zelkosip)\.(?:[a-z]{2,4}))(:([1-9][0-9]{0,4}))?(:([1-9][0-9]{0,4}))?$)re"));
    return pattern;
}

QRegExp SipId::URIRegExp()
{
    static const QRegExp pattern = IgnoringCase(QStringLiteral(
        R"re(^("(.+)"\s+)?<(sip:\s*)?([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@((([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)+(?:[a-z]{2,4}))(:([1-9][0-9]{0,4}))?)(;(.*))?>$)re"));
    return pattern;
}

QRegExp SipId::IDRegExp()
{
    static const QRegExp pattern = IgnoringCase(QStringLiteral(
        R"re(^(sip:\s*)?([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@((([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)+(?:[a-z]{2,4}))(:([1-9][0-9]{0,4}))?)(,[,0-9a-fA-F*#\s]+[0-9a-fA-F*#\s])?(?:,*)$)re"));
    return pattern;
}

QRegExp SipId::IDWithoutPortRegExp()
{
    static const QRegExp pattern = IgnoringCase(QStringLiteral(
        R"re(^(sip:\s*)?([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@((([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)+(?:[a-z]{2,4})))(,[,0-9a-fA-F*#\s]+[0-9a-fA-F*#\s])?(?:,*)$)re"));
    return pattern;
}

QRegExp SipId::SkypeURIRegExp()
{
    static const QRegExp pattern = IgnoringCase(QStringLiteral(
        R"re(^(skype:\s*)([-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.]+)(?:@(skype(?:\.com)?))?$)re"));
    return pattern;
}

QRegExp SipId::SkypeIDRegExp()
{
    static const QRegExp pattern = IgnoringCase(
        QStringLiteral(R"re(^([-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.]+)@(skype(?:\.com)?)$)re"));
    return pattern;
}

QRegExp SipId::PhoneNumberRegExp()
{
    static const QRegExp pattern = IgnoringCase(QStringLiteral(
        R"re(^(?:[\+\s]*)?([0-9*#]+)(,[,0-9a-fA-F*#\s]+[0-9a-fA-F*#\s])?(?:,*)$)re"));
    return pattern;
}

QRegExp SipId::SIPUserRegExp()
{
    static const QRegExp pattern = IgnoringCase(QStringLiteral(
        R"re(^([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)(?:@*)$)re"));
    return pattern;
}

QRegExp SipId::NumericNumberRegExp()
{
    return IgnoringCase(QStringLiteral(R"re(^([-()0-9*#,+\s]*)$)re"));
}

QRegExp SipId::NumericSipRegExp()
{
    return IgnoringCase(QStringLiteral(R"re(^000([-()0-9*#,+\s]*))re"));
}

int SipId::Check(const QString& id)
{
    if (id.isEmpty())
        return WrongFormat;
    if (!AllSymbolRegExp().exactMatch(id))
        return ForbiddenSymbols;
    if (!SymbolRegExp().exactMatch(id))
        return WrongFormat;
    if (FormatRegExp().exactMatch(id))
        return OwnDomain;
    return CheckDomain(id);
}

bool SipId::IsValid(const QString& id)
{
    return Check(id) == OwnDomain;
}

int SipId::CheckDomain(const QString& id)
{
    static const QRegExp hostSymbols = IgnoringCase(QStringLiteral("^[-a-z0-9.:]*"));
    const int at = id.indexOf(QLatin1Char('@'));
    if (at <= 0)
        return OtherDomain;
    // A further "@" is not held against the host.
    const QString host = id.mid(at + 1).replace(QLatin1Char('@'), QLatin1Char('z'));
    return QRegExp(hostSymbols).exactMatch(host) ? OtherDomain : ForbiddenSymbols;
}

bool SipId::ParseURIEx(const QString& text, QString& user, QString& host, QString& displayName,
                       QString& postDial, QString& port)
{
    const QString trimmed = text.trimmed(); // text may be one of the outputs
    for (QString* output : {&user, &host, &displayName, &postDial})
        output->clear();
    Address address{user, host, displayName, postDial, port};
    if (Split(trimmed, address))
        return true;
    user = trimmed;
    return false;
}

bool SipId::ParseURIEx(const QString& text, QString& user, QString& host, QString& displayName,
                       QString& postDial)
{
    QString port;
    const bool parsed = ParseURIEx(text, user, host, displayName, postDial, port);
    if (parsed && !port.isEmpty())
        host += QLatin1Char(':') + port;
    return parsed;
}

bool SipId::ParseURI(const QString& text, QString& user, QString& host, QString& displayName)
{
    QString postDial;
    return ParseURIEx(text, user, host, displayName, postDial);
}

} // namespace tools::sip
