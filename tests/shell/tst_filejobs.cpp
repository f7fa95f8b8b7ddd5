#include <common/shell/filecopier.h>
#include <common/shell/filehelper.h>
#include <common/shell/fileremover.h>

#include "support/cases.h"
#include "support/recordinglogger.h"
#include "support/tree.h"

#include <array>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace common;

namespace {

using Rows = std::vector<std::array<QString, 5>>;

constexpr int longestWait = 5000; // milliseconds for an abort

const QString usualTree = "f=content g=old dir/x=1 pipes/p| tof->f totof->tof "
                          "todir->dir gone->none deep/sub/x=2 e/sub->../dir t/.hidden=1 t/f=2 "
                          "LONG=old";

// In trees, which are words between spaces in the notation of support/tree.h, and in all texts ROOT
// is the current directory, and LONG a name of full length.
struct JobCase
{
    const char* name; // "tree FROM > TO; file FROM > TO; link FROM > TO"; for removal "tree PATH"
    int code = 0;     // of the failure
    QString logged = {}; // parts of the log, in their order, a line each
    QString change = {}; // "+new -gone"
    QString tree = usualTree;
};

// Waits for the end of the job: "succesed" or "failed CODE", followed by anything odd, such as a
// report of progress that is missing. The verb is that of the error text.
template <typename Front>
QString JobOutcome(Front& front, const QString& verb)
{
    QStringList ends;
    int reported = 0;
    int expected = 0;
    bool isOdd = false;
    QObject context;
    QObject::connect(&front, &Front::progress, &context, [&](int current, int total) {
        isOdd = isOdd || current != ++reported || !ends.isEmpty();
        expected = total;
    });
    QObject::connect(&front, &Front::succesed, &context, [&] {
        isOdd = isOdd || reported != expected;
        ends << "succesed";
    });
    QObject::connect(&front, &Front::failed, &context, [&](int code, const QString& text) {
        isOdd = isOdd || text != QString("%1 failed with error '%2'!").arg(verb).arg(code);
        ends << "failed " + QString::number(code);
    });
    if (!QTest::qWaitFor([&] { return !ends.isEmpty(); }))
        return "no end";
    QTest::qWait(5);
    return ends.join(", ") + (isOdd ? ", with odd progress or text" : "");
}

struct Job
{
    explicit Job(const QString& items) : isCopy(items.contains('>'))
    {
        for (const QString& item : items.split("; ")) {
            const QString kind = item.left(4);
            const QString from = item.mid(5).section(" > ", 0, 0);
            const QString to = item.section(" > ", 1);
            if (!isCopy)
                kind == "tree" ? remover.AddDirectory(from) : remover.AddFile(from);
            else if (kind == "tree")
                copier.AddDirectory(from, to);
            else
                kind == "link" ? copier.AddSymlink(from, to) : copier.AddFile(from, to);
        }
    }

    void Start() { isCopy ? copier.Copy() : remover.Remove(); }

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

QStringList Difference(QStringList before, const QStringList& after)
{
    QStringList lines;
    for (const QString& line : after) {
        if (!before.removeOne(line))
            lines << '+' + line;
    }
    return lines << before.replaceInStrings(QRegularExpression("^"), "-");
}

QStringList Paths(const QSignalSpy& spy)
{
    QStringList paths;
    for (const auto& arguments : spy)
        paths << QDir().relativeFilePath(arguments[0].toString());
    return paths;
}

void MakeFiles(int count)
{
    for (int i = 0; i < count; ++i)
        MakeTree("s", {QString("%1=x").arg(i)});
}

} // namespace

class TestFileJobs : public QObject
{
    Q_OBJECT

private:
    std::optional<CurrentTree> root_;

private Q_SLOTS:
    void initTestCase() { logger::SetLogger(nullptr); }

    void init() { root_.emplace(); }

