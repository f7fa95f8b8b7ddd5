#include <common/shell/filecopier.h>
#include <common/shell/filehelper.h>
#include <common/shell/fileremover.h>

#include "support/cases.h"
#include "support/joboutcome.h"
#include "support/recordinglogger.h"
#include "support/tree.h"

#include <QSemaphore>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <algorithm>
#include <memory>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using common::FileCopier;
using common::FileCopyTask;
using common::FileHelper;
using common::FileRemover;

namespace {

const QString longName(255, 'y');
const QString usualTree = "f=content g=old dir/x=1 fifo| pipes/p| tofifo->fifo tof->f totof->tof "
                          "todir->dir gone->none deep/sub/x=2 e/sub->../dir t/.hidden=1 t/f=2 " +
                          longName + "=old";

// Trees are words between spaces, in the notation of support/tree.h.
struct JobCase
{
    const char* name;
    QString items; // "tree FROM > TO; file FROM > TO; link FROM > TO"; for removal "tree PATH"
    int code = 0;  // of the failure
    QString logged = {}; // parts of the log, in their order, a line each
    QString change = {}; // "+new -gone"
    QString tree = usualTree;
};

// Somebody else moves an entry away, and puts another one into its place.
struct ExchangeCase
{
    const char* name;
    QString items;
    QString moment; // the log line
    QString entry;
    QString instead;
    QString outcome;
};

struct AbortCase
{
    const char* name;
    QString items;
    QString moment; // the log line
    bool force;
    QString outcome;
    int done;
};

struct Job
{
    explicit Job(const QString& items) : isCopy(items.contains('>'))
    {
        for (const QString& item : items.split("; "))
            Add(item.section(' ', 0, 0), item.section(" > ", 0, 0).section(' ', 1),
                item.section(" > ", 1));
    }

    void Add(const QString& kind, const QString& from, const QString& to)
    {
        if (!isCopy)
            return kind == "tree" ? remover.AddDirectory(from) : remover.AddFile(from);
        if (kind == "tree")
            return copier.AddDirectory(from, to);
        return kind == "link" ? copier.AddSymlink(from, to) : copier.AddFile(from, to);
    }

    void Start() { isCopy ? copier.Copy() : remover.Remove(); }

    void Abort(bool force) { isCopy ? copier.Abort(force) : remover.Abort(force); }

    QString Outcome()
    {
        return isCopy ? JobOutcome(copier, "Copying") : JobOutcome(remover, "Removing");
    }

    QString Run()
    {
        Start();
        return Outcome();
    }

    const bool isCopy;
    FileCopier copier;
    FileRemover remover;
};

QStringList Difference(const QStringList& before, const QStringList& after)
{
    QStringList lines;
    for (const QString& line : after) {
        if (!before.contains(line))
            lines << '+' + line;
    }
    for (const QString& line : before) {
        if (!after.contains(line))
            lines << '-' + line;
    }
    return lines;
}

QStringList Paths(const QSignalSpy& spy)
{
    QStringList paths;
    for (const auto& arguments : spy)
        paths << QDir().relativeFilePath(arguments[0].toString());
    return paths;
}

} // namespace

class TestFileJobs : public QObject
{
    Q_OBJECT

private:
    // The current directory.
    std::unique_ptr<QTemporaryDir> root_;

private Q_SLOTS:
    void initTestCase()
    {
        common::logger::SetLogger(nullptr);
        if (QFileInfo("/dev/shm").isWritable()) // a busy disk takes its time
            qputenv("TMPDIR", "/dev/shm");
    }

