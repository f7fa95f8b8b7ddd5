#include "commands.h"
#include "console.h"

namespace qvtool {

namespace {

constexpr int textColumn = 22;

// The text in lines of the usual width; @p indent stands before all but the first one.
QString Wrapped(const QString& text, int indent)
{
    constexpr int columns = 79;
    QString result;
    int column = indent;
    for (const QString& word : text.split(' ')) {
        const bool fits = column + 1 + word.size() <= columns;
        if (!result.isEmpty())
            result += fits ? QString(' ') : '\n' + QString(indent, ' ');
        column = (fits ? column + 1 : indent) + word.size();
        result += word;
    }
    return result;
}

QString Entry(const QString& term, const QString& text)
{
    return "  " + term.leftJustified(textColumn - 3) + ' ' + Wrapped(text, textColumn) + '\n';
}

QString ExitCodes(const QString& own)
{
    const QString codes = "0 success, 1 the job failed, 2 wrong usage, " + own +
                          "128 plus the number of the signal that ended it.";
    return "\nExit codes:\n  " + Wrapped(codes, 2) + '\n';
}

QString TextOf(const Command& command)
{
    QString usage = QString("Usage: qvtool %1 [OPTION...]").arg(command.name);
    QString arguments = command.arguments.empty() ? "" : "\nArguments:\n";
    QString options = "\nOptions:\n";
    for (const Argument& argument : command.arguments) {
        usage += QString(' ') + argument.name;
        arguments += Entry(argument.name, argument.text);
    }
    for (const Option& option : command.options + CommonOptions())
        options += Entry(QString("--%1 %2").arg(option.name, option.value).trimmed(), option.text);
    return usage + '\n' + command.summary + '\n' + arguments + options +
           ExitCodes(command.exitCodes);
}

QString TextOfTool()
{
    QString text = "Usage: qvtool COMMAND [ARGUMENT...]\n"
                   "The library libqvcommon on the command line.\n\nCommands:\n";
    for (const Command* command : Commands())
        text += Entry(command->name, command->summary);
    return text + "\nMore:\n  'qvtool help COMMAND' tells more; 'qvtool --version' the version.\n" +
           ExitCodes("3 and 4 the answer of parse and compare, ");
}

int Help(Call& call)
{
    const QString name = call.Positional(0);
    const Command* command = FindCommand(name);
    if (!name.isEmpty() && !command)
        Reject(QString("there is no command '%1'").arg(name));
    Print(HelpText(command));
    return Success;
}

} // namespace

QByteArray HelpText(const Command* command)
{
    return (command ? TextOf(*command) : TextOfTool()).toUtf8();
}

const Command helpCommand = {
    "help",
    "Describe a command, or list all commands.",
    {{"[COMMAND]", "Command to describe; without it, all are listed."}},
    {},
    &Help,
};

} // namespace qvtool
