#include "command.h"
#include "job.h"

#include <common/shell/filecopier.h>
#include <common/shell/fileremover.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <utility>

#include <fts.h>

namespace qvtool {

using common::FileCopier;
using common::FileRemover;

namespace {

// What jobs leave out below their trees.
struct LeftOut
{
    const char* key;
    const char* one;
    const char* many;
    int count = 0;
};

QList<LeftOut> FindLeftOut(const QStringList& trees)
{
    LeftOut hidden = {"hidden", "hidden entry", "hidden entries"};
    LeftOut unreadable = {"unreadable", "unreadable folder", "unreadable folders"};
    LeftOut notUtf8 = {"notUtf8", "name not in UTF-8", "names not in UTF-8"};
    LeftOut empty = {"empty", "empty folder", "empty folders"};
    for (const QString& tree : trees) {
        QByteArray root = QFile::encodeName(QFileInfo(tree).absoluteFilePath());
        char* const roots[] = {root.data(), nullptr};
        FTS* walk = fts_open(roots, FTS_PHYSICAL, nullptr);
        while (FTSENT* entry = walk ? fts_read(walk) : nullptr) {
            const QByteArray name = entry->fts_name;
            const bool isHidden = entry->fts_level > 0 && name.startsWith('.');
            const bool isLeftOut = isHidden || QString::fromUtf8(name).toUtf8() != name;
            entry->fts_parent->fts_number = 1; // it holds something
            if (entry->fts_info == FTS_DP) {
                empty.count += entry->fts_number == 0 && !isLeftOut;
                continue; // seen on the way down
            }
            if (isLeftOut) {
                ++(isHidden ? hidden : notUtf8).count;
                fts_set(walk, entry, FTS_SKIP);
            } else
                unreadable.count += entry->fts_info == FTS_DNR;
        }
        if (walk)
            fts_close(walk);
    }
    return {hidden, unreadable, notUtf8, empty};
}

// Tells how a job ended.
void Tell(Call& call, const Outcome& outcome, const QStringList& failures, const QString& done,
          const QStringList& trees)
{
    const QString howFar = outcome.done < outcome.total
                               ? QString("%1 of %2 items").arg(outcome.done).arg(outcome.total)
                               : Counted(outcome.done, "item", "items");
    QStringList summary = {howFar + ' ' + done};
    EndIfInterrupted(summary.first());
    for (const QString& failure : failures)
        call.Complain(failure);
    QJsonObject leftOut;
    for (const LeftOut& kind : FindLeftOut(trees)) {
        leftOut.insert(kind.key, kind.count);
        if (kind.count > 0)
            summary << Counted(kind.count, kind.one, kind.many);
    }
    const QString text = summary.join(", ") + (summary.size() > 1 ? " left out" : "");
    if (!failures.isEmpty())
        Fail(text);
    call.Summarise(text, {{done, outcome.done}, {"leftOut", leftOut}});
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
    FileCopier copier;
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
    const Outcome outcome = Run(
        copier, &FileCopier::succesed, &FileCopier::bytesProgress,
        Progress(Progress::Bytes, call.IsQuiet()), [&] { copier.Copy(); },
        [&] { copier.Abort(true); });
    QStringList failures;
    if (outcome.error != 0)
        failures << call.Log().TakeFirstFailure();
    Tell(call, outcome, failures, "copied", trees);
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
    ReadLine(answer);
    answer = answer.trimmed().toLower();
    if (answer != "y" && answer != "yes")
        Fail("nothing removed: not confirmed (--yes removes without asking)");
}

// Whether the path is that of a tree; fails for what must not be removed.
bool IsRemovableTree(const QString& path)
{
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink())
        Fail(QString("cannot remove '%1': it does not exist").arg(path));
    if (!info.isDir() || info.isSymLink())
        return false;
    const QString last = path.section('/', -1, -1, QString::SectionSkipEmpty);
    if (last == "." || last == "..")
        Fail(QString("cannot remove '%1': its name is '%2'").arg(path, last));
    if (HoldsCurrentDirectory(path))
        Fail(QString("cannot remove '%1': it holds the current directory").arg(path));
    return true;
}

int Remove(Call& call)
{
    QStringList paths = call.Positionals();
    paths.removeDuplicates();
    QStringList trees;
    std::copy_if(paths.cbegin(), paths.cend(), std::back_inserter(trees), IsRemovableTree);
    if (!call.Has("yes") && !trees.isEmpty())
        Confirm(trees);
    Outcome sum;
    QStringList failures;
    // A job for each: one that fails ends no other.
    for (const QString& path : std::as_const(paths)) {
        FileRemover remover;
        if (trees.contains(path))
            remover.AddDirectory(path);
        else
            remover.AddFile(path);
        const Outcome outcome = Run(
            remover, &FileRemover::succesed, &FileRemover::progress,
            Progress(Progress::Items, call.IsQuiet()), [&] { remover.Remove(); },
            [&] { remover.Abort(true); });
        sum.done += outcome.done;
        sum.total += outcome.total;
        if (outcome.error != 0)
            failures << call.Log().TakeFirstFailure();
    }
    Tell(call, sum, failures, "removed", trees);
    return Success;
}

} // namespace

const Command copyCommand = {
    "copy",
    "Copy files, links and directory trees.",
    {{"SOURCE...",
      "Files, links and trees. Links stay links and become relative. Inside trees, hidden entries, "
      "empty and unreadable directories, and names that are not in UTF-8 are left out."},
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
      "Other directories of the same tree may stay, too."}},
    {{"yes", "Remove trees without asking."}, jsonOption},
    &Remove,
};

} // namespace qvtool
