#include "commands.h"
#include "filejob.h"

#include <common/shell/filecopier.h>
#include <common/shell/fileremover.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>

#include <optional>

#include <fts.h>

namespace qvtool {

namespace {

// What jobs leave out below their trees.
struct LeftOut
{
    const char* key;
    const char* one;
    const char* many;
    int count = 0;
};
using LeftOuts = std::vector<LeftOut>;

LeftOuts FindLeftOut(const QStringList& trees)
{
    LeftOuts found = {{"hidden", "hidden entry", "hidden entries"},
                      {"unreadable", "unreadable folder", "unreadable folders"},
                      {"notUtf8", "name not in UTF-8", "names not in UTF-8"}};
    for (const QString& tree : trees) {
        QByteArray root = QFile::encodeName(QFileInfo(tree).absoluteFilePath());
        char* const roots[] = {root.data(), nullptr};
        FTS* walk = QFileInfo::exists(tree) ? fts_open(roots, FTS_PHYSICAL, nullptr) : nullptr;
        while (const FTSENT* entry = walk ? fts_read(walk) : nullptr) {
            const QByteArray name = entry->fts_name;
            const bool isHidden = entry->fts_level > 0 && name.startsWith('.');
            const bool isSkipped = isHidden || QString::fromUtf8(name).toUtf8() != name;
            if (entry->fts_info == FTS_DP)
                continue; // seen on the way down
            if (isSkipped)
                fts_set(walk, const_cast<FTSENT*>(entry), FTS_SKIP);
            if (isSkipped || entry->fts_info == FTS_DNR)
                ++found[isHidden ? 0 : isSkipped ? 2 : 1].count;
        }
        if (walk)
            fts_close(walk);
    }
    return found;
}

// Tells how a job ended. Its exit code.
int Tell(Call& call, const JobState& state, const QString& done, const QStringList& trees)
{
    const QString howFar = (state.current < state.total
                                ? QString("%1 of %2 items ").arg(state.current).arg(state.total)
                                : Counted(state.current, "item", "items") + ' ') +
                           done;
    if (SignalThatCame() != 0)
        return call.Interrupted(howFar);
    QStringList texts;
    QJsonObject counts;
    for (const LeftOut& kind : FindLeftOut(trees)) {
        counts.insert(kind.key, kind.count);
        if (kind.count > 0)
            texts << Counted(kind.count, kind.one, kind.many);
    }
    QString summary = howFar;
    if (!texts.isEmpty())
        summary += QString(", %1 left out").arg(texts.join(", "));
    if (state.error != 0)
        return call.Fail(QString("%1 (%2)").arg(call.Log().FirstFailure(), summary));
    return call.Summarise(summary, {{done, state.current}, {"leftOut", counts}});
}

QString DestinationOf(const QString& source, const QString& destination, bool isOnly)
{
    if (isOnly && !QFileInfo(destination).isDir() && !destination.endsWith('/'))
        return destination;
    const QString clean = QDir::cleanPath(QFileInfo(source).absoluteFilePath());
    return QDir(destination).filePath(QFileInfo(clean).fileName());
}

int Copy(Call& call)
{
    QStringList sources = call.Positionals();
    const QString given = sources.isEmpty() ? QString() : sources.takeLast();
    if (given.isEmpty() || sources.contains(QString()))
        call.Reject("a path is empty");
    if (call.IsRejected())
        return call.Rejection();

    common::FileCopier copier;
    QStringList trees;
    QHash<QString, QString> sourceByDestination;
    for (const QString& source : qAsConst(sources)) {
        const QFileInfo info(source);
        const QString destination = DestinationOf(source, given, sources.size() == 1);
        const QString other = sourceByDestination.value(destination);
        if (!info.exists() && !info.isSymLink())
            return call.Fail(QString("cannot copy '%1': it does not exist").arg(source));
        if (!other.isEmpty())
            return call.Fail(
                QString("cannot copy '%1': '%2' has the same destination").arg(source, other));
        sourceByDestination.insert(destination, source);
        if (info.isSymLink())
            copier.AddSymlink(source, destination);
        else if (!info.isDir())
            copier.AddFile(source, destination);
        else {
            copier.AddDirectory(source, destination);
            trees << source;
        }
    }
    Progress progress(Progress::Bytes, call.IsQuiet());
    QObject::connect(&copier, &common::FileCopier::bytesProgress, &copier,
                     [&](qint64 done, qint64 total) { progress.Update(done, total); });
    const JobState state = RunJob(copier, &common::FileCopier::Copy);
    progress.Finish();
    return Tell(call, state, "copied", trees);
}

bool HoldsCurrentDirectory(const QString& path)
{
    const QString tree = QFileInfo(path).canonicalFilePath();
    const QString current = QDir::current().canonicalPath();
    return tree == QDir::rootPath() || current == tree || current.startsWith(tree + '/');
}

// Why a tree is not to be removed; empty if it may be.
QString Obstacle(const QString& tree)
{
    const QString last = tree.section('/', -1, -1, QString::SectionSkipEmpty);
    if (last == "." || last == "..")
        return QString("its name is '%1'").arg(last);
    return HoldsCurrentDirectory(tree) ? "it holds the current directory" : QString();
}

// Asks before trees are removed; an exit code if they are to stay.
std::optional<int> Confirm(Call& call, const QStringList& trees)
{
    Print(stderr,
          QString("Remove '%1' and everything in it? [y/N] ").arg(Escaped(trees.join("', '"))));
    Input input;
    QByteArray answer;
    input.TakeLine(answer);
    if (const auto code = call.InputProblem(input))
        return code;
    answer = answer.trimmed().toLower();
    if (answer == "y" || answer == "yes")
        return std::nullopt;
    return call.Fail("nothing removed: not confirmed (--yes removes without asking)");
}

int Remove(Call& call)
{
    common::FileRemover remover;
    QStringList trees;
    QStringList paths = call.Positionals();
    paths.removeDuplicates();
    for (const QString& path : qAsConst(paths)) {
        const QFileInfo info(path);
        const bool isTree = info.isDir() && !info.isSymLink();
        const QString obstacle = !info.exists() && !info.isSymLink() ? "it does not exist"
                                 : isTree                            ? Obstacle(path)
                                                                     : QString();
        if (!obstacle.isEmpty())
            return call.Fail(QString("cannot remove '%1': %2").arg(path, obstacle));
        if (isTree)
            remover.AddDirectory(path);
        else
            remover.AddFile(path);
        if (isTree)
            trees << path;
    }
    if (!call.Has("yes") && !trees.isEmpty()) {
        if (const auto code = Confirm(call, trees))
            return *code;
    }
    Progress progress(Progress::Items, call.IsQuiet());
    QObject::connect(&remover, &common::FileRemover::progress, &remover,
                     [&](int done, int total) { progress.Update(done, total); });
    const JobState state = RunJob(remover, &common::FileRemover::Remove);
    progress.Finish();
    return Tell(call, state, "removed", trees);
}

} // namespace

const Command copyCommand = {
    "copy",
    "Copy files, links and directory trees.",
    {{"SOURCE...",
      "Files, links and trees. Links stay links and become relative. Empty directories are not "
      "copied. Inside trees, hidden entries, unreadable directories and names that are not in "
      "UTF-8 are left out."},
     {"DESTINATION",
      "Directory to copy into, or the new name of a single source. Existing files are "
      "replaced."}},
    {jsonOption},
    &Copy,
};

const Command removeCommand = {
    "remove",
    "Remove files, links and directory trees.",
    {{"PATH...",
      "Files, links (never their targets) and trees. Inside trees, hidden entries and names that "
      "are not in UTF-8 are left alone; the directories that hold them stay, and the job fails. "
      "Directories that come after the first of these may stay, too."}},
    {{"yes", nullptr, "Remove trees without asking."}, jsonOption},
    &Remove,
};

} // namespace qvtool
