#include "arguments.h"

#include <QRegularExpression>

#include <limits>

namespace qvtool {

Arguments::Arguments(const QCommandLineParser& parser) : parser_(parser)
{
}

bool Arguments::Has(const QString& option) const
{
    return parser_.isSet(option);
}

QString Arguments::Text(const QString& option) const
{
    return parser_.value(option);
}

void Arguments::ExpectPositionals(const QStringList& names)
{
    const QStringList given = AllPositionals(names);
    if (given.size() > names.size())
        Fail(QStringLiteral("'%1' is one argument too many").arg(given[names.size()]));
}

QStringList Arguments::AllPositionals(const QStringList& names)
{
    const QStringList given = parser_.positionalArguments();
    if (given.size() < names.size())
        Fail(QStringLiteral("%1 is missing").arg(names[given.size()]));
    return given;
}

QString Arguments::Positional(int index) const
{
    return parser_.positionalArguments().value(index);
}

qint64 Arguments::Integer(const QString& option, qint64 minimum, qint64 maximum)
{
    bool ok = false;
    const qint64 value = Text(option).toLongLong(&ok);
    if (ok && value >= minimum && value <= maximum)
        return value;
    Fail(QStringLiteral("--%1 takes a whole number from %2 to %3, not '%4'")
             .arg(option, QString::number(minimum), QString::number(maximum), Text(option)));
    return minimum;
}

int Arguments::Number(const QString& option, int minimum)
{
    return static_cast<int>(Integer(option, minimum, std::numeric_limits<int>::max() / 1000));
}

qint64 Arguments::Size(const QString& option)
{
    return Has(option) ? Integer(option, 0, std::numeric_limits<qint64>::max()) : -1;
}

QString Arguments::Digest(const QString& option, int digits)
{
    static const QRegularExpression hexadecimal(QStringLiteral("\\A[0-9A-Fa-f]+\\z"));
    const QString value = Text(option);
    if (Has(option) && (value.size() != digits || !hexadecimal.match(value).hasMatch()))
        Fail(QStringLiteral("--%1 takes %2 hexadecimal digits, not '%3'")
                 .arg(option, QString::number(digits), value));
    return value;
}

QList<QPair<QString, QString>> Arguments::Pairs(const QString& option)
{
    QList<QPair<QString, QString>> pairs;
    for (const QString& text : parser_.values(option)) {
        const int at = text.indexOf(QLatin1Char('='));
        if (at <= 0)
            Fail(QStringLiteral("--%1 takes NAME=VALUE, not '%2'").arg(option, text));
        pairs << qMakePair(text.left(at), text.mid(at + 1));
    }
    return pairs;
}

QUrl Arguments::HttpUrl(int index)
{
    const QString text = Positional(index);
    const QUrl url(text, QUrl::StrictMode);
    if (!url.isValid())
        Fail(QStringLiteral("'%1' is no valid URL").arg(text));
    else if (url.scheme() != QLatin1String("http") && url.scheme() != QLatin1String("https"))
        Fail(QStringLiteral("'%1' is no HTTP address: it must begin with http:// or https://")
                 .arg(text));
    else if (url.host().isEmpty())
        Fail(QStringLiteral("'%1' names no host").arg(text));
    return url;
}

void Arguments::Fail(const QString& reason)
{
    if (error_.isEmpty())
        error_ = reason;
}

} // namespace qvtool