    void job_data()
    {
        const QString fileFailed = "Cannot copy from";
        const QString linkFailed = "Cannot copy link from";
        const QString noPath = "3 shell.filecopy BeforeCopy: Cannot create path to ";
        AddCases<JobCase>({
            // Nothing but a destination that is to be replaced may be lost.
            {"tree none > d", 700102, "4 shell.filecopy ScanPath: Path 'none' doesn't exists!"},
            {"file none > d", 700103,
             "3 shell.filecopy BeforeCopy: Source file 'none' doesn't exist!"},
            {"file f > g/h", 700104, noPath + "'g/h'"},
            {"file f > zLONG", 700107,
             "4 shell.filecmd CopyFile: Failed to copy file 'f' to 'zLONG', attempt '5'"},
            {"file f > dir", 700106,
             "4 shell.filecopy BeforeCopy: 'dir' already exists. Trying to remove before "
             "coping...\n4 shell.filecmd RemoveFile: Failed to remove file 'dir', attempt '5'\n"
             "3 shell.filecopy BeforeCopy: Cannot remove 'dir'!"},
            {"file pipes/p > d", 700107, "CopyFile: Cannot copy from 'pipes/p' to 'd'"},
            {"tree pipes > d", 700107,
             "Copying from 'pipes/p' to 'd/p' failed with error '700107'!"},
            {"file f > hard", 700107, fileFailed},
            {"file f > tof", 700107, fileFailed},
            {"file gone > g", 700107, fileFailed},
            {"link f > g", 700107, linkFailed},
            {"link :/qpdf/qpdfa_metadata.xml > g", 700107, linkFailed},
            {"link totof > tof", 700107, linkFailed}, // which it leads through
            {"file todir/x > todir", 700107, fileFailed},
            {"link bytes > g", 700107, linkFailed}, // a target that cannot be decoded
            {"tree  > d", 700102, "Path '' doesn't exists!"},
            {"file f > ", 700104, noPath + "''"},
            {"file f > gZERO.txt", 700104, noPath},
            {"file f > dir/", 700106, "Cannot remove"},
            {"link tof > tof", 700107,
             "3 shell.filecopy CopySymlink: Cannot copy link from 'tof' to 'tof' -> 'f'."},
            {"tree deep > e", 700104, noPath + "'e/sub/x'"}, // where e/sub is a link
            {"file f > g; file g > d", 700107, fileFailed},
            {"file f > deep/sub/x; tree deep > d", 700107, fileFailed},
            {"file dir", 700204,
             "4 shell.filecmd RemoveFile: Failed to remove file 'dir', attempt '5'\n"
             "3 shell.fileremove RemoveFile: Cannot remove file 'dir'!"},
            {"tree none/; file missing", 0,
             "4 shell.fileremove ScanPath: Path 'none/' doesn't exists!\n"
             "4 shell.fileremove RemoveFile: File 'missing' doesn't exist!\n"
             "4 shell.fileremove RemoveDirectory: Directory 'none/' doesn't exist!"},
            // An unset path must not stand for the current directory, or for the root.
            {"tree ; file ", 0},

            {"tree t", 700203,
             "4 shell.filecmd RemoveDirectory: Failed to remove directory 't', attempt '5'\n"
             "3 shell.fileremove RemoveDirectory: Cannot remove directory 't'!",
             "-t/f=2"},
            // Trees by other names.
            {"tree ROOT/l; tree m/; tree n/.; tree dir/.; tree up/y/..", 0,
             "Successfully removed file 'm'",
             "-dir/ -dir/f= -l->kept -m->kept -n->kept -up/ -up/y/ -up/y/f=1",
             "kept/x=1 l->kept m->kept n->kept dir/f= up/y/f=1"},
            {"tree ROOT/s > ROOT/d", 0, "",
             "+d/a/absolute->b/g +d/a/around->up +d/a/b/ +d/a/b/g:755=2 +d/a/new\nline%1=3 "
             "+d/a/out->../../other +d/a/up->../f +d/dangling->nowhere/at/all +d/dir->a/b +d/f=1 "
             "+d/other:755=7 +d/read:444=6 -d/a/up=old -d/f=old",
             "s/f=1 s/a/b/g:755=2 s/a/new\nline%1=3 s/.hidden=4 s/.h/x=5 s/a/.y=6 s/empty/ "
             "s/a/up->../f s/a/absolute->ROOT/s/a/b/g s/dir->a/b s/dangling->nowhere/at/all "
             "s/a/out->ROOT/other s/a/around->../dir/../up s/read:444=6 s/other:4755=7 d/f=old "
             "d/a/up=old d/kept=k"},
            {"file s/f > e; tree s > d; tree k > d", 0,
             "7 shell.filecopy Copy: Copy\n7 shell.filecopy Scan: Start scanning directories...\n"
             "7 shell.filecopy ScanPath: Found file: 'f'.\n"
             "7 shell.filecopy ScanPath: Found symlink: 'l'.\n"
             "7 shell.filecopy Scan: Directories scanning finished.\n"
             "4 shell.filecopy BeforeCopy: 'e' already exists. Trying to remove before coping...\n"
             "7 shell.filecopy CopyFile: Successfully copied from 's/f' to 'e'\n"
             "7 shell.filecopy CopyFile: Successfully copied from 's/f' to 'd/f'\n"
             "7 shell.filecopy CopySymlink: Successfully copied link from 'k/l' to 'd/l' -> 'f'.\n"
             "6 shell.filecopy run: Copying finished in ",
             "+d/ +d/f=1 +d/l->f +e=1 -e=old", "s/f=1 k/l->f e=old"},
            // Files first, then directories, those of later trees before.
            {"tree t/; tree u; file single; file link", 0,
             "Successfully removed file 'single'\nSuccessfully removed file 'link'\n"
             "removed file 't//pipe'\nremoved directory 'u/c/d'\nremoved directory 'u/c'\n"
             "removed directory 't//a/b'\nremoved directory 't//a'\n"
             "7 shell.fileremove RemoveDirectory: Successfully removed directory 't/'\n"
             "Successfully removed directory 'u'\n6 shell.fileremove run: Removing finished in ",
             "-link->kept -single= -t/ -t/a/ -t/a/b/ -t/a/b/f= -t/a/out->../../kept -t/pipe| -u/ "
             "-u/c/ -u/c/d/",
             "t/pipe| t/a/b/f= t/a/out->../../kept u/c/d/ single= link->kept kept/x=1"},
            {"file f > LONG", 0, "", "+LONG=content -LONG=old"},
            {"tree s > s/in", 0, "", "+s/in/f=1 +s/in/in/ +s/in/in/g=2", "s/f=1 s/in/g=2"},
            {"tree lk/../t > d", 0, "", "+d/ +d/a/ +d/a/g=1",
             "real/sub/ real/t/a/g=1 t/a/wrong=2 lk->real/sub"},
            // What was added as a file, too, is copied as one.
            {"file l > d/l; link l > d/l; link m > d/m; link l > d/other", 0, "",
             "+d/ +d/l=1 +d/m->f +d/other->f", "f=1 l->f m->f"},
        });
    }

