#include "support/plainparser.h"

#include <common/tools/sip/password.h>
#include <common/tools/sip/sipid.h>

#include <array>

using tools::sip::Password;
using tools::sip::SipId;

// clang-format off
const QList<PlainPattern>& PlainPatterns()
{
    static const QList<PlainPattern> patterns = {
        {"URIRegExp", SipId::URIRegExp, R"re(^("(.+)"\s+)?<(sip:\s*)?([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@((([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)+(?:[a-z]{2,4}))(:([1-9][0-9]{0,4}))?)(;(.*))?>$)re"},
        {"IDRegExp", SipId::IDRegExp, R"re(^(sip:\s*)?([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@((([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)+(?:[a-z]{2,4}))(:([1-9][0-9]{0,4}))?)(,[,0-9a-fA-F*#\s]+[0-9a-fA-F*#\s])?(?:,*)$)re"},
        {"SkypeURIRegExp", SipId::SkypeURIRegExp, R"re(^(skype:\s*)([-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.]+)(?:@(skype(?:\.com)?))?$)re"},
        {"SkypeIDRegExp", SipId::SkypeIDRegExp, R"re(^([-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.]+)@(skype(?:\.com)?)$)re"},
        {"PhoneNumberRegExp", SipId::PhoneNumberRegExp, R"re(^(?:[\+\s]*)?([0-9*#]+)(,[,0-9a-fA-F*#\s]+[0-9a-fA-F*#\s])?(?:,*)$)re"},
        {"SIPUserRegExp", SipId::SIPUserRegExp, R"re(^([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)(?:@*)$)re"},
        {"AllSymbolRegExp", SipId::AllSymbolRegExp, R"re([-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.@:]+)re"},
        {"SymbolRegExp", SipId::SymbolRegExp, R"re([-a-z0-9&=+$,;?_!~*‘()%\{\}\/'\.@]{0,255}(:[0-9]{0,5})?)re"},
        {"FormatRegExp", SipId::FormatRegExp, R"re(^([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@(([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)*(zelkosip)\.(?:[a-z]{2,4}))(:([1-9][0-9]{0,4}))?$)re"},
        {"ZelkoSipIDRegExp", SipId::ZelkoSipIDRegExp, R"re(^([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@(([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)*(zelkosip)\.(?:[a-z]{2,4}))(:([1-9][0-9]{0,4}))?(:([1-9][0-9]{0,4}))?$)re"},
        {"IDWithoutPortRegExp", SipId::IDWithoutPortRegExp, R"re(^(sip:\s*)?([-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+(\.[-a-z0-9&=+$,;?_!~*‘()%\{\}\/']+)*)@((([a-z0-9](?:[-a-z0-9]{0,61}[a-z0-9])?\.)+(?:[a-z]{2,4})))(,[,0-9a-fA-F*#\s]+[0-9a-fA-F*#\s])?(?:,*)$)re"},
        {"NumericNumberRegExp", SipId::NumericNumberRegExp, R"re(^([-()0-9*#,+\s]*)$)re"},
        {"NumericSipRegExp", SipId::NumericSipRegExp, R"re(^000([-()0-9*#,+\s]*))re"},
        {"PasswordSymbolRegExp", Password::PasswordSymbolRegExp, R"re(^([-a-zа-я0-9!@#$%^&*()_+=;:,./?\\|`~\[\]{}]*)$)re"},
    };
    return patterns;
}
// clang-format on

QStringList PlainParse(const QString& text)
{
    // In the order of PlainPatterns(): how many texts a match needs, and which one is what.
    struct Groups
    {
        int required, user, host, displayName, postDial, port;
    };
    static const std::array<Groups, 6> groups = {{{13, 4, 7, 2, -1, 10},
                                                  {10, 2, 5, -1, 9, 8},
                                                  {4, 2, -1, -1, -1, -1},
                                                  {4, 1, -1, -1, -1, -1},
                                                  {3, 1, -1, -1, 2, -1},
                                                  {3, 1, -1, -1, -1, -1}}};
    static const std::array<QRegExp, 6> patterns = [] {
        std::array<QRegExp, 6> compiled;
        for (size_t i = 0; i < compiled.size(); ++i)
            compiled[i] = QRegExp(PlainPatterns().at(int(i)).text, Qt::CaseInsensitive);
        return compiled;
    }();

    for (size_t i = 0; i < patterns.size(); ++i) {
        const QRegExp& pattern = patterns[i];
        if (!pattern.exactMatch(text.trimmed()))
            continue;
        const auto& [required, user, host, displayName, postDial, port] = groups[i];
        if (pattern.capturedTexts().size() < required)
            return {};
        const auto captured = [&](int group) {
            return group < 0 ? QString() : pattern.cap(group);
        };
        return {captured(user), i == 2 ? "skype.com" : captured(host), captured(displayName),
                captured(postDial).replace(QRegExp("\\s"), ""), captured(port)};
    }
    return {};
}
