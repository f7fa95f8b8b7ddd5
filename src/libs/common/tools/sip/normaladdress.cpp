#include "common/tools/sip/normaladdress.h"

#include "common/tools/sip/addressform_p.h"

#include <QRegularExpression>
#include <QUrl>

#include <algorithm>
#include <utility>

namespace tools::sip {

namespace {

constexpr QLatin1Char comma(',');
constexpr int highestPort = 65535;

// As a person sees it: without invisible marks, and one form of blanks, digits and ASCII.
QString Plain(const QString& text)
{
    constexpr char16_t firstWide = 0xFF01; // the full-width forms of '!' to '~'
    constexpr char16_t lastWide = 0xFF5E;
    QString plain;
    for (const QChar c : text) {
        if (c.isSpace())
            plain += QLatin1Char(' ');
        else if (c.isDigit())
            plain += QChar('0' + c.digitValue());
        else if (c.unicode() >= firstWide && c.unicode() <= lastWide)
            plain += QChar(c.unicode() - firstWide + '!');
        else if (c.category() != QChar::Other_Format)
            plain += c;
    }
    return plain.trimmed();
}

bool IsUserSymbol(QChar c)
{
    AddressParts parts;
    return MatchSIPUser(QStringView(&c, 1), parts);
}

// Decodes what a user can have, but for "/" and "?", which mean something in a link. The rest stays
// escaped, and a "%" that escapes nothing is escaped, so that no new escape comes into being.
QString DecodedUser(const QString& text)
{
    static const QRegularExpression percent(QStringLiteral("%([0-9A-Fa-f]{2})?"));
    QString user;
    qsizetype end = 0;
    for (auto matches = percent.globalMatch(text); matches.hasNext();) {
        const auto match = matches.next();
        const QChar c(match.captured(1).toInt(nullptr, 16));
        user += text.mid(end, match.capturedStart() - end);
        end = match.capturedEnd();
        if (!match.hasMatch() || match.captured(1).isEmpty())
            user += QLatin1String("%25");
        else if ((IsUserSymbol(c) || c == QLatin1Char('.')) && !QLatin1String("%/?").contains(c))
            user += c;
        else
            user += match.captured();
    }
    return user + text.mid(end);
}

bool IsSeparator(QChar c)
{
    constexpr char16_t minus = 0x2212;
    return c.category() == QChar::Punctuation_Dash || c == QChar(minus) ||
           QLatin1String(" .()").contains(c);
}

QString Quoted(QChar c)
{
    if (c.isPrint() && !c.isSurrogate())
        return QLatin1Char('\'') + QString(c) + QLatin1Char('\'');
    return QStringLiteral("U+%1").arg(uint(c.unicode()), 4, 16, QLatin1Char('0')).toUpper();
}

// The name before an address in angle brackets.
QString UnquotedName(QString name)
{
    if (name.size() < 2 || !name.startsWith(QLatin1Char('"')) || !name.endsWith(QLatin1Char('"')))
        return name;
    static const QRegularExpression escape(QStringLiteral(R"(\\(.))"));
    return name.mid(1, name.size() - 2).replace(escape, QStringLiteral("\\1"));
}

// Where a quoted text at the start ends; 0 if there is none.
qsizetype EndOfQuotes(const QString& text)
{
    static const QRegularExpression quoted(QStringLiteral(R"(^"(?:[^"\\]++|\\.)*+")"));
    return std::max<qsizetype>(0, quoted.match(text).capturedEnd());
}

bool IsIpAddress(const QString& text)
{
    static const QRegularExpression address(
        QStringLiteral("^(\\[.*|[0-9]{1,3}([.][0-9]{1,3}){3})$"));
    return address.match(text).hasMatch();
}

// What a telephone number or a user is made of.
struct Parts
{
    QString user;
    QString host;
    QString port;
    QString postDial;
    QStringList dropped;
    QString wrong; // the first character that no number has
};

// Digits to dial once connected; "p" and "w" are pauses as a comma is one.
void AddPostDial(Parts& parts, const QString& digits)
{
    QString added;
    for (const QChar c : digits) {
        if (QLatin1String(",pwPW").contains(c))
            added += comma;
        else if (QLatin1String("0123456789*#abcdefABCDEF").contains(c))
            added += c;
        else if (!IsSeparator(c) && parts.wrong.isEmpty())
            parts.wrong = c;
    }
    if (!added.isEmpty() && !added.startsWith(comma))
        parts.postDial += comma;
    parts.postDial += added;
}

// The digits, behind the "+" if there is one.
void AddDigits(Parts& parts, const QString& digits)
{
    for (const QChar c : digits) {
        if (QLatin1String("0123456789*#").contains(c))
            parts.user += c;
        else if (!IsSeparator(c) && parts.wrong.isEmpty() &&
                 !(c == QLatin1Char('+') && parts.user.isEmpty()))
            parts.wrong = c;
    }
    if (!parts.user.isEmpty() && digits.contains(QLatin1Char('+')))
        parts.user.prepend(QLatin1Char('+'));
}

class Normaliser
{
public:
    NormalAddress Read(const QString& written)
    {
        ReadLink(Plain(TakeBrackets(written.trimmed())));
        return address_;
    }

private:
    void Refuse(NormalAddress::Problem problem, const QString& reason)
    {
        address_.problem = problem;
        address_.reason = reason;
    }

    void RefuseCharacter(QLatin1String where, QChar c)
    {
        const QString reason =
            c == QLatin1Char(' ')
                ? QStringLiteral("%1 has white space inside").arg(where)
                : QStringLiteral("%1 cannot have the character %2").arg(where, Quoted(c));
        Refuse(NormalAddress::WrongCharacter, reason);
    }

    void Drop(const QString& piece)
    {
        if (!piece.isEmpty())
            address_.dropped << piece;
    }

    // Of "name <address> parameters" the address.
    QString TakeBrackets(const QString& text)
    {
        const qsizetype open = text.indexOf(QLatin1Char('<'), EndOfQuotes(text));
        const qsizetype close = open < 0 ? -1 : text.indexOf(QLatin1Char('>'), open);
        if (close < 0)
            return text;
        address_.displayName = UnquotedName(text.left(open).trimmed());
        Drop(text.mid(close + 1).trimmed());
        return text.mid(open + 1, close - open - 1);
    }

    void ReadLink(const QString& text)
    {
        static const QRegularExpression link(QStringLiteral("^([a-z][-a-z0-9+]*):[ /]*(.*)$"),
                                             QRegularExpression::CaseInsensitiveOption);
        const auto match = link.match(text);
        const QString scheme = match.captured(1).toLower();
        isLink_ = match.hasMatch();
        const QString rest = isLink_ ? match.captured(2) : text;
        if (rest.isEmpty())
            Refuse(NormalAddress::Empty, QStringLiteral("there is no address"));
        else if (!isLink_ || scheme == QLatin1String("callto"))
            ReadAny(rest);
        else if (scheme == QLatin1String("tel"))
            ReadNumber(WithoutHeaders(rest));
        else if (scheme == QLatin1String("skype"))
            ReadSkype(WithoutHeaders(rest));
        else if (scheme == QLatin1String("sip"))
            ReadSip(rest);
        else if (scheme == QLatin1String("sips"))
            ReadSips(rest);
        else
            Refuse(NormalAddress::UnknownLink,
                   QStringLiteral("a link of the kind '%1:' cannot be called").arg(scheme));
    }

    void ReadSips(const QString& text)
    {
        Drop(QStringLiteral("sips:"));
        ReadSip(text);
    }

    void ReadSip(const QString& text)
    {
        if (text.contains(QLatin1Char('@')))
            return ReadUserAtHost(text);
        const QString host = WithoutHeaders(text);
        if (IsNumber(host))
            return ReadNumber(host);
        const bool isHost = host.section(QLatin1Char(';'), 0, 0).contains(QLatin1Char('.'));
        Refuse(isHost ? NormalAddress::UserMissing : NormalAddress::HostMissing,
               isHost ? QStringLiteral("the user is missing")
                      : QStringLiteral("the host is missing"));
    }

    void ReadSkype(const QString& text)
    {
        if (Decoded(text).startsWith(QLatin1Char('+')))
            return ReadNumber(text);
        const QString user = DecodedUser(text);
        AddressParts parts;
        if (MatchSkypeURI(QLatin1String("skype:") + user, parts))
            address_.text = QLatin1String("skype:") + user;
        else if (text.contains(QLatin1Char('@')))
            ReadUserAtHost(text);
        else
            CheckSymbols(user);
    }

    // Anything but a name of Skype.
    void ReadAny(const QString& text)
    {
        if (text.contains(QLatin1Char('@')))
            return ReadUserAtHost(text);
        const QString user = isLink_ ? WithoutHeaders(text) : text;
        const QString decoded = isLink_ ? DecodedUser(user) : user;
        if (IsNumber(user))
            ReadNumber(user);
        else if (IsIpAddress(user))
            CheckHost(user);
        else if (CheckUser(decoded))
            address_.text = decoded;
    }

    void ReadUserAtHost(const QString& text)
    {
        static const QRegularExpression form(QStringLiteral(
            "^([^:@]*)(:[^@]*)?@ *(\\[[^]]*\\]|[^:;?,]*)(?::([^;?,]*))?([^;?]*)([^?]*)(.*)$"));
        const auto match = form.match(text);
        QStringList parameters = match.captured(6).split(QLatin1Char(';'), Qt::SkipEmptyParts);
        const bool isPhone = parameters.removeAll(QStringLiteral("user=phone")) > 0;
        Parts parts = User(match.captured(1).trimmed(), isPhone);
        parts.host = match.captured(3).trimmed();
        parts.port = match.captured(4);
        AddPostDial(parts, match.captured(5));
        if (!match.captured(2).isEmpty())
            Drop(QStringLiteral("password"));
        for (const QString& parameter : std::as_const(parameters))
            Drop(QLatin1Char(';') + parameter.trimmed());
        Drop(match.captured(7));
        AcceptAtHost(parts);
    }

    // The digits of a telephone number, where the user is known to be one.
    Parts User(const QString& text, bool isPhone)
    {
        if (isPhone || Decoded(text).startsWith(QLatin1Char('+'))) {
            Parts number = Number(text);
            if (number.wrong.isEmpty() && !number.user.isEmpty()) {
                address_.dropped += number.dropped;
                if (!number.host.isEmpty())
                    Drop(QLatin1String(";phone-context=") + number.host);
                return number;
            }
        }
        Parts parts;
        parts.user = isLink_ ? DecodedUser(text) : text;
        return parts;
    }

    void ReadNumber(const QString& text)
    {
        const Parts number = Number(text);
        address_.dropped += number.dropped;
        if (!number.wrong.isEmpty())
            RefuseCharacter(QLatin1String("the number"), number.wrong.front());
        else if (number.user.isEmpty())
            Refuse(NormalAddress::Empty, QStringLiteral("there are no digits"));
        else if (!number.host.isEmpty())
            AcceptAtHost(number);
        else
            address_.text = number.user + PostDial(number);
    }

    bool IsNumber(const QString& text) const
    {
        return !IsIpAddress(text) && Number(text).wrong.isEmpty();
    }

    Parts Number(const QString& text) const
    {
        Parts number;
        QString digits = Decoded(text.section(QLatin1Char(';'), 0, 0));
        const auto trunkPrefix = QStringLiteral("(0)");
        const bool isGlobal = digits.startsWith(QLatin1Char('+'));
        if (isGlobal && digits.contains(trunkPrefix)) {
            digits.remove(trunkPrefix);
            number.dropped << trunkPrefix;
        }
        const qsizetype pause = digits.indexOf(comma);
        AddDigits(number, digits.left(pause));
        AddPostDial(number, pause < 0 ? QString() : digits.mid(pause));
        const QStringList parameters = text.split(QLatin1Char(';')).mid(1);
        for (const QString& parameter : parameters)
            AddParameter(number, parameter.trimmed(), isGlobal);
        return number;
    }

    void AddParameter(Parts& number, const QString& parameter, bool isGlobal) const
    {
        const QString name = parameter.section(QLatin1Char('='), 0, 0).toLower();
        const QString value = Decoded(parameter.section(QLatin1Char('='), 1));
        if (name == QLatin1String("ext") || name == QLatin1String("postd"))
            AddPostDial(number, value);
        else if (name == QLatin1String("phone-context") && !isGlobal &&
                 !value.startsWith(QLatin1Char('+')))
            number.host = value;
        else if (!name.isEmpty())
            number.dropped << QLatin1Char(';') + parameter;
    }

    QString Decoded(const QString& text) const
    {
        return isLink_ ? Plain(QUrl::fromPercentEncoding(text.toUtf8())) : text;
    }

    // What follows a "?" in a link.
    QString WithoutHeaders(const QString& link)
    {
        const qsizetype start = link.indexOf(QLatin1Char('?'));
        if (start < 0)
            return link;
        Drop(link.mid(start));
        return link.left(start).trimmed();
    }

    void AcceptAtHost(const Parts& parts)
    {
        if (!CheckUser(parts.user) || !CheckHost(parts.host) || !CheckPort(parts.port))
            return;
        if (!parts.wrong.isEmpty())
            return RefuseCharacter(QLatin1String("what follows the host"), parts.wrong.front());
        const QString port = parts.port.isNull() ? QString() : QLatin1Char(':') + parts.port;
        address_.text = parts.user + QLatin1Char('@') + parts.host + port + PostDial(parts);
    }

    static QString PostDial(const Parts& parts)
    {
        QString digits = parts.postDial;
        while (digits.endsWith(comma))
            digits.chop(1);
        return digits.size() == 2 ? comma + digits : digits; // a single digit wants two commas
    }

    bool CheckSymbols(const QString& user)
    {
        if (user.isEmpty()) {
            Refuse(NormalAddress::UserMissing, QStringLiteral("the user is missing"));
            return false;
        }
        const auto wrong = std::find_if(user.begin(), user.end(), [](QChar c) {
            return !IsUserSymbol(c) && c != QLatin1Char('.');
        });
        if (wrong != user.end())
            RefuseCharacter(QLatin1String("the user"), *wrong);
        return wrong == user.end();
    }

    bool CheckUser(const QString& user)
    {
        AddressParts parts;
        if (!CheckSymbols(user))
            return false;
        if (MatchSIPUser(user, parts))
            return true;
        Refuse(NormalAddress::UserMalformed,
               QStringLiteral("the user has a dot at its start or end, or two in a row"));
        return false;
    }

    bool CheckHost(const QString& host)
    {
        AddressParts parts;
        if (MatchID(QLatin1String("user@") + host, parts) && parts.host == host)
            return true;
        AddressParts known; // with an ending that the grammar knows
        if (host.isEmpty())
            Refuse(NormalAddress::HostMissing, QStringLiteral("the host is missing"));
        else if (IsIpAddress(host))
            Refuse(NormalAddress::HostIsAddress,
                   QStringLiteral("the host is an IP address, not a domain name"));
        else if (!MatchID(QStringLiteral("user@%1.test").arg(host), known) ||
                 known.host.size() != host.size() + 5)
            Refuse(NormalAddress::HostMalformed, QStringLiteral("the host is not a domain name"));
        else if (!host.contains(QLatin1Char('.')))
            Refuse(NormalAddress::HostIsShort,
                   QStringLiteral("the host '%1' has no domain").arg(host));
        else
            Refuse(NormalAddress::HostEnding,
                   QStringLiteral("the host ends in '%1', which has not 2 to 4 letters")
                       .arg(host.section(QLatin1Char('.'), -1)));
        return false;
    }

    bool CheckPort(const QString& port)
    {
        bool isNumber = false;
        const int number = port.toInt(&isNumber);
        if (port.isNull() ||
            (isNumber && number > 0 && number <= highestPort && port == QString::number(number)))
            return true;
        Refuse(NormalAddress::PortMalformed, QStringLiteral("the port is not from 1 to 65535"));
        return false;
    }

    NormalAddress address_;
    bool isLink_ = false;
};

} // namespace

NormalAddress Normalise(const QString& written)
{
    return Normaliser().Read(written);
}

} // namespace tools::sip