    void job()
    {
        const auto& row = CurrentCase<JobCase>();
        const auto resolved = [this](QString text) {
            return text.replace("ROOT", root_->path())
                .replace("LONG", QString(255, 'y'))
                .replace("ZERO", QChar(0));
        };
        MakeTree(".", resolved(row.tree).split(' '));
        if (row.tree == usualTree)
            QVERIFY(link("f", "hard") == 0 && symlink("caf\xE9", "bytes") == 0);
        const QStringList before = DescribeTree(".");
        const RecordingLogger log;
        Job job(resolved(row.name));
        QCOMPARE(job.Run(), row.code ? QString("failed %1").arg(row.code) : "succesed");
        QCOMPARE(Difference(before, DescribeTree(".")),
                 resolved(row.change).split(' ', Qt::SkipEmptyParts));
        QString lines = log.Lines().join('\n');
        QVERIFY(!row.code || lines.endsWith(QString("ing failed with error '%1'!").arg(row.code)));
        for (const QString& part : resolved(row.logged).split('\n')) {
            QVERIFY2(lines.contains(part), qPrintable(part + " in:\n" + lines));
            lines.remove(0, lines.indexOf(part) + part.size());
        }
    }

    // Which a subclass may call, for paths as they are given.
    void steps()
    {
        struct Copying : FileCopyTask
        {
            Copying() : FileCopyTask({}, {}, {}) {}
            using FileCopyTask::BeforeCopy, FileCopyTask::CopyFile, FileCopyTask::CopySymlink,
                FileCopyTask::ScanPath;
        } copying;
        struct Removing : FileRemoveTask
        {
            Removing() : FileRemoveTask({}, {}) {}
            using FileRemoveTask::ScanPath;
        } removing;
        MakeTree(".", {"s/a/f=1", "s/l->a", "d/f=old"});
        QStringList files, links, found, directories;
        QCOMPARE(copying.ScanPath("s", "s", files, links), 0);
        QCOMPARE(removing.ScanPath("s", "s", found, directories), 0);
        QCOMPARE(files + links + directories, QStringList({"a/f", "l", "a"}));
        QCOMPARE(copying.BeforeCopy("s/none", "d/f"), 700103);
        QCOMPARE(copying.BeforeCopy("s/a/f", "d/f") + copying.CopyFile("s/a/f", "d/f"), 0);
        QCOMPARE(copying.BeforeCopy("s/l", "d/l") + copying.CopySymlink("s/l", "d/l"), 0);
        QCOMPARE(DescribeTree("d"), QStringList({"f=1", "l->a"}));
    }

