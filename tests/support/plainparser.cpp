#include "support/plainparser.h"

#include <common/tools/sip/password.h>
#include <common/tools/sip/sipid.h>

#include <array>

using tools::sip::Password;
using tools::sip::SipId;

bool ParsedAddress::operator==(const ParsedAddress& other) const
{
    return parsed == other.parsed && user == other.user && host == other.host &&
           displayName == other.displayName && postDial == other.postDial && port == other.port;
}

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

ParsedAddress PlainParse(const QString& text)
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

    ParsedAddress result;
    result.user = text.trimmed();
    for (size_t i = 0; i < patterns.size(); ++i) {
        const QRegExp& pattern = patterns[i];
        if (!pattern.exactMatch(text.trimmed()))
            continue;
        if (pattern.capturedTexts().size() < groups[i].required)
            return result;
        const auto captured = [&](int group) {
            return group < 0 ? QString() : pattern.cap(group);
        };
        result.parsed = true;
        result.user = captured(groups[i].user);
        result.host = i == 2 ? "skype.com" : captured(groups[i].host);
        result.displayName = captured(groups[i].displayName);
        result.postDial = captured(groups[i].postDial).replace(QRegExp("\\s"), "");
        result.port = captured(groups[i].port);
        return result;
    }
    return result;
}

ParsedAddress LibraryParse(const QString& text)
{
    ParsedAddress result;
    result.parsed = SipId::ParseURIEx(text, result.user, result.host, result.displayName,
                                      result.postDial, result.port);
    return result;
}
