#include "commands.h"
#include "console.h"

#include <QList>
#include <QMap>

namespace qvtool {

namespace {

// A page of help. Its first section is the synopsis.
struct Entry
{
    QString term;
    QString text;
};

struct Section
{
    QString heading;
    QString text;
    QList<Entry> entries = {};
};

struct Page
{
    QString name;
    QString summary;
    QList<Section> sections;
};

QString Term(const Option& option)
{
    return QString("--") + option.name + (option.value ? QString(' ') + option.value : QString());
}

Section ExitCodes(const char* own)
{
    return {"Exit codes", QString("0 success, 1 the job failed, 2 wrong usage, ") + own +
                              "128 plus the number of the signal that ended it."};
}

Page PageOf(const Command& command)
{
    Page page = {QString("qvtool ") + command.name, command.summary, {}};
    QString usage = page.name + " [OPTION...]";
    Section arguments = {"Arguments", {}};
    Section options = {"Options", {}};
    for (const Argument& argument : command.arguments) {
        usage += QString(' ') + argument.name;
        arguments.entries << Entry{argument.name, argument.text};
    }
    for (const Option& option : command.options + CommonOptions())
        options.entries << Entry{Term(option), option.text};
    page.sections << Section{"Usage", usage};
    if (!arguments.entries.isEmpty())
        page.sections << arguments;
    page.sections << options << ExitCodes(command.exitCodes);
    return page;
}

Page PageOfTool()
{
    Section commands = {"Commands", {}};
    for (const Command* command : Commands())
        commands.entries << Entry{command->name, command->summary};
    return {
        "qvtool",
        "The library libqvcommon on the command line.",
        {{"Usage", "qvtool COMMAND [OPTION...] [ARGUMENT...]"},
         commands,
         {"More",
          "'qvtool help COMMAND' and 'man qvtool-COMMAND' describe a command; 'qvtool --version' "
          "prints the version."},
         ExitCodes("3 and 4 answers of parse and compare, ")}};
}

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

QString PlainText(const Page& page)
{
    constexpr int indent = 22;
    QString text = "Usage: " + page.sections.first().text + '\n' + page.summary + '\n';
    for (const Section& section : page.sections.mid(1)) {
        text += '\n' + section.heading + ":\n";
        if (!section.text.isEmpty())
            text += "  " + Wrapped(section.text, 2) + '\n';
        for (const Entry& entry : section.entries)
            text += "  " + entry.term.leftJustified(indent - 3) + ' ' +
                    Wrapped(entry.text, indent) + '\n';
    }
    return text;
}

QString Roff(QString text)
{
    text.replace('\\', "\\e").replace('-', "\\-");
    return text.startsWith('.') || text.startsWith('\'') ? "\\&" + text : text;
}

QString ManPage(const Page& page)
{
    const QString name = QString(page.name).replace(' ', '-');
    QString text = QString(".TH %1 1 \"\" \"qvtool %2\" \"User Commands\"\n"
                           ".SH NAME\n%3 \\- %4\n")
                       .arg(name.toUpper(), QVTOOL_VERSION, Roff(name), Roff(page.summary));
    const QMap<QString, QString> headings = {{"Usage", "Synopsis"}, {"Exit codes", "Exit status"}};
    for (const Section& section : page.sections) {
        text += ".SH " + headings.value(section.heading, section.heading).toUpper() + '\n';
        if (!section.text.isEmpty())
            text += Roff(section.text) + '\n';
        for (const Entry& entry : section.entries)
            text += ".TP\n\\fB" + Roff(entry.term) + "\\fR\n" + Roff(entry.text) + '\n';
    }
    return text;
}

QString Names()
{
    QString names;
    for (const Command* command : Commands())
        names += QString(command->name) + '\n';
    return names;
}

// The words that may follow, in a language that both shells have in common.
QString Completion(const QString& head, const QString& tail)
{
    QString cases = "        2:* | 3:help:*) choice='" + Names().simplified() + "' ;;\n";
    for (const Command* command : Commands()) {
        cases += QString("        *:%1:-*) choice='").arg(command->name);
        for (const Option& option : command->options + CommonOptions())
            cases += QString(" --") + option.name;
        cases += "' ;;\n";
    }
    return head + cases + tail;
}

int Help(Call& call)
{
    const QString name = call.Positional(0);
    const Command* command = FindCommand(name);
    const Page page = command ? PageOf(*command) : PageOfTool();
    const QMap<QString, QString> formats = {
        {"text", PlainText(page)},
        {"man", ManPage(page)},
        {"names", Names()},
        {"bash", Completion("_qvtool() {\n"
                            "    local choice=''\n"
                            "    case $((COMP_CWORD + 1)):${COMP_WORDS[1]}:$2 in\n",
                            "    esac\n"
                            "    mapfile -t COMPREPLY < <(compgen -W \"$choice\" -- \"$2\")\n"
                            "}\n"
                            "complete -o bashdefault -o default -F _qvtool qvtool\n")},
        {"zsh", Completion("#compdef qvtool\n"
                           "_qvtool() {\n"
                           "    local choice=''\n"
                           "    case $CURRENT:$words[2]:$PREFIX in\n",
                           "    esac\n"
                           "    if [[ -n $choice ]]; then compadd -- ${=choice}; else _files; fi\n"
                           "}\n"
                           "_qvtool\n")},
    };
    const QString format = call.Text("as");
    if (!name.isEmpty() && !command)
        call.Reject(QString("there is no command '%1'").arg(name));
    if (!formats.contains(format))
        call.Reject(QString("--as takes one of %1, not '%2'")
                        .arg(QStringList(formats.keys()).join(", "), format));
    return call.IsRejected() ? call.Rejection() : call.Written(Print(stdout, formats[format]));
}

} // namespace

QString HelpText(const Command* command)
{
    return PlainText(command ? PageOf(*command) : PageOfTool());
}

const Command helpCommand = {
    "help",
    "Describe a command, or list all commands.",
    {{"[COMMAND]", "Command to describe; without it, all are listed."}},
    {{"as", "FORMAT",
      "Output format: text or man (a man page); for all commands, names, bash or zsh "
      "(completions).",
      "text"}},
    &Help,
};

} // namespace qvtool