    void whatOnlyQtAndTheKernelKnow()
    {
        const QString resource = ":/qpdf/qpdfa_metadata.xml";
        MakeTree(".", {"s/a/x=1"});
        QDir::setSearchPaths("here", {root_->path()});
        Job job("tree :/qpdf > d; tree here:s > e");
        // Has no size, or too large a one, or is like no file.
        const QStringList paths = {"/proc/sys/kernel/ostype",
                                   "/sys/kernel/mm/transparent_hugepage/enabled", resource};
        for (const QString& path : paths)
            job.copier.AddFile(path, "f/" + QFileInfo(path).fileName());
        QCOMPARE(job.Run(), "succesed");
        for (const QString& path : paths)
            QCOMPARE(ContentOf("f/" + QFileInfo(path).fileName()), ContentOf(path));
        QCOMPARE(ContentOf("d/qpdfa_metadata.xml"), ContentOf(resource));
        QCOMPARE(QFile::permissions("f/qpdfa_metadata.xml") & 0x7077,
                 QFile::permissions(resource) & 0x7077);
        QCOMPARE(DescribeTree("e"), QStringList({"a/", "a/x=1"}));
        MakeTree("./:/qpdf", {"qpdfa_metadata.xml=other"});
        QVERIFY(!FileHelper(":/qpdf").Remove());
        QCOMPARE(ContentOf("./" + resource), "other");
    }

    void holesStayHoles()
    {
        WriteFile("f", {});
        QVERIFY(truncate("f", 32 << 20) == 0);
        QFile file("f");
        QVERIFY(file.open(QIODevice::Append) && file.write("end") == 3 && file.resize(64 << 20));
        QCOMPARE(Job("file f > g").Run(), "succesed");
        struct stat status = {};
        QVERIFY(stat("g", &status) == 0 && status.st_blocks < 1000);
        QVERIFY(ContentOf("g") == ContentOf("f"));
    }

    // Deeper than a path can tell, and than directories are kept open.
    void deepTree()
    {
        const rlimit few{200, 1024};
        rlimit usual = {};
        getrlimit(RLIMIT_NOFILE, &usual);
        setrlimit(RLIMIT_NOFILE, &few);
        const char* const name = "long name of a directory";
        QDir().mkdir("s");
        QDir::setCurrent("s");
        for (int level = 0; level < 300; ++level)
            QVERIFY(mkdir(name, 0755) == 0 && chdir(name) == 0);
        WriteFile("f", {});
        QDir::setCurrent(root_->path());
        QCOMPARE(Job("tree s > d").Run(), "succesed");
        Job removal("tree s; tree d");
        QSignalSpy progress(&removal.remover, &FileRemover::progress);
        QCOMPARE(removal.Run(), "succesed");
        QCOMPARE(progress.size(), 604);
        QCOMPARE(DescribeTree("."), QStringList());
        setrlimit(RLIMIT_NOFILE, &usual);
    }

