#include "removecommand.h"

#include "input.h"
#include "text.h"

#include <QDir>
#include <QFileInfo>

namespace qvtool {

namespace {

const auto yesOption = QStringLiteral("yes");

// What stands before separators at the end.
QString LastName(const QString& path)
{
    const QStringList names = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    return names.isEmpty() ? QString() : names.last();
}

bool HoldsCurrentDirectory(const QString& path)
{
    const QString tree = QFileInfo(path).canonicalFilePath();
    const QString current = QDir::current().canonicalPath();
    return tree == QDir::rootPath() || current == tree ||
           current.startsWith(tree + QLatin1Char('/'));
}

} // namespace

RemoveCommand::RemoveCommand(ToolLogger& log)
    : JobCommand(QStringLiteral("remove"),
                 QStringLiteral("Remove files, links and directory trees."),
                 QStringLiteral("removed"), Progress::Items, log)
{
    Watch(&remover_);
}

void RemoveCommand::Declare(QCommandLineParser& parser)
{
    parser.addPositionalArgument(
        QStringLiteral("PATH"),
        QStringLiteral("Files, links (never what they lead to) and trees. A tree that holds hidden "
                       "entries is emptied of all others, but stays."),
        QStringLiteral("PATH..."));
    parser.addOption({yesOption, QStringLiteral("Remove trees without asking.")});
}

void RemoveCommand::Configure(Arguments& arguments)
{
    paths_ = arguments.AllPositionals({QStringLiteral("PATH")});
    paths_.removeDuplicates();
    confirmed_ = arguments.Has(yesOption);
}

void RemoveCommand::Start()
{
    for (const QString& path : qAsConst(paths_)) {
        const QString problem = Add(path);
        if (!problem.isEmpty())
            return Fail(QStringLiteral("cannot remove '%1': %2").arg(path, problem));
    }
    if (confirmed_ || trees_.isEmpty())
        Run();
    else
        Ask();
}

// What keeps the path from being removed; empty if nothing does.
QString RemoveCommand::Add(const QString& path)
{
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink())
        return QStringLiteral("it does not exist");
    if (info.isSymLink() || !info.isDir()) {
        remover_.AddFile(path);
        return QString();
    }
    const QString name = LastName(path);
    if (name == QLatin1String(".") || name == QLatin1String(".."))
        return QStringLiteral("its name is '%1'").arg(name);
    if (HoldsCurrentDirectory(path))
        return QStringLiteral("it holds the current directory");
    trees_ << path;
    remover_.AddDirectory(path);
    return QString();
}

void RemoveCommand::Ask()
{
    Print(stderr, QStringLiteral("Remove '%1' and all that is in there? [y/N] ")
                      .arg(trees_.join(QStringLiteral("', '"))));
    Input* input = ReadInput();
    const auto decide = [this, input](const QByteArray& answer) {
        input->deleteLater();
        disconnect(input, nullptr, this, nullptr);
        if (answer.trimmed().toLower() == "y" || answer.trimmed().toLower() == "yes")
            Run();
        else
            Fail(QStringLiteral("nothing removed: not confirmed (--yes removes without asking)"));
    };
    connect(input, &Input::arrived, this, [=] {
        QByteArray answer;
        if (input->TakeLine(answer))
            decide(answer);
    });
    connect(input, &Input::ended, this, [=] { decide(input->TakeRest()); });
}

void RemoveCommand::StartJob()
{
    remover_.Remove();
}

void RemoveCommand::AbortJob()
{
    remover_.Abort(true);
}

} // namespace qvtool
