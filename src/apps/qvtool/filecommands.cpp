#include "commands.h"
#include "filejob.h"

#include <common/shell/filecopier.h>
#include <common/shell/fileremover.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>

#include <cstdio>

#include <fts.h>
#include <utility>

namespace qvtool {

namespace {

// What jobs leave out below their trees.
struct LeftOut
{
    int hidden = 0;
    int unreadable = 0;
    int notUtf8 = 0;
};

LeftOut FindLeftOut(const QStringList& trees)
{
    LeftOut found;
    for (const QString& tree : trees) {
        QByteArray root = QFile::encodeName(QFileInfo(tree).absoluteFilePath());
        char* const roots[] = {root.data(), nullptr};
        FTS* walk = fts_open(roots, FTS_PHYSICAL, nullptr);
        while (FTSENT* entry = walk ? fts_read(walk) : nullptr) {
            const QByteArray name = entry->fts_name;
            const bool isHidden = entry->fts_level > 0 && name.startsWith('.');
            const bool isNotUtf8 = !isHidden && QString::fromUtf8(name).toUtf8() != name;
            if (isHidden || isNotUtf8)
                fts_set(walk, entry, FTS_SKIP);
            if (entry->fts_info == FTS_DP)
                continue; // seen on the way down
            found.hidden += isHidden;
            found.notUtf8 += isNotUtf8;
            found.unreadable += !isHidden && !isNotUtf8 && entry->fts_info == FTS_DNR;
        }
        if (walk)
            fts_close(walk);
    }
    return found;
}

// Tells how a job ended.
void Tell(Call& call, const JobState& state, const QString& done, const QStringList& trees)
{
    const QString howFar = state.current < state.total
                               ? QString("%1 of %2 items").arg(state.current).arg(state.total)
                               : Counted(state.current, "item", "items");
    QStringList summary = {howFar + ' ' + done};
    EndIfInterrupted(summary.first());
    const LeftOut leftOut = FindLeftOut(trees);
    if (leftOut.hidden > 0)
        summary << Counted(leftOut.hidden, "hidden entry", "hidden entries");
    if (leftOut.unreadable > 0)
        summary << Counted(leftOut.unreadable, "unreadable folder", "unreadable folders");
    if (leftOut.notUtf8 > 0)
        summary << Counted(leftOut.notUtf8, "name not in UTF-8", "names not in UTF-8");
    const QString text = summary.join(", ") + (summary.size() > 1 ? " left out" : "");
    if (state.error != 0) {
        const QString reason = call.Log().LastFailure("LogReason");
        Fail(QString("%1 (%2%3)")
                 .arg(call.Log().FirstFailure(), reason.isEmpty() ? "" : reason + "; ", text));
    }
    call.Summarise(text, {{done, state.current},
                          {"leftOut", QJsonObject{{"hidden", leftOut.hidden},
                                                  {"unreadable", leftOut.unreadable},
                                                  {"notUtf8", leftOut.notUtf8}}}});
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
    const QString given = sources.takeLast();
    if (given.isEmpty())
        Reject("DESTINATION is empty");
    common::FileCopier copier;
    QStringList trees;
    QHash<QString, QString> sourceByDestination;
    for (const QString& source : std::as_const(sources)) {
        const QFileInfo info(source);
        const QString destination = DestinationOf(source, given, sources.size() == 1);
        const QString other = sourceByDestination.value(destination);
        if (!info.exists() && !info.isSymLink())
            Fail(QString("cannot copy '%1': it does not exist").arg(source));
        if (!other.isEmpty())
            Fail(QString("cannot copy '%1': '%2' has the same destination").arg(source, other));
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
    Tell(call, RunJob(copier, &common::FileCopier::Copy), "copied", trees);
    return Success;
}

bool HoldsCurrentDirectory(const QString& path)
{
    const QString tree = QFileInfo(path).canonicalFilePath();
    const QString current = QDir::current().canonicalPath();
    return tree == QDir::rootPath() || current == tree || current.startsWith(tree + '/');
}

void Confirm(const QStringList& trees)
{
    const QString text =
        QString("Remove '%1' and everything in it? [y/N] ").arg(Escaped(trees.join("', '")));
    fputs(text.toUtf8().constData(), stderr);
    QByteArray answer;
    Input().TakeLine(answer);
    answer = answer.trimmed().toLower();
    if (answer != "y" && answer != "yes")
        Fail("nothing removed: not confirmed (--yes removes without asking)");
}

int Remove(Call& call)
{
    common::FileRemover remover;
    QStringList trees;
    QStringList paths = call.Positionals();
    paths.removeDuplicates();
    for (const QString& path : std::as_const(paths)) {
        const QFileInfo info(path);
        if (!info.exists() && !info.isSymLink())
            Fail(QString("cannot remove '%1': it does not exist").arg(path));
        if (!info.isDir() || info.isSymLink()) {
            remover.AddFile(path);
            continue;
        }
        const QString last = path.section('/', -1, -1, QString::SectionSkipEmpty);
        if (last == "." || last == "..")
            Fail(QString("cannot remove '%1': its name is '%2'").arg(path, last));
        if (HoldsCurrentDirectory(path))
            Fail(QString("cannot remove '%1': it holds the current directory").arg(path));
        remover.AddDirectory(path);
        trees << path;
    }
    if (!call.Has("yes") && !trees.isEmpty())
        Confirm(trees);
    Progress progress(Progress::Items, call.IsQuiet());
    QObject::connect(&remover, &common::FileRemover::progress, &remover,
                     [&](int done, int total) { progress.Update(done, total); });
    Tell(call, RunJob(remover, &common::FileRemover::Remove), "removed", trees);
    return Success;
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