    void init()
    {
        root_ = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir::setCurrent(root_->path()));
    }

    void cleanup() { QDir::setCurrent("/"); }

    void job_data()
    {
        const QString fileFailed = "Cannot copy from";
        const QString linkFailed = "Cannot copy link from";
        const QString noPath = "3 shell.filecopy BeforeCopy: Cannot create path to ";
        AddCases<JobCase>({
            // Nothing but a destination that is to be replaced may be lost.
            {"missing tree", "tree none > d", 700102,
             "4 shell.filecopy ScanPath: Path 'none' doesn't exists!"},
            {"missing file", "file none > d", 700103,
             "3 shell.filecopy BeforeCopy: Source file 'none' doesn't exist!"},
            {"destination below a file", "file f > g/h", 700104, noPath + "'g/h'"},
            {"destination too long", "file f > " + QString("x/").repeated(3000) + "f", 700104,
             noPath},
            {"name too long", "file f > z" + longName, 700107,
             "4 shell.filecmd CopyFile: Failed to copy file 'f' to 'z" + longName +
                 "', attempt '5'"},
            {"destination is a directory", "file f > dir", 700106,
             "4 shell.filecopy BeforeCopy: 'dir' already exists. Trying to remove before "
             "coping...\n4 shell.filecmd RemoveFile: Failed to remove file 'dir', attempt '5'\n"
             "3 shell.filecopy BeforeCopy: Cannot remove 'dir'!"},
            {"source is a directory", "file dir > d", 700107,
             "3 shell.filecopy CopyFile: Cannot copy from 'dir' to 'd'"},
            {"FIFO", "file fifo > g", 700107, fileFailed},
            {"FIFO in a tree", "tree pipes > d", 700107,
             "Copying from 'pipes/p' to 'd/p' failed with error '700107'!"},
            {"file onto itself", "file f > f", 700107, fileFailed},
            {"file onto its hard link", "file f > hard", 700107, fileFailed},
            {"file onto a link to it", "file f > tof", 700107, fileFailed},
            {"dangling link as a file", "file gone > g", 700107, fileFailed},
            {"file as a link", "link f > g", 700107, linkFailed},
            {"resource as a link", "link :/qpdf/qpdfa_metadata.xml > g", 700107, linkFailed},
            {"link onto a link on its way", "link totof > tof", 700107, linkFailed},
            {"file onto a link on its way", "file todir/x > todir", 700107, fileFailed},
            {"link with an undecodable target", "link bytes > g", 700107, linkFailed},
            {"tree without a name", "tree  > d", 700102, "Path '' doesn't exists!"},
            {"file to nowhere", "file f > ", 700104, noPath + "''"},
            {"tree to nowhere", "tree dir > ", 700104, "Cannot create path to ''"},
            {"zero character", QString("file f > g") + QChar(0) + ".txt", 700104, noPath},
            {"destination ends in a separator", "file f > dir/", 700106, "Cannot remove"},
            {"link onto itself", "link tof > tof", 700107,
             "3 shell.filecopy CopySymlink: Cannot copy link from 'tof' to 'tof' -> 'f'."},
            {"link below the destination", "tree deep > e", 700104, noPath + "'e/sub/x'"},
            {"link onto its target", "link tof > f", 700107, linkFailed},
            {"onto another item's source", "file f > g; file g > d", 700107, fileFailed},
            {"onto a tree's file", "file f > deep/sub/x; tree deep > d", 700107, fileFailed},
            {"directory removed as a file", "file dir", 700204,
             "4 shell.filecmd RemoveFile: Failed to remove file 'dir', attempt '5'\n"
             "3 shell.fileremove RemoveFile: Cannot remove file 'dir'!"},
            {"removal of what is missing", "tree none/; file missing", 0,
             "4 shell.fileremove ScanPath: Path 'none/' doesn't exists!\n"
             "4 shell.fileremove RemoveFile: File 'missing' doesn't exist!\n"
             "4 shell.fileremove RemoveDirectory: Directory 'none/' doesn't exist!"},
            // An unset path must not stand for the current directory, or for the root.
            {"removal of nothing", "tree ; file ", 0},

            {"removal of a hidden entry", "tree t", 700203,
             "4 shell.filecmd RemoveDirectory: Failed to remove directory 't', attempt '5'\n"
             "3 shell.fileremove RemoveDirectory: Cannot remove directory 't'!",
             "-t/f=2"},
            {"removal of trees by other names",
             "tree ROOT/l; tree m/; tree n/.; tree dir/.; tree up/y/..", 0,
             "Successfully removed file 'm'",
             "-dir/ -dir/f= -l->kept -m->kept -n->kept -up/ -up/y/ -up/y/f=1",
             "kept/x=1 l->kept m->kept n->kept dir/f= up/y/f=1"},
            {"copy of a tree", "tree ROOT/s > ROOT/d", 0, "",
             "+d/a/absolute->b/g +d/a/around->up +d/a/b/ +d/a/b/g:755=2 +d/a/new\nline%1=3 "
             "+d/a/out->../../other +d/a/up->../f +d/dangling->nowhere/at/all +d/dir->a/b +d/f=1 "
             "+d/other:755=7 +d/read:444=6 -d/a/up=old -d/f=old",
             "s/f=1 s/a/b/g:755=2 s/a/new\nline%1=3 s/.hidden=4 s/.h/x=5 s/a/.y=6 s/empty/ "
             "s/a/up->../f s/a/absolute->ROOT/s/a/b/g s/dir->a/b s/dangling->nowhere/at/all "
             "s/a/out->ROOT/other s/a/around->../dir/../up s/read:444=6 s/other:4755=7 d/f=old "
             "d/a/up=old d/kept=k"},
            {"log of a copy", "file s/f > e; tree s > d", 0,
             "7 shell.filecopy Copy: Copy\n7 shell.filecopy Scan: Start scanning directories...\n"
             "7 shell.filecopy ScanPath: Found file: 'f'.\n"
             "7 shell.filecopy Scan: Directories scanning finished.\n"
             "4 shell.filecopy BeforeCopy: 'e' already exists. Trying to remove before coping...\n"
             "7 shell.filecopy CopyFile: Successfully copied from 's/f' to 'e'\n"
             "7 shell.filecopy CopyFile: Successfully copied from 's/f' to 'd/f'\n"
             "6 shell.filecopy run: Copying finished in ",
             "+d/ +d/f=1 +e=1 -e=old", "s/f=1 e=old"},
            {"log of a copied link", "tree s > d", 0,
             "7 shell.filecopy ScanPath: Found symlink: 'l'.\n7 shell.filecopy CopySymlink: "
             "Successfully copied link from 's/l' to 'd/l' -> 'f'.\n",
             "+d/ +d/l->f", "s/l->f"},
            // Files first, then directories, those of later trees before.
            {"order of a removal", "tree t/; tree u; file single; file link", 0,
             "Successfully removed file 'single'\nSuccessfully removed file 'link'\n"
             "removed file 't//pipe'\nremoved directory 'u/c/d'\nremoved directory 'u/c'\n"
             "removed directory 't//a/b'\nremoved directory 't//a'\n"
             "7 shell.fileremove RemoveDirectory: Successfully removed directory 't/'\n"
             "Successfully removed directory 'u'\n6 shell.fileremove run: Removing finished in ",
             "-link->kept -single= -t/ -t/a/ -t/a/b/ -t/a/b/f= -t/a/out->../../kept -t/pipe| -u/ "
             "-u/c/ -u/c/d/",
             "t/pipe| t/a/b/f= t/a/out->../../kept u/c/d/ single= link->kept kept/x=1"},
            {"replacement with a long name", "file f > " + longName, 0, "",
             '+' + longName + "=content -" + longName + "=old"},
            {"destination inside the source", "tree s > s/in", 0, "",
             "+s/in/f=1 +s/in/in/ +s/in/in/g=2", "s/f=1 s/in/g=2"},
            {"path behind a link", "tree lk/../t > d", 0, "", "+d/ +d/a/ +d/a/g=1",
             "real/sub/ real/t/a/g=1 t/a/wrong=2 lk->real/sub"},
            // What was added as a file, too, is copied as one.
            {"item in both lists", "file l > d/l; link l > d/l; link m > d/m; link l > d/other", 0,
             "", "+d/ +d/l=1 +d/m->f +d/other->f", "f=1 l->f m->f"},
        });
    }

    void job()
    {
        const auto& row = CurrentCase<JobCase>();
        const auto withRoot = [this](QString text) {
            return text.replace("ROOT", root_->path());
        };
        MakeTree(".", withRoot(row.tree).split(' '));
        if (row.tree == usualTree)
            QVERIFY(link("f", "hard") == 0 && symlink("caf\xE9", "bytes") == 0);
        const QStringList before = DescribeTree(".");
        const RecordingLogger log;
        const QString failure = QString::number(row.code);
        QCOMPARE(Job(withRoot(row.items)).Run(), row.code ? "failed " + failure : "succesed");
        QCOMPARE(Difference(before, DescribeTree(".")), row.change.split(' ', Qt::SkipEmptyParts));
        const QString lines = log.Lines().join('\n');
        int end = 0;
        for (const QString& part : withRoot(row.logged).split('\n')) {
            QVERIFY2(lines.indexOf(part, end) >= 0, qPrintable(part + " in:\n" + lines));
            end = lines.indexOf(part, end) + part.size();
        }
        QVERIFY(!row.code || lines.endsWith("ing failed with error '" + failure + "'!"));
        const bool isCopy = row.items.contains('>');
        QVERIFY(log.Files().contains("src/libs/common/shell/file" +
                                     QString(isCopy ? "copier" : "remover")));
    }

    void whatOnlyQtAndTheKernelKnow()
    {
        const QStringList kernel = {
            "/proc/sys/kernel/ostype",                      // has no size, and ...
            "/sys/kernel/mm/transparent_hugepage/enabled"}; // too large a one
        const QString resource = ":/qpdf/qpdfa_metadata.xml";
        MakeTree(".", {"s/a/x=1"});
        QDir::setSearchPaths("here", {root_->path()});
        Job job("tree :/qpdf > d; tree here:s > e");
        job.copier.AddFile(resource, "f");
        for (const QString& path : kernel) {
            if (QFile::exists(path))
                job.copier.AddFile(path, "k/" + QFileInfo(path).fileName());
        }
        QCOMPARE(job.Run(), "succesed");
        QVERIFY(ContentOf("f").size() > 100);
        QCOMPARE(ContentOf("f"), ContentOf(resource));
        QCOMPARE(ContentOf("d/qpdfa_metadata.xml"), ContentOf(resource));
        QCOMPARE(QFile::permissions("f") & 0x7077, QFile::permissions(resource) & 0x7077);
        QCOMPARE(DescribeTree("e"), QStringList({"a/", "a/x=1"}));
        for (const QString& path : kernel)
            QCOMPARE(ContentOf("k/" + QFileInfo(path).fileName()), ContentOf(path));
        MakeTree("./:/qpdf", {"qpdfa_metadata.xml=other"});
        QVERIFY(!FileHelper(":/qpdf").Remove());
        QCOMPARE(ContentOf("./" + resource), "other");
    }

    void holesStayHoles()
    {
        QFile file("f");
        QVERIFY(file.open(QIODevice::WriteOnly) && file.seek(32 << 20) && file.write("end") == 3 &&
                file.resize(64 << 20));
        QCOMPARE(Job("file f > g").Run(), "succesed");
        struct stat status = {};
        QCOMPARE(stat("g", &status), 0);
        QVERIFY(status.st_blocks < 1000);
        QVERIFY(ContentOf("g") == ContentOf("f"));
    }

    // Deeper than a path can tell, and than directories are kept open.
    void deepTree()
    {
        const rlimit few{200, 1024};
        rlimit usual = {};
        getrlimit(RLIMIT_NOFILE, &usual);
        setrlimit(RLIMIT_NOFILE, &few);
        QDir().mkdir("s");
        int directory = open("s", O_PATH);
        for (int level = 0; level < 300; ++level) {
            mkdirat(directory, "long name of a directory", 0755);
            const int next = openat(directory, "long name of a directory", O_PATH);
            close(directory);
            directory = next;
        }
        close(openat(directory, "f", O_CREAT | O_WRONLY, 0644));
        close(directory);
        QCOMPARE(Job("tree s > d").Run(), "succesed");
        Job removal("tree s; tree d");
        QSignalSpy progress(&removal.remover, &FileRemover::progress);
        QCOMPARE(removal.Run(), "succesed");
        QCOMPARE(progress.size(), 604);
        QCOMPARE(DescribeTree("."), QStringList());
        setrlimit(RLIMIT_NOFILE, &usual);
    }

    void exchange_data()
    {
        const QString scanned = "scanning finished";
        const QString copied = "Successfully copied";
        AddCases<ExchangeCase>({
            {"source", "tree s > d", scanned, "s/a", "->../victim", "failed 700107"},
            {"source's file", "tree s > d", scanned, "s/a/f", "->../../victim/f", "failed 700107"},
            {"source, at the end", "tree s > d", copied + " link", "s/a", "->../victim",
             "failed 700107"},
            {"source's file is gone", "tree s > d", scanned, "s/a/f", "", "failed 700103"},
            {"destination, at the end", "tree s > d", copied + " link", "d/a", "->../victim",
             "failed 700104"},
            {"source is gone", "file s/a/f > x; file s/a/g > y", copied, "s/a/g", "",
             "failed 700103"},
            {"destination", "tree s > d", scanned, "d/a", "->../victim", "failed 700104"},
            {"destination, in use", "tree s > d", copied, "d/a", "->../victim", "failed 700104"},
            {"destination is gone", "file s/a/f > d/a/f; file s/a/g > d/a/g", copied, "d/a", "",
             "failed 700104"},
            {"removal", "tree s", scanned, "s/a", "->../victim", "failed 700204"},
            {"removal of another directory", "tree s", "removed file", "s/a", "/", "failed 700203"},
        });
    }

    // Whoever may change the tree has nothing outside read, written or removed.
    void exchange()
    {
        const auto& row = CurrentCase<ExchangeCase>();
        MakeTree(".", {"s/a/f=1", "s/a/g=2", "s/a/l->f", "d/a/f=old", "victim/f=secret"});
        RecordingLogger log;
        log.SetListener([&](const QString& line) {
            if (!line.contains(row.moment) || !QFile::rename(row.entry, "parked"))
                return;
            if (!row.instead.isEmpty())
                MakeTree(".", {row.entry + row.instead});
        });
        QCOMPARE(Job(row.items).Run(), row.outcome);
        QCOMPARE(DescribeTree(".").filter("secret"), QStringList("victim/f=secret"));
        QCOMPARE(DescribeTree("victim").size(), 1);
    }

    void abort_data()
    {
        AddCases<AbortCase>({
            {"waiting only", "tree s > d", "Successfully copied", false, "succesed", 3},
            {"between two items", "tree s > d", "Successfully copied", true, "failed 700105", 1},
            {"during the scan", "tree s > d", "Found file", true, "failed 700105", 0},
            {"of a removal", "tree s", "Successfully removed", true, "failed 700202", 1},
        });
    }

    void abort()
    {
        const auto& row = CurrentCase<AbortCase>();
        MakeTree("s", {"a=1", "b=2", "c=3"});
        RecordingLogger log;
        QSemaphore reached;
        log.SetListener([&](const QString& line) {
            if (!line.contains(row.moment))
                return;
            reached.release();
            if (reached.available() == 1)
                QThread::msleep(100); // time for the abort
        });
        Job job(row.items);
        job.Start();
        reached.acquire();
        job.Abort(row.force);
        const int done = job.isCopy ? DescribeTree("d").size() : 3 - DescribeTree("s").size();
        QCOMPARE(log.Lines("Abort: Wait finished!").size(), 1);
        QCOMPARE(job.Outcome(), row.outcome);
        QCOMPARE(done, row.done);
        QCOMPARE(log.Lines("user abort detected!").size(), row.force ? 1 : 0);
        QCOMPARE(job.Run(), "succesed"); // all of it once more
    }

    void abortInALargeFile()
    {
        MakeTree(".", {"f=" + QString(8 << 20, 'x'), "g=old"});
        FileCopyTask task({{"f", "g"}}, {}, {});
        QSignalSpy failed(&task, &FileCopyTask::failed);
        QSemaphore reached;
        const auto slow = [&] {
            reached.release();
            QThread::msleep(50);
        };
        connect(&task, &FileCopyTask::bytesProgress, &task, slow, Qt::DirectConnection);
        task.Copy();
        reached.acquire();
        task.Abort(true);
        QVERIFY(reached.available() < 5);
        QCOMPARE(failed[0][0].toInt(), 700105);
        QCOMPARE(ContentOf("g"), "old");
        QCOMPARE(DescribeTree(".").size(), 2);
    }

    // The signals of a job that a second one takes the place of are gone, too.
    void secondJobDoesEverythingAgain()
    {
        MakeTree(".", {"f=1", "g=2"});
        FileCopier copier;
        QSignalSpy bytes(&copier, &FileCopier::bytesProgress);
        copier.AddFile("f", "d/f");
        copier.Copy();
        copier.Abort(false);
        copier.AddFile("g", "d/g");
        MakeTree(".", {"f=new"});
        copier.Copy();
        QCOMPARE(JobOutcome(copier, "Copying"), "succesed");
        QCOMPARE(DescribeTree("d"), QStringList({"f=new", "g=2"}));
        QCOMPARE(bytes.last(), QList<QVariant>({4ll, 4ll}));
    }

    // A slot may run an event loop, and the front object may go away in one.
    void progressFromWithinSlots()
    {
        for (int i = 0; i < 100; ++i)
            MakeTree("s", {QString("%1=x").arg(i)});
        auto* copier = new FileCopier;
        const QPointer<FileCopier> alive = copier;
        QSignalSpy succesed(copier, &FileCopier::succesed);
        copier->AddDirectory("s", "d");
        QList<int> reports;
        connect(copier, &FileCopier::progress, this, [&](int current) {
            reports << current;
            if (reports.size() == 190)
                delete copier;
            else if (current % 25 == 1)
                QTest::qWait(15); // the deletion may come in here
        });
        copier->Copy();
        QTRY_COMPARE(succesed.size(), 1);
        QCOMPARE(reports.size(), 100);
        QVERIFY(std::is_sorted(reports.cbegin(), reports.cend()));
        copier->Copy();
        QTRY_VERIFY(!alive);
        QTest::qWait(30);
        QCOMPARE(reports.size(), 190);
    }

    void slowSlotLeavesTheEventLoopAlive()
    {
        for (int i = 0; i < 1000; ++i)
            MakeTree("s", {QString("%1=x").arg(i)});
        RecordingLogger log;
        log.SetListener([](const QString&) { QThread::usleep(500); });
        FileCopier copier;
        copier.AddDirectory("s", "d");
        connect(&copier, &FileCopier::progress, this, [&](int current) {
            if (current == 1)
                QTimer::singleShot(20, &copier, [&] { copier.Abort(true); });
            QThread::msleep(5); // slower than the copying
        });
        copier.Copy();
        QCOMPARE(JobOutcome(copier, "Copying"), "failed 700105");
    }

    void helperRemovesContentsFirst()
    {
        MakeTree(".", {"d/e/f=1", "d/l->../kept", "kept/x=1", "single=", "top->kept"});
        FileHelper helper("d");
        helper.AppendDir("");
        helper.AppendDir("none");
        helper.AppendDir("top/");
        helper.AppendFiles({"single", "missing"});
        QSignalSpy scan(&helper, &FileHelper::scan);
        QSignalSpy progress(&helper, &FileHelper::progress);
        QSignalSpy failed(&helper, &FileHelper::failed);
        QVERIFY(helper.Remove());
        QVERIFY(failed.isEmpty());
        QCOMPARE(DescribeTree("."), QStringList({"kept/", "kept/x=1"}));
        const QStringList removed = Paths(progress);
        QCOMPARE(Paths(scan), removed);
        QCOMPARE(removed.mid(3), QStringList({"d", "top", "single"}));
        QVERIFY(removed.indexOf("d/e/f") < removed.indexOf("d/e"));
        QCOMPARE(scan.last()[1].toULongLong(), 6ull);
        QCOMPARE(progress.last().mid(1), QList<QVariant>({6ull, 6ull}));

        QVERIFY(!helper.Remove()); // all of it is still in the list
        QCOMPARE(failed.size(), 6);
        MakeTree(".", {"d/f=1"});
        QVERIFY(!FileHelper("d").Copy("elsewhere")); // which does nothing
        QCOMPARE(DescribeTree("."), QStringList({"d/", "d/f=1", "kept/", "kept/x=1"}));
    }

    void helperGoesOnAfterAFailure()
    {
        MakeTree(".", {"d/.hidden=1", "d/f=1", "t/a/f=1", "other=", "victim/f=kept"});
        FileHelper helper("d");
        helper.AppendDir("t");
        helper.AppendFiles({"other"});
        connect(&helper, &FileHelper::scan, this, [&](const QString& path) {
            if (path == root_->filePath("t") && QFile::rename("t/a", "parked"))
                QFile::link("../victim", "t/a");
        });
        QSignalSpy failed(&helper, &FileHelper::failed);
        QVERIFY(!helper.Remove());
        QCOMPARE(Paths(failed), QStringList({"d", "t/a/f", "t/a", "t"}));
        QCOMPARE(DescribeTree("."), QStringList({"d/", "d/.hidden=1", "parked/", "parked/f=1", "t/",
                                                 "t/a->../victim", "victim/", "victim/f=kept"}));
    }

    // In each slot the lists grow, and at the given one the helper goes away.
    void helperInItsOwnSlots()
    {
        for (int last = 1; last <= 6; ++last) {
            MakeTree(".", {"d/.hidden=1", "d/f=1", "e/g="});
            auto* helper = new FileHelper("d");
            helper->AppendDir("e");
            int calls = 0;
            const auto onSignal = [&] {
                if (++calls == last)
                    delete helper;
                else
                    helper->AppendDir("e");
            };
            connect(helper, &FileHelper::scan, helper, onSignal);
            connect(helper, &FileHelper::failed, helper, onSignal);
            connect(helper, &FileHelper::progress, helper, onSignal);
            QVERIFY(!helper->Remove());
            QCOMPARE(calls, last);
        }
    }
};

QTEST_GUILESS_MAIN(TestFileJobs)
#include "tst_filejobs.moc"
