#include <common/shell/filecopier.h>
#include <common/shell/filehelper.h>
#include <common/shell/fileremover.h>

#include "support/cases.h"
#include "support/filefaults.h"
#include "support/tree.h"

#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <functional>

using namespace filefaults;
using common::FileCopyTask;
using common::FileRemoveTask;

namespace {

constexpr int never = 1000000; // so many calls are not made
const QString large = QString("0123456789abcde\n").repeated(2500);

// Something the library does below a directory, which tells whether it worked.
struct FaultCase
{
    const char* name;
    std::function<bool(const QString& root)> run;
    QStringList before;
    QStringList after;
    Support support = Support::Full;
};

// A worker, whose thread needs no event loop.
template <typename Task>
bool Succeeds(Task& task, void (Task::*start)())
{
    QSignalSpy succesed(&task, &Task::succesed);
    (task.*start)();
    task.Abort(false);
    return !succesed.isEmpty();
}

bool CopyTree(const QString& root)
{
    FileCopyTask task({}, {{root + "/source", root + "/copy"}}, {});
    return Succeeds(task, &FileCopyTask::Copy);
}

bool RemoveTree(const QString& root)
{
    FileRemoveTask task({}, {root + "/tree"});
    return Succeeds(task, &FileRemoveTask::Remove);
}

bool RemoveAtOnce(const QString& root)
{
    return common::FileHelper(root + "/tree").Remove();
}

QStringList Sorted(QStringList lines)
{
    lines.sort();
    return lines;
}

bool HasName(const QStringList& lines, const QString& line)
{
    const QString name = line.section(QRegularExpression("->|=|:"), 0, 0);
    return !lines.filter(QRegularExpression("^" + name + "(->|=|:)")).isEmpty();
}

// What a job that failed must not leave: other content, or nothing where something was to stay.
QStringList Damage(const FaultCase& job, const QStringList& found)
{
    QStringList damage;
    for (const QString& line : found) {
        if (!job.before.contains(line) && !job.after.contains(line))
            damage << "wrong: " + line.left(60);
    }
    for (const QString& line : job.before) {
        if (HasName(job.after, line) && !HasName(found, line))
            damage << "lost: " + line.left(60);
    }
    return damage;
}

const QStringList source = {"source/a=small", "source/big=" + large, "source/link->sub/tool",
                            "source/sub/tool:755=run"};
const QStringList old = {"copy/a=old", "copy/big=" + large.toUpper(), "copy/link=old",
                         "copy/sub/other=kept"};
const QStringList copied = {"copy/a=small", "copy/big=" + large, "copy/link->sub/tool",
                            "copy/sub/other=kept", "copy/sub/tool:755=run"};
const FaultCase namedCopy = {"copy, nothing nameless", CopyTree, source + old, source + copied,
                             Support::NoNameless};

struct Run
{
    bool hadFault;
    bool succeeded;
    bool isOnDisk;
};

Run RunWith(const FaultCase& job, const QString& root, Fault fault, int call)
{
    Arm(QFile::encodeName(root), job.support, fault, call);
    const bool succeeded = job.run(root);
    const bool hadFault = Disarm();
    // Content before it replaces other content, or at least in the end; names in the end.
    static const QRegularExpression unflushed("w[^f]*r|w[^fa]*n[^a]*$|[nr][^da]*$");
    return {hadFault, succeeded, !unflushed.match(CallsMade()).hasMatch()};
}

} // namespace

class TestFileFaults : public QObject
{
    Q_OBJECT

private:
    static QStringList FilesBelow(const QString& root)
    {
        return DescribeTree(root).filter(QRegularExpression("[^/]$"));
    }

    // A job that has failed can be done again.
    static void Judge(const FaultCase& job, const QString& root, Fault fault, const Run& run)
    {
        QStringList found = FilesBelow(root);
        if (!run.succeeded) {
            if (fault == Fault::DiskGone || fault == Fault::Killed)
                found = found.filter(QRegularExpression("^(?!.*[.]qvcopy-)"));
            const QStringList damage = Damage(job, found);
            QVERIFY2(damage.isEmpty(), qPrintable(damage.join('\n')));
            QVERIFY(RunWith(job, root, Fault::Fails, never).succeeded);
            found = FilesBelow(root);
        }
        QCOMPARE(found, Sorted(job.after));
        QVERIFY(!run.succeeded || run.isOnDisk);
        QVERIFY(run.hadFault || run.succeeded);
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (QFileInfo("/dev/shm").isWritable()) // a busy disk makes thousands of runs slow
            qputenv("TMPDIR", "/dev/shm");
    }

    void eachCall_data()
    {
        const QStringList tree = {"tree/a=1", "tree/sub/b=2", "tree/link->../out", "out/kept=kept"};
        const QString json =
            "{\n    \"text\": \"" + QString(large).replace('\n', "\\n") + "\"\n}\n";
        AddCases<FaultCase>({
            namedCopy,
            {"copy", CopyTree, source + old, source + copied},
            {"copy, names by /proc", CopyTree, source + old, source + copied, Support::NamesByProc},
            {"remove", RemoveTree, tree, {"out/kept=kept"}},
            {"remove at once", RemoveAtOnce, tree, {"out/kept=kept"}},
        });
    }

    // What was reported as done is done, and what was not has lost nothing.
    void eachCall()
    {
        const auto& job = CurrentCase<FaultCase>();
        for (const Fault fault :
             {Fault::Fails, Fault::Shortened, Fault::DiskFull, Fault::DiskGone}) {
            bool hadFault = true;
            for (int call = 1; hadFault && !QTest::currentTestFailed(); ++call) {
                const QTemporaryDir directory;
                MakeTree(directory.path(), job.before);
                const Run run = RunWith(job, directory.path(), fault, call);
                Judge(job, directory.path(), fault, run);
                hadFault = run.hadFault;
                if (QTest::currentTestFailed())
                    qInfo("with fault %d of call %d", int(fault), call);
            }
        }
    }

    void killedAtEachCall()
    {
        bool wasKilled = true;
        for (int call = 1; wasKilled && !QTest::currentTestFailed(); ++call) {
            const QTemporaryDir directory;
            MakeTree(directory.path(), namedCopy.before);
            QProcess process;
            process.start(QCoreApplication::applicationFilePath(),
                          {directory.path(), QString::number(call)});
            process.waitForFinished();
            wasKilled = process.exitStatus() == QProcess::CrashExit;
            Judge(namedCopy, directory.path(), Fault::Killed, {wasKilled, !wasKilled, true});
        }
    }

    // Many files are flushed together, but for those that replace others.
    void manyFiles()
    {
        const QTemporaryDir directory;
        for (int i = 0; i < 70; ++i)
            MakeTree(directory.path(), {QString("source/%1=x").arg(i)});
        MakeTree(directory.path(), {"copy/30=old"});
        const Run run = RunWith({"", CopyTree, {}, {}}, directory.path(), Fault::Fails, never);
        QVERIFY(run.succeeded && run.isOnDisk);
    }
};

// DIRECTORY CALL: copies, and is killed at that call.
int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    if (argc == 3 && QDir::isAbsolutePath(argv[1]))
        return RunWith(namedCopy, argv[1], Fault::Killed, atoi(argv[2])).succeeded ? 0 : 1;
    TestFileFaults test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_filefaults.moc"
