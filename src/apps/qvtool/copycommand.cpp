#include "copycommand.h"

#include <QDir>
#include <QFileInfo>

namespace qvtool {

CopyCommand::CopyCommand(ToolLogger& log)
    : JobCommand(QStringLiteral("copy"), QStringLiteral("Copy files, links and directory trees."),
                 QStringLiteral("copied"), Progress::Bytes, log)
{
    Watch(&copier_);
    connect(&copier_, &common::FileCopier::bytesProgress, this, &CopyCommand::Show);
}

void CopyCommand::Declare(QCommandLineParser& parser)
{
    parser.addPositionalArgument(
        QStringLiteral("SOURCE"),
        QStringLiteral("Files, links and trees. Links stay links and become relative; hidden "
                       "entries, empty directories, and what cannot be read or named in UTF-8 "
                       "below a tree are left out."),
        QStringLiteral("SOURCE..."));
    parser.addPositionalArgument(
        QStringLiteral("DESTINATION"),
        QStringLiteral("A directory to copy into, or the new name of a single source. Files that "
                       "are in the way are replaced."));
}

void CopyCommand::Configure(Arguments& arguments)
{
    sources_ = arguments.AllPositionals({QStringLiteral("SOURCE"), QStringLiteral("DESTINATION")});
    if (!sources_.isEmpty())
        destination_ = sources_.takeLast();
    if (destination_.isEmpty() || sources_.contains(QString()))
        arguments.Fail(QStringLiteral("a path is empty"));
}

void CopyCommand::Start()
{
    for (const QString& source : qAsConst(sources_)) {
        const QString problem = Add(source);
        if (!problem.isEmpty())
            return Fail(QStringLiteral("cannot copy '%1': %2").arg(source, problem));
    }
    Run();
}

// What keeps the source from being copied; empty if nothing does.
QString CopyCommand::Add(const QString& source)
{
    const QFileInfo info(source);
    const QString destination = Destination(source);
    if (!info.exists() && !info.isSymLink())
        return QStringLiteral("it does not exist");
    if (sourceByDestination_.contains(destination))
        return QStringLiteral("'%1' has the same destination")
            .arg(sourceByDestination_.value(destination));
    sourceByDestination_.insert(destination, source);

    if (info.isSymLink())
        copier_.AddSymlink(source, destination);
    else if (info.isDir())
        copier_.AddDirectory(source, destination);
    else
        copier_.AddFile(source, destination);
    return QString();
}

QString CopyCommand::Destination(const QString& source) const
{
    const bool into = sources_.size() > 1 || QFileInfo(destination_).isDir() ||
                      destination_.endsWith(QLatin1Char('/'));
    if (!into)
        return destination_;
    const QString clean = QDir::cleanPath(QFileInfo(source).absoluteFilePath());
    return QDir(destination_).filePath(QFileInfo(clean).fileName());
}

void CopyCommand::StartJob()
{
    copier_.Copy();
}

void CopyCommand::AbortJob()
{
    copier_.Abort(true);
}

} // namespace qvtool