    // Whoever may change the tree, here at the moment of a log line, moves an entry away and puts
    // another one into its place, but has nothing outside read, written or removed.
    void exchange()
    {
        const QString scanned = "scanning finished";
        const QString copied = "Successfully copied";
        const QString toVictim = "->../victim";
        for (const auto& row : Rows{
                 {"tree s > d", scanned, "s/a", toVictim, "failed 700107"},
                 {"tree s > d", scanned, "s/a/f", "->../../victim/f", "failed 700107"},
                 {"tree s > d", copied + " link", "s/a", toVictim, "failed 700107"},
                 {"tree s > d", scanned, "s/a/f", "", "failed 700103"},
                 {"tree s > d", copied + " link", "d/a", toVictim, "failed 700104"},
                 {"file s/a/f > x; file s/a/g > y", copied, "s/a/g", "", "failed 700103"},
                 {"tree s > d", scanned, "d/a", toVictim, "failed 700104"},
                 {"tree s > d", copied, "d/a", toVictim, "failed 700104"},
                 {"file s/a/f > d/a/f; file s/a/g > d/a/g", copied, "d/a", "", "failed 700104"},
                 {"tree s", scanned, "s/a", toVictim, "failed 700204"},
                 {"tree s", "removed file", "s/a", "/", "failed 700203"},
             }) {
            const auto& [items, moment, entry, instead, outcome] = row;
            root_.emplace(
                QStringList{"s/a/f=1", "s/a/g=2", "s/a/l->f", "d/a/f=old", "victim/f=secret"});
            RecordingLogger log;
            log.SetListener([&row](const QString& line) {
                if (line.contains(row[1]) && QFile::rename(row[2], "parked") && !row[3].isEmpty())
                    MakeTree(".", {row[2] + row[3]});
            });
            QVERIFY2(Job(items).Run() == outcome, qPrintable(moment + ' ' + entry + instead));
            QCOMPARE(DescribeTree(".").filter("secret"), QStringList("victim/f=secret"));
            QCOMPARE(DescribeTree("victim").size(), 1);
        }
    }

    // An abort by force, or one that only waits, at the moment of a log line.
    void abort()
    {
        for (const auto& [items, moment, how, outcome, done] : Rows{
                 {"tree s > d", "Successfully copied", "", "succesed", "3"},
                 {"tree s > d", "Successfully copied", "force", "failed 700105", "1"},
                 {"tree s > d", "Found file", "force", "failed 700105", "0"},
                 {"tree s", "Successfully removed", "force", "failed 700202", "1"},
             }) {
            root_.emplace(QStringList{"s/a=1", "s/b=2", "s/c=3"});
            RecordingLogger log;
            QSemaphore reached;
            QSemaphore aborted;
            log.SetListener([&, moment = moment, isFirst = true](const QString& line) mutable {
                if (line.contains("Abort: Waiting"))
                    aborted.release();
                else if (line.contains(moment) && std::exchange(isFirst, false)) {
                    reached.release();
                    aborted.tryAcquire(1, longestWait);
                }
            });
            Job job(items);
            job.Start();
            reached.acquire();
            const bool force = !how.isEmpty();
            job.isCopy ? job.copier.Abort(force) : job.remover.Abort(force);
            const int left = DescribeTree(job.isCopy ? "d" : "s").size();
            QCOMPARE(job.isCopy ? left : 3 - left, done.toInt());
            QCOMPARE(log.Lines("Abort: Wait finished!").size(), 1);
            QCOMPARE(job.Outcome(), outcome);
            QCOMPARE(log.Lines("user abort detected!").size(), int(force));
            QCOMPARE(job.Run(), "succesed"); // all of it once more
        }
    }

