#include <common/shell/filecopier.h>
#include <common/shell/filehelper.h>

#include "support/filefaults.h"
#include "support/tree.h"

#include <QtTest>

using namespace common;
using namespace filefaults;

namespace {

constexpr int never = 1000000; // so many calls are not made

// Something the library does in the current directory, which tells whether it worked.
struct FaultCase
{
    const char* name;
    bool (*run)();
    QStringList before;
    QStringList after; // sorted
    Support support = Support::Full;
};

// The worker, whose thread needs no event loop.
bool CopyTree()
{
    FileCopyTask task({}, {{"source", "copy"}}, {});
    QSignalSpy succesed(&task, &FileCopyTask::succesed);
    task.Copy();
    task.Abort(false);
    return !succesed.isEmpty();
}

bool RemoveTree()
{
    return FileHelper("tree").Remove();
}

const QString large = QString("0123456789abcde\n").repeated(2500);
const QStringList source = {"source/a=small", "source/big=" + large, "source/link->sub/tool",
                            "source/sub/tool:755=run"};
const QStringList old = {"copy/a=old", "copy/big=" + large.toUpper(), "copy/link=old",
                         "copy/sub/other=kept"};
const QStringList copied = {"copy/a=small", "copy/big=" + large, "copy/link->sub/tool",
                            "copy/sub/other=kept", "copy/sub/tool:755=run"};
const QStringList tree = {"tree/a=1", "tree/sub/b=2", "tree/link->../out", "out/kept=kept"};
const FaultCase cases[] = {
    {"copy, nothing nameless", CopyTree, old + source, copied + source, Support::NoNameless},
    {"copy", CopyTree, old + source, copied + source},
    {"copy, names by /proc", CopyTree, old + source, copied + source, Support::NamesByProc},
    {"remove", RemoveTree, tree, {"out/kept=kept"}},
};

QStringList Names(QStringList lines)
{
    return lines.replaceInStrings(QRegularExpression("(?s)(->|=|:).*"), "");
}

// What a job that failed must not leave: other content, or nothing where something was to stay.
QStringList Damage(const FaultCase& job, const QStringList& found)
{
    QStringList damage;
    for (const QString& line : found) {
        if (!job.before.contains(line) && !job.after.contains(line))
            damage << "wrong: " + line.left(60);
    }
    for (const QString& name : Names(job.before)) {
        if (Names(job.after).contains(name) && !Names(found).contains(name))
            damage << "lost: " + name;
    }
    return damage;
}

struct Run
{
    bool hadFault;
    bool succeeded;
    bool isOnDisk;
};

Run RunWith(const FaultCase& job, Fault fault, int call)
{
    Arm({job.support, fault, call});
    const bool succeeded = job.run();
    const bool hadFault = Disarm();
    // Content before it replaces other content, or at least in the end; names in the end.
    static const QRegularExpression unflushed("w[^f]*r|w[^fa]*n[^a]*$|[nr][^da]*$");
    return {hadFault, succeeded, !unflushed.match(CallsMade()).hasMatch()};
}

QStringList FindFiles()
{
    return DescribeTree(".").filter(QRegularExpression("[^/]$"));
}

} // namespace

class TestFileFaults : public QObject
{
    Q_OBJECT

private:
    // A job that has failed can be done again.
    static void Judge(const FaultCase& job, Fault fault, const Run& run)
    {
        QVERIFY(run.succeeded ? run.isOnDisk : run.hadFault);
        if (!run.succeeded) {
            QStringList found = FindFiles();
            if (fault == Fault::DiskGone)
                found = found.filter(QRegularExpression("^(?!.*[.]qvcopy-)"));
            QCOMPARE(Damage(job, found), QStringList());
            QVERIFY(RunWith(job, Fault::Fails, never).succeeded);
        }
        QCOMPARE(FindFiles(), job.after);
    }

private Q_SLOTS:
    // What was reported as done is done, and what was not has lost nothing.
    void eachCall()
    {
        for (const FaultCase& job : cases) {
            for (const Fault fault :
                 {Fault::Fails, Fault::Shortened, Fault::DiskFull, Fault::DiskGone}) {
                bool hadFault = true;
                for (int call = 1; hadFault; ++call) {
                    const CurrentTree current(job.before);
                    const Run run = RunWith(job, fault, call);
                    Judge(job, fault, run);
                    if (QTest::currentTestFailed())
                        return qInfo("%s, with fault %d of call %d", job.name, int(fault), call);
                    hadFault = run.hadFault;
                }
            }
        }
    }

    // Many files are flushed together, but for those that replace others.
    void manyFiles()
    {
        const CurrentTree current({"copy/30=old"});
        for (int i = 0; i < 70; ++i)
            MakeTree(".", {QString("source/%1=x").arg(i)});
        const Run run = RunWith(cases[1], Fault::Fails, never);
        QVERIFY(run.succeeded && run.isOnDisk);
    }
};

QTEST_GUILESS_MAIN(TestFileFaults)
#include "tst_filefaults.moc"
