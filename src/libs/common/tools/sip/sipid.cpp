#include "common/tools/sip/sipid.h"

#include "common/tools/sip/addressform_p.h"

namespace tools::sip {

namespace {

QRegExp IgnoringCase(const QString& pattern)
{
    return QRegExp(pattern, Qt::CaseInsensitive, QRegExp::RegExp);
}

QString WithoutSpace(QStringView text)
{
    QString kept;
    kept.reserve(int(text.size()));
    for (const QChar c : text) {
        if (!c.isSpace())
            kept += c;
    }
    return kept;
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
    const qsizetype at = id.indexOf(QLatin1Char('@'));
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

    // The first form that matches decides. "name@skype" is none, though SkypeIDRegExp() matches it:
    // clients rely on that.
    AddressParts parts;
    if (MatchURI(trimmed, parts) || MatchID(trimmed, parts)) {
        host = parts.host.toString();
        displayName = parts.displayName.toString();
        port = parts.port.toString();
    } else if (MatchSkypeURI(trimmed, parts)) {
        host = QStringLiteral("skype.com");
    } else if (!MatchPhoneNumber(trimmed, parts) && !MatchSIPUser(trimmed, parts)) {
        user = trimmed;
        return false;
    }
    user = parts.user.toString();
    if (!parts.postDial.isNull())
        postDial = WithoutSpace(parts.postDial);
    return true;
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