    void abortInALargeFile()
    {
        MakeTree(".", {"f=" + QString(8 << 20, 'x'), "g=old"});
        FileCopyTask task({{"f", "g"}}, {}, {});
        QSignalSpy failed(&task, &FileCopyTask::failed);
        RecordingLogger log;
        QSemaphore reached;
        QSemaphore aborted;
        log.SetListener([&](const QString& line) {
            if (line.contains("Abort: Waiting"))
                aborted.release(1000); // for all progress to come
        });
        const auto wait = [&] {
            reached.release();
            aborted.tryAcquire(1, longestWait);
        };
        connect(&task, &FileCopyTask::bytesProgress, &task, wait, Qt::DirectConnection);
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
        Job job("file f > d/f");
        QSignalSpy bytes(&job.copier, &FileCopier::bytesProgress);
        job.copier.Copy();
        job.copier.Abort(false);
        job.copier.AddFile("g", "d/g");
        MakeTree(".", {"f=new"});
        QCOMPARE(job.Run(), "succesed");
        QCOMPARE(DescribeTree("d"), QStringList({"f=new", "g=2"}));
        QCOMPARE(bytes.last(), QList<QVariant>({4ll, 4ll}));
    }

    // A slot may run an event loop, and the front object may go away in one.
    void progressFromWithinSlots()
    {
        MakeFiles(100);
        auto* copier = new FileCopier;
        QSignalSpy succesed(copier, &FileCopier::succesed);
        copier->AddDirectory("s", "d");
        int reports = 0;
        connect(copier, &FileCopier::progress, this, [&](int current) {
            if (++reports == 190)
                delete copier;
            else if (current % 25 == 1)
                QTest::qWait(15); // the deletion may come in here
        });
        copier->Copy();
        QTRY_COMPARE(succesed.size(), 1);
        QCOMPARE(reports, 100);
        copier->Copy();
        QTRY_COMPARE(reports, 190);
        QTest::qWait(30);
        QCOMPARE(reports, 190);
    }

    void slowSlotLeavesTheEventLoopAlive()
    {
        MakeFiles(1000);
        RecordingLogger log;
        log.SetListener([](const QString&) { QThread::usleep(500); });
        Job job("tree s > d");
        connect(&job.copier, &FileCopier::progress, this, [&](int current) {
            if (current == 1)
                QTimer::singleShot(20, &job.copier, [&] { job.copier.Abort(true); });
            QThread::msleep(5); // slower than the copying
        });
        QCOMPARE(job.Run(), "failed 700105");
    }

    void helperRemovesContentsFirst()
    {
        MakeTree(".", {"d/e/f=1", "d/l->../kept", "kept/x=1", "single=", "top->kept", "h/.h=1"});
        FileHelper helper("d");
        for (const char* directory : {"", "none", "top/", "h"})
            helper.AppendDir(directory);
        helper.AppendFiles({"single", "missing"});
        QSignalSpy scan(&helper, &FileHelper::scan);
        QSignalSpy progress(&helper, &FileHelper::progress);
        QSignalSpy failed(&helper, &FileHelper::failed);
        QVERIFY(!helper.Remove() && !FileHelper("kept").Copy("elsewhere"));
        QCOMPARE(Paths(failed), QStringList("h"));
        QCOMPARE(DescribeTree("."), QStringList({"h/", "h/.h=1", "kept/", "kept/x=1"}));
        const QStringList removed = Paths(progress);
        QCOMPARE(Paths(scan), removed);
        QCOMPARE(removed.mid(3), QStringList({"d", "top", "h", "single"}));
        QVERIFY(removed.indexOf("d/e/f") < removed.indexOf("d/e"));
        QCOMPARE(scan.last()[1].toULongLong(), 7ull);
        QCOMPARE(progress.last().mid(1), QList<QVariant>({7ull, 7ull}));

        QVERIFY(!helper.Remove()); // all of it is still in the list
        QCOMPARE(failed.size(), 9);
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
                ++calls == last ? delete helper : helper->AppendDir("e");
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
