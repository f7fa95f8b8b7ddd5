#include "support/plainparser.h"

#include <common/tools/sip/password.h>
#include <common/tools/sip/sipid.h>

using tools::sip::Password;
using tools::sip::SipId;

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
        {"URIRegExp", SipId::URIRegExp, Stored(R"re(^("(.+)"\s+)?<(sip:\s*)?([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@((([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)+(?:[a-z]{2,4}))(:([1-9][0-9]{0,4}))?)(;(.*))?>$)re"), {4, 7, 2, 0, 10}},
        {"IDRegExp", SipId::IDRegExp, Stored(R"re(^(sip:\s*)?([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@((([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)+(?:[a-z]{2,4}))(:([1-9][0-9]{0,4}))?)(,[,0-9a-fA-F*#\s]+[0-9a-fA-F*#\s])?(?:,*)$)re"), {2, 5, 0, 9, 8}},
        {"SkypeURIRegExp", SipId::SkypeURIRegExp, Stored(R"re(^(skype:\s*)([-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.]+)(?:@(skype(?:\.com)?))?$)re"), {2}},
        {"SkypeIDRegExp", SipId::SkypeIDRegExp, Stored(R"re(^([-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.]+)@(skype(?:\.com)?)$)re")},
        {"PhoneNumberRegExp", SipId::PhoneNumberRegExp, Stored(R"re(^(?:[\+\s]*)?([0-9*#]+)(,[,0-9a-fA-F*#\s]+[0-9a-fA-F*#\s])?(?:,*)$)re"), {1, 0, 0, 2}},
        {"SIPUserRegExp", SipId::SIPUserRegExp, Stored(R"re(^([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)(?:@*)$)re"), {1}},
        {"AllSymbolRegExp", SipId::AllSymbolRegExp, Stored(R"re([-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.@:]+)re")},
        {"SymbolRegExp", SipId::SymbolRegExp, Stored(R"re([-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.@]{0,255}(:[0-9]{0,5})?)re")},
        {"FormatRegExp", SipId::FormatRegExp, Stored(R"re(^([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@(([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)*(zelkosip)\.(?:[a-z]{2,4}))(:([1-9][0-9]{0,4}))?$)re")},
        {"ZelkoSipIDRegExp", SipId::ZelkoSipIDRegExp, Stored(R"re(^([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@(([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)*(zelkosip)\.(?:[a-z]{2,4}))(:([1-9][0-9]{0,4}))?(:([1-9][0-9]{0,4}))?$)re")},
        {"IDWithoutPortRegExp", SipId::IDWithoutPortRegExp, Stored(R"re(^(sip:\s*)?([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@((([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)+(?:[a-z]{2,4})))(,[,0-9a-fA-F*#\s]+[0-9a-fA-F*#\s])?(?:,*)$)re")},
        {"NumericNumberRegExp", SipId::NumericNumberRegExp, Stored(R"re(^([-()0-9*#,+\s]*)$)re")},
        {"NumericSipRegExp", SipId::NumericSipRegExp, Stored(R"re(^000([-()0-9*#,+\s]*))re")},
        {"PasswordSymbolRegExp", Password::PasswordSymbolRegExp, Stored(R"re(^([-a-zа-я0-9!@#$%^&*()_+=;:,./?\\|`~\[\]{}]*)$)re")},
    };
    return patterns;
}
// clang-format on

QStringList PlainParse(const QString& text)
{
    for (int form = 0; form < 6; ++form) {
        const auto& [name, pattern, stored, groups] = PlainPatterns()[form];
        if (!stored.exactMatch(text.trimmed()))
            continue;
        if (pattern == SipId::SkypeIDRegExp) // has a group less than clients ask for
            return {};
        QStringList parts;
        for (const int group : groups)
            parts << (group ? stored.cap(group) : QString());
        if (pattern == SipId::SkypeURIRegExp)
            parts[1] = "skype.com";
        parts[3] = parts[3].simplified().remove(' ');
        return parts;
    }
    return {};
}
