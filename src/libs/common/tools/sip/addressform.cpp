#include "common/tools/sip/addressform_p.h"

namespace tools::sip {

namespace {

// As QRegExp ignores case: the Kelvin sign, say, is a "k".
char16_t Lower(QChar c)
{
    const char16_t code = c.unicode();
    if (code < 0x80)
        return code >= 'A' && code <= 'Z' ? code + ('a' - 'A') : code;
    return c.toLower().unicode();
}

bool IsLetter(QChar c)
{
    const char16_t lower = Lower(c);
    return lower >= 'a' && lower <= 'z';
}

bool IsDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

bool IsHostSymbol(QChar c)
{
    return IsLetter(c) || IsDigit(c) || c == QLatin1Char('-');
}

bool IsUserSymbol(QChar c)
{
    if (IsHostSymbol(c))
        return true;
    switch (c.unicode()) {
    case '&':
    case '=':
    case '+':
    case '$':
    case ',':
    case ';':
    case '?':
    case '_':
    case '!':
    case '~':
    case '*':
    case u'\u2018':
    case '(':
    case ')':
    case '%':
    case '{':
    case '}':
    case '/':
    case '\'':
        return true;
    default:
        return false;
    }
}

bool IsSkypeSymbol(QChar c)
{
    return IsUserSymbol(c) || c == QLatin1Char('.');
}

bool IsDialled(QChar c)
{
    return IsDigit(c) || c == QLatin1Char('*') || c == QLatin1Char('#');
}

bool IsPostDialled(QChar c)
{
    const char16_t lower = Lower(c);
    return IsDialled(c) || (lower >= 'a' && lower <= 'f') || c.isSpace();
}

// Reads a text from its start. Each Take moves past what it is named after, if that is there.
class Reader
{
public:
    explicit Reader(QStringView text) : at_(text.begin()), end_(text.end()) {}

    bool AtEnd() const { return at_ == end_; }
    bool IsAt(char c) const { return !AtEnd() && *at_ == QLatin1Char(c); }
    QStringView Rest() const { return QStringView(at_, end_); }

    bool Take(char c)
    {
        if (!IsAt(c))
            return false;
        ++at_;
        return true;
    }

    template <typename Predicate>
    QStringView TakeAll(Predicate isWanted)
    {
        const QChar* const start = at_;
        while (at_ != end_ && isWanted(*at_))
            ++at_;
        return QStringView(start, at_);
    }

    bool TakeWord(const char* word)
    {
        const QChar* at = at_;
        for (; *word; ++word, ++at) {
            if (at == end_ || Lower(*at) != static_cast<char16_t>(*word))
                return false;
        }
        at_ = at;
        return true;
    }

    bool TakeScheme(const char* scheme)
    {
        if (!TakeWord(scheme))
            return false;
        TakeAll([](QChar c) { return c.isSpace(); });
        return true;
    }

    // Words of user symbols with dots between them.
    bool TakeUser(QStringView& user)
    {
        const QChar* const start = at_;
        do {
            if (TakeAll(IsUserSymbol).isEmpty())
                return false;
        } while (Take('.'));
        user = QStringView(start, at_);
        return true;
    }

    // Labels (RFC 1035, section 2.3.1), the last of 2 to 4 letters.
    bool TakeHost(QStringView& host)
    {
        const QChar* const start = at_;
        QStringView label;
        int labels = 0;
        do {
            label = TakeAll(IsHostSymbol);
            ++labels;
            if (label.isEmpty() || (IsAt('.') && !IsLabel(label)))
                return false;
        } while (Take('.'));
        host = QStringView(start, at_);
        return labels > 1 && label.size() >= 2 && label.size() <= 4 &&
               Reader(label).TakeAll(IsLetter).size() == label.size();
    }

    bool TakePort(QStringView& port)
    {
        if (!Take(':'))
            return true;
        port = TakeAll(IsDigit);
        return !port.isEmpty() && port.size() <= 5 && port.front() != QLatin1Char('0');
    }

    // A comma, commas and digits up to a digit, and commas to the end; or these alone.
    bool TakePostDial(QStringView& postDial)
    {
        QStringView all = Rest();
        while (all.endsWith(QLatin1Char(',')))
            all.chop(1);
        if (all.isEmpty())
            return true;
        postDial = all;
        if (all.size() < 3 || !Take(','))
            return false;
        TakeAll([](QChar c) { return IsPostDialled(c) || c == QLatin1Char(','); });
        return AtEnd();
    }

private:
    static bool IsLabel(QStringView label)
    {
        return label.size() <= 63 && label.front() != QLatin1Char('-') &&
               label.back() != QLatin1Char('-');
    }

    const QChar* at_;
    const QChar* end_;
};

bool TakeAddress(Reader& reader, AddressParts& parts)
{
    reader.TakeScheme("sip:");
    return reader.TakeUser(parts.user) && reader.Take('@') && reader.TakeHost(parts.host) &&
           reader.TakePort(parts.port);
}

// What follows the display name: <sip:user@host:port;parameters>
bool MatchBracketed(QStringView text, AddressParts& parts)
{
    if (!text.startsWith(QLatin1Char('<')) || !text.endsWith(QLatin1Char('>')))
        return false;
    Reader reader(text.mid(1).chopped(1));
    return TakeAddress(reader, parts) && (reader.AtEnd() || reader.IsAt(';'));
}

bool TakeSkypeHost(Reader& reader)
{
    if (!reader.TakeWord("skype"))
        return false;
    reader.TakeWord(".com");
    return reader.AtEnd();
}

} // namespace

bool MatchURI(QStringView text, AddressParts& parts)
{
    if (!text.startsWith(QLatin1Char('"'))) {
        parts = {};
        return MatchBracketed(text, parts);
    }
    // A name may hold quotes and brackets itself; the longest one counts.
    for (qsizetype quote = text.size() - 1; quote >= 2; --quote) {
        if (text[quote] != QLatin1Char('"'))
            continue;
        Reader reader(text.mid(quote + 1));
        if (reader.TakeAll([](QChar c) { return c.isSpace(); }).isEmpty())
            continue;
        parts = {};
        if (MatchBracketed(reader.Rest(), parts)) {
            parts.displayName = text.mid(1, quote - 1);
            return true;
        }
    }
    return false;
}

bool MatchID(QStringView text, AddressParts& parts)
{
    parts = {};
    Reader reader(text);
    return TakeAddress(reader, parts) && reader.TakePostDial(parts.postDial);
}

bool MatchSkypeURI(QStringView text, AddressParts& parts)
{
    parts = {};
    Reader reader(text);
    if (!reader.TakeScheme("skype:"))
        return false;
    parts.user = reader.TakeAll(IsSkypeSymbol);
    if (parts.user.isEmpty())
        return false;
    return reader.AtEnd() || (reader.Take('@') && TakeSkypeHost(reader));
}

bool MatchPhoneNumber(QStringView text, AddressParts& parts)
{
    parts = {};
    Reader reader(text);
    reader.TakeAll([](QChar c) { return c == QLatin1Char('+') || c.isSpace(); });
    parts.user = reader.TakeAll(IsDialled);
    return !parts.user.isEmpty() && reader.TakePostDial(parts.postDial);
}

bool MatchSIPUser(QStringView text, AddressParts& parts)
{
    parts = {};
    Reader reader(text);
    if (!reader.TakeUser(parts.user))
        return false;
    reader.TakeAll([](QChar c) { return c == QLatin1Char('@'); });
    return reader.AtEnd();
}

} // namespace tools::sip
