// Parses and checks identifiers, against the patterns of the grammar.
#include "fuzz.h"
#include "support/plainparser.h"

#include <common/tools/sip/password.h>
#include <common/tools/sip/sipid.h>

#include <QHash>

using tools::sip::SipId;

namespace {

bool Matches(const char* name, const QString& text)
{
    static const auto patterns = [] {
        QHash<QByteArray, QRegExp> compiled;
        for (const PlainPattern& pattern : PlainPatterns())
            compiled.insert(pattern.name, QRegExp(pattern.text, Qt::CaseInsensitive));
        return compiled;
    }();
    return patterns.constFind(name)->exactMatch(text);
}

int PlainCheckDomain(const QString& id)
{
    const int at = id.indexOf('@');
    static const QRegExp host("^[-a-z0-9.:@]*", Qt::CaseInsensitive);
    return at < 1 || host.exactMatch(id.mid(at + 1)) ? 1 : 2;
}

int PlainCheck(const QString& id)
{
    if (id.isEmpty())
        return 3;
    if (!Matches("AllSymbolRegExp", id))
        return 2;
    if (!Matches("SymbolRegExp", id))
        return 3;
    return Matches("FormatRegExp", id) ? 0 : PlainCheckDomain(id);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString text = Text(Input(data, size).Rest());
    const ParsedAddress address = LibraryParse(text);
    EXPECT(address == PlainParse(text));
    EXPECT(SipId::Check(text) == PlainCheck(text));
    EXPECT(SipId::IsValid(text) == (PlainCheck(text) == 0));
    EXPECT(SipId::CheckDomain(text) == PlainCheckDomain(text));

    QString user;
    QString host;
    QString displayName;
    EXPECT(SipId::ParseURI(text, user, host, displayName) == address.parsed);
    EXPECT(user == address.user && displayName == address.displayName);
    EXPECT(host == (address.port.isEmpty() ? address.host : address.host + ':' + address.port));

    const bool isPassword = Matches("PasswordSymbolRegExp", text);
    EXPECT(tools::sip::Password::IsGood(text) ==
           (isPassword && text.size() >= 8 && text.size() <= 20));
    return 0;
}
