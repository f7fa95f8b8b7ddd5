#include "support/plainparser.h"

#include <common/tools/sip/password.h>
#include <common/tools/sip/sipid.h>

using namespace tools::sip;

namespace {

QRegExp Stored(const char* text)
{
    return QRegExp(QString::fromUtf8(text), Qt::CaseInsensitive);
}

} // namespace

// clang-format off
const QList<PlainPattern>& PlainPatterns()
{
    static const QList<PlainPattern> patterns = {
        {SipId::URIRegExp, Stored(R"re(^("(.+)"\s+)?<(sip:\s*)?([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@((([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)+(?:[a-z]{2,4}))(:([1-9][0-9]{0,4}))?)(;(.*))?>$)re"), {4, 7, 2, 0, 10}},
        {SipId::IDRegExp, Stored(R"re(^(sip:\s*)?([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@((([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)+(?:[a-z]{2,4}))(:([1-9][0-9]{0,4}))?)(,[,0-9a-fA-F*#\s]+[0-9a-fA-F*#\s])?(?:,*)$)re"), {2, 5, 0, 9, 8}},
        {SipId::SkypeURIRegExp, Stored(R"re(^(skype:\s*)([-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.]+)(?:@(skype(?:\.com)?))?$)re"), {2}},
        {SipId::SkypeIDRegExp, Stored(R"re(^([-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.]+)@(skype(?:\.com)?)$)re")},
        {SipId::PhoneNumberRegExp, Stored(R"re(^(?:[\+\s]*)?([0-9*#]+)(,[,0-9a-fA-F*#\s]+[0-9a-fA-F*#\s])?(?:,*)$)re"), {1, 0, 0, 2}},
        {SipId::SIPUserRegExp, Stored(R"re(^([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)(?:@*)$)re"), {1}},
        {SipId::AllSymbolRegExp, Stored(R"re([-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.@:]+)re")},
        {SipId::SymbolRegExp, Stored(R"re([-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.@]{0,255}(:[0-9]{0,5})?)re")},
        {SipId::FormatRegExp, Stored(R"re(^([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@(([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)*(zelkosip)\.(?:[a-z]{2,4}))(:([1-9][0-9]{0,4}))?$)re")},
        {SipId::ZelkoSipIDRegExp, Stored(R"re(^([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@(([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)*(zelkosip)\.(?:[a-z]{2,4}))(:([1-9][0-9]{0,4}))?(:([1-9][0-9]{0,4}))?$)re")},
        {SipId::IDWithoutPortRegExp, Stored(R"re(^(sip:\s*)?([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@((([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)+(?:[a-z]{2,4})))(,[,0-9a-fA-F*#\s]+[0-9a-fA-F*#\s])?(?:,*)$)re")},
        {SipId::NumericNumberRegExp, Stored(R"re(^([-()0-9*#,+\s]*)$)re")},
        {SipId::NumericSipRegExp, Stored(R"re(^000([-()0-9*#,+\s]*))re")},
        {Password::PasswordSymbolRegExp, Stored(R"re(^([-a-zа-я0-9!@#$%^&*()_+=;:,./?\\|`~\[\]{}]*)$)re")},
    };
    return patterns;
}
// clang-format on

QStringList PlainParse(const QString& text)
{
    for (const auto& [pattern, stored, groups] : PlainPatterns().mid(0, 6)) {
        if (!stored.exactMatch(text.trimmed()))
            continue;
        if (pattern == SipId::SkypeIDRegExp) // has a group less than clients ask for
            return {};
        QStringList parts;
        for (const int group : groups)
            parts << (group ? stored.cap(group) : QString());
        if (pattern == SipId::SkypeURIRegExp)
            parts[1] = "skype.com";
        if (!groups[4])
            parts[4] = "kept";
        parts[3] = parts[3].simplified().remove(' ');
        return parts;
    }
    return {};
}
