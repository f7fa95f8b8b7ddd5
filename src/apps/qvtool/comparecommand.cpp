#include "comparecommand.h"

#include "text.h"

#include <QRegularExpression>

#include <algorithm>

namespace qvtool {

using common::Version;

namespace {

// The library takes any text for a version; a user should know about a slip.
bool IsVersion(const QString& text)
{
    static const QRegularExpression form(
        QRegularExpression::anchoredPattern(QStringLiteral("[0-9]+([-,_.][0-9]+){0,3}")));
    static const QRegularExpression separator(QStringLiteral("[-,_.]"));
    const QStringList parts = text.split(separator);
    return form.match(text).hasMatch() &&
           std::all_of(parts.cbegin(), parts.cend(), [](const QString& part) {
               bool fits = false;
               part.toUInt(&fits);
               return fits;
           });
}

Version CheckedVersion(Arguments& arguments, int index)
{
    const QString text = arguments.Positional(index);
    if (!IsVersion(text))
        arguments.Fail(QStringLiteral("'%1' is no version of one to four numbers of 32 bits, "
                                      "separated by '.', '-', '_' or ','")
                           .arg(text));
    return Version(text);
}

} // namespace

CompareCommand::CompareCommand(ToolLogger& log)
    : Command(QStringLiteral("compare"), QStringLiteral("Compare two versions."), log)
{
}

void CompareCommand::Declare(QCommandLineParser& parser)
{
    parser.addPositionalArgument(
        QStringLiteral("VERSION"),
        QStringLiteral("One to four numbers such as 5.1.0.12; missing ones are 0."),
        QStringLiteral("VERSION VERSION"));
}

void CompareCommand::Configure(Arguments& arguments)
{
    arguments.ExpectPositionals({QStringLiteral("VERSION"), QStringLiteral("VERSION")});
    first_ = CheckedVersion(arguments, 0);
    second_ = CheckedVersion(arguments, 1);
}

QString CompareCommand::Stop()
{
    return QStringLiteral("nothing was compared");
}

void CompareCommand::Start()
{
    const char sign = first_ < second_ ? '<' : first_ > second_ ? '>' : '=';
    const QString line =
        QStringLiteral("%1 %2 %3")
            .arg(first_.ToString(), QString(QLatin1Char(sign)), second_.ToString());
    FinishWritten(PrintLine(stdout, line));
}

} // namespace qvtool
