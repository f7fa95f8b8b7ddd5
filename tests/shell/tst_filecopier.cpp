#include <common/shell/filecopier.h>

#include "support/joboutcome.h"
#include "support/recordinglogger.h"
#include "support/tree.h"

#include <QSemaphore>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <memory>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using common::FileCopier;

class TestFileCopier : public QObject
{
    Q_OBJECT

private:
    static QString Outcome(FileCopier& copier) { return JobOutcome(copier, "Copying"); }

    QString Path(const QString& name) const { return root_->filePath(name); }

    std::unique_ptr<QTemporaryDir> root_;

private Q_SLOTS:
    void init() { root_ = std::make_unique<QTemporaryDir>(); }

    void tree()
    {
        MakeTree(Path("s"), {"f=1", "a/b/g:755=2", "a/new\nline%1=3", ".hidden=4", ".h/x=5",
                             "a/.y=6", "empty/", "a/up->../f", "a/absolute->" + Path("s/a/b/g"),
                             "dir->a/b", "dangling->nowhere/at/all", "a/out->" + Path("other"),
                             "a/around->../dir/../up", "read:444=6", "other:4755=7"});
        MakeTree(Path("d"), {"f=old", "a/up=old", "kept=k"});
        RecordingLogger log;
        FileCopier copier;
        QSignalSpy progress(&copier, &FileCopier::progress);
        QSignalSpy bytes(&copier, &FileCopier::bytesProgress);
        copier.AddDirectory(Path("s"), Path("d"));
        QVERIFY(copier.Copy());
        QCOMPARE(Outcome(copier), QString("succesed"));
        QStringList expected = {"a/",
                                "a/absolute->b/g",
                                "a/around->up",
                                "a/b/",
                                "a/b/g:755=2",
                                "a/new\nline%1=3",
                                "a/out->../../other",
                                "a/up->../f",
                                "dangling->nowhere/at/all",
                                "dir->a/b",
                                "f=1",
                                "kept=k",
                                "other:755=7",
                                "read:444=6"};
        expected.sort();
        QCOMPARE(DescribeTree(Path("d")), expected);
        QCOMPARE(progress.size(), 11);
        for (int i = 0; i < progress.size(); ++i)
            QCOMPARE(progress[i], QList<QVariant>({i + 1, 11}));
        QCOMPARE(bytes.last(), QList<QVariant>({5ll, 5ll}));
        QCOMPARE(log.Lines("4 shell.filecopy BeforeCopy: '" + Path("d/f") +
                           "' already exists. Trying to remove before coping...")
                     .size(),
                 1);
    }

    void relativePaths()
    {
        MakeTree(Path(""), {"s/dir/f=1", "s/link->dir"});
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(root_->path()));
        FileCopier copier;
        copier.AddDirectory("s", "d");
        copier.Copy();
        QCOMPARE(Outcome(copier), QString("succesed"));
        QCOMPARE(DescribeTree("d"), QStringList({"dir/", "dir/f=1", "link->dir"}));
        QDir::setCurrent(before);
    }

    void logOfAJob()
    {
        MakeTree(Path("s"), {"f=1", "l->f"});
        const RecordingLogger log;
        FileCopier copier;
        copier.AddFile(Path("s/f"), Path("e"));
        copier.AddDirectory(Path("s"), Path("d"));
        copier.Copy();
        QCOMPARE(Outcome(copier), QString("succesed"));
        QStringList lines = log.Lines();
        const QStringList found = lines.mid(2, 2); // in the order of the directory
        lines = lines.mid(0, 2) + lines.mid(4);
        QVERIFY(found.contains("7 shell.filecopy ScanPath: Found file: 'f'."));
        QVERIFY(found.contains("7 shell.filecopy ScanPath: Found symlink: 'l'."));
        const QString copied = "7 shell.filecopy CopyFile: Successfully copied from '%1' to '%2'";
        QVERIFY(lines.last().startsWith("6 shell.filecopy run: Copying finished in "));
        QVERIFY(lines.takeLast().endsWith(" msec."));
        QCOMPARE(
            lines,
            QStringList({"7 shell.filecopy Copy: Copy",
                         "7 shell.filecopy Scan: Start scanning directories...",
                         "7 shell.filecopy Scan: Directories scanning finished.",
                         copied.arg(Path("s/f"), Path("e")), copied.arg(Path("s/f"), Path("d/f")),
                         "7 shell.filecopy CopySymlink: Successfully copied link from '" +
                             Path("s/l") + "' to '" + Path("d/l") + "' -> 'f'."}));
        QCOMPARE(log.Files(), QStringList("src/libs/common/shell/filecopier"));
    }

    void nothingToDo()
    {
        FileCopier copier;
        QSignalSpy progress(&copier, &FileCopier::progress);
        copier.Copy();
        QCOMPARE(Outcome(copier), QString("succesed"));
        QVERIFY(progress.isEmpty());
    }

    void failure_data()
    {
        QTest::addColumn<QString>("kind"); // how the source is added
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("destination");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("logged");
        const auto row = [](const char* name, const char* kind, const char* source,
                            const QString& destination, int code, const char* logged) {
            QTest::newRow(name) << kind << source << destination << code << logged;
        };
        row("missing tree", "tree", "none", "d", 700102,
            "4 shell.filecopy ScanPath: Path 'ROOT/none' doesn't exists!");
        row("missing file", "file", "none", "d", 700103,
            "3 shell.filecopy BeforeCopy: Source file 'ROOT/none' doesn't exist!");
        row("missing link", "link", "none", "d", 700103, "doesn't exist!");
        row("destination below a file", "file", "f", "g/h", 700104,
            "3 shell.filecopy BeforeCopy: Cannot create path to 'ROOT/g/h'");
        row("destination too long", "file", "f", QString("x/").repeated(3000) + "f", 700104,
            "Cannot create path to");
        row("destination is a directory", "file", "f", "dir", 700106,
            "3 shell.filecopy BeforeCopy: Cannot remove 'ROOT/dir'!");
        row("source is a directory", "file", "dir", "d", 700107,
            "3 shell.filecopy CopyFile: Cannot copy from 'ROOT/dir' to 'ROOT/d'");
        row("FIFO", "file", "fifo", "g", 700107, "Cannot copy from");
        row("FIFO in a tree", "tree", "pipes", "d", 700107,
            "Copying from 'ROOT/pipes/p' to 'ROOT/d/p' failed with error '700107'!");
        row("link to a FIFO", "file", "tofifo", "g", 700107, "Cannot copy from");
        row("file onto itself", "file", "f", "f", 700107, "Cannot copy from");
        row("file onto itself, another way", "file", "f", "./dir/../f", 700107, "Cannot copy from");
        row("file onto its hard link", "file", "f", "hard", 700107, "Cannot copy from");
        row("file onto a link to it", "file", "f", "tof", 700107, "Cannot copy from");
        row("dangling link as a file", "file", "gone", "g", 700107, "Cannot copy from");
        row("file as a link", "link", "f", "g", 700107, "Cannot copy link from");
        row("link onto a link on its way", "link", "totof", "tof", 700107, "Cannot copy link from");
        row("file onto a link on its way", "file", "todir/x", "todir", 700107, "Cannot copy from");
        row("link with an undecodable target", "link", "bytes", "g", 700107,
            "Cannot copy link from");
        row("tree without a name", "tree", "", "d", 700102, "Path '' doesn't exists!");
        row("file to nowhere", "file", "f", "", 700104, "Cannot create path to ''");
        row("zero character", "file", "f", QString("g") + QChar(0) + ".txt", 700104,
            "Cannot create path to");
        row("source ends in a separator", "file", "dir/", "d", 700107, "Cannot copy from");
        row("destination ends in a separator", "file", "f", "dir/", 700106, "Cannot remove");
        row("tree to nowhere", "tree", "dir", "", 700104, "Cannot create path to ''");
        row("link onto itself", "link", "tof", "tof", 700107,
            "3 shell.filecopy CopySymlink: Cannot copy link from 'ROOT/tof' to 'ROOT/tof' -> 'f'.");
        row("link below the destination", "tree", "deep", "e", 700104,
            "Cannot create path to 'ROOT/e/sub/x'");
        row("link onto its target", "link", "tof", "f", 700107, "Cannot copy link from");
        row("file too large for the disk", "file", "large", "g", 700107,
            "4 shell.filecmd CopyFile: Failed to copy file 'ROOT/large' to 'ROOT/g', attempt '5'");
        row("unwritable directory", "file", "f", "readonly/f", 700107, "Cannot copy from");
    }

    // Nothing but a destination that is to be replaced may be lost.
    void failure()
    {
        QFETCH(QString, kind);
        QFETCH(QString, source);
        QFETCH(QString, destination);
        QFETCH(int, code);
        QFETCH(QString, logged);
        if (destination.startsWith("readonly") && geteuid() == 0)
            QSKIP("root writes into any directory");
        MakeTree(Path(""), {"f=content", "g=old", "dir/x=1", "fifo|", "pipes/p|", "tofifo->fifo",
                            "tof->f", "totof->tof", "todir->dir", "gone->none", "readonly/",
                            "deep/sub/x=2", "e/sub->../dir", "large=" + QString(200000, 'x')});
        QVERIFY(link(qPrintable(Path("f")), qPrintable(Path("hard"))) == 0);
        QVERIFY(symlink("caf\xE9", qPrintable(Path("bytes"))) == 0);
        QFile::setPermissions(Path("readonly"), QFile::ReadOwner | QFile::ExeOwner);
        const QString from = source.isEmpty() ? source : Path(source);
        const QString to = destination.isEmpty() ? destination : Path(destination);
        const QStringList before = DescribeTree(root_->path());
        const rlimit unlimited{RLIM_INFINITY, RLIM_INFINITY};
        const rlimit small{100000, RLIM_INFINITY};
        std::signal(SIGXFSZ, SIG_IGN);

        const RecordingLogger log;
        FileCopier copier;
        if (kind == "tree")
            copier.AddDirectory(from, to);
        else if (kind == "link")
            copier.AddSymlink(from, to);
        else
            copier.AddFile(from, to);
        setrlimit(RLIMIT_FSIZE, &small);
        copier.Copy();
        const QString outcome = Outcome(copier);
        setrlimit(RLIMIT_FSIZE, &unlimited);

        QCOMPARE(outcome, "failed " + QString::number(code));
        QVERIFY2(!log.Lines(logged.replace("ROOT", root_->path())).isEmpty(),
                 qPrintable(log.Lines().join('\n')));
        QVERIFY(log.Lines().last() ==
                "3 shell.filecopy run: Copying failed with error '" + QString::number(code) + "'!");
        QCOMPARE(DescribeTree(root_->path()), before);
        QFile::setPermissions(Path("readonly"),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    void whatOnlyQtKnows()
    {
        const QString name = "qpdfa_metadata.xml";
        FileCopier copier;
        copier.AddFile(":/qpdf/" + name, Path("f"));
        copier.AddDirectory(":/qpdf", Path("d"));
        MakeTree(Path("s"), {"a/x=1"});
        QDir::setSearchPaths("here", {root_->path()});
        copier.AddDirectory("here:s", Path("e"));
        const QString kernel =
            "/sys/kernel/mm/transparent_hugepage/enabled"; // shorter than it says
        if (QFile::exists(kernel))
            copier.AddFile(kernel, Path("k"));
        copier.Copy();
        QCOMPARE(Outcome(copier), QString("succesed"));
        QVERIFY(ContentOf(Path("f")).size() > 100);
        QCOMPARE(ContentOf(Path("d/" + name)), ContentOf(":/qpdf/" + name));
        QCOMPARE(ContentOf(Path("f")), ContentOf(":/qpdf/" + name));
        QCOMPARE(DescribeTree(Path("e")), QStringList({"a/", "a/x=1"}));
        QCOMPARE(ContentOf(Path("k")), ContentOf(kernel));
    }

    void holesStayHoles()
    {
        QFile file(Path("f"));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.seek(32 << 20) && file.write("end") == 3 &&
                file.resize(64 << 20));
        FileCopier copier;
        copier.AddFile(Path("f"), Path("g"));
        copier.Copy();
        QCOMPARE(Outcome(copier), QString("succesed"));
        struct stat status = {};
        QCOMPARE(stat(qPrintable(Path("g")), &status), 0);
        QVERIFY(status.st_blocks < 1000);
        QVERIFY(ContentOf(Path("g")) == ContentOf(Path("f")));
    }

    void exchangedDirectory_data()
    {
        QTest::addColumn<QString>("moment"); // the log line at which it is exchanged
        QTest::addColumn<QString>("directory");
        QTest::addColumn<QString>("outcome");
        QTest::newRow("source") << "scanning finished"
                                << "s/a"
                                << "failed 700107";
        QTest::newRow("destination") << "scanning finished"
                                     << "d/a"
                                     << "failed 700104";
        QTest::newRow("destination, in use") << "Successfully copied"
                                             << "d/a"
                                             << "failed 700104";
        QTest::newRow("source, at the end") << "Successfully copied link"
                                            << "s/a"
                                            << "failed 700107";
    }

    // Whoever may change the tree has nothing outside read or written.
    void exchangedDirectory()
    {
        QFETCH(QString, moment);
        QFETCH(QString, directory);
        MakeTree(Path(""), {"s/a/f=1", "s/a/g=2", "s/a/l->f", "d/a/f=old", "victim/f=secret"});
        RecordingLogger log;
        log.SetListener([&](const QString& line) {
            if (line.contains(moment) && !QFile::exists(Path("parked"))) {
                QFile::rename(Path(directory), Path("parked"));
                QFile::link(Path("victim"), Path(directory));
            }
        });
        FileCopier copier;
        copier.AddDirectory(Path("s"), Path("d"));
        copier.Copy();
        QTEST(Outcome(copier), "outcome");
        QCOMPARE(DescribeTree(Path("victim")), QStringList("f=secret"));
        QVERIFY(!DescribeTree(root_->path()).contains("d/a/f=secret"));
    }

    void abortInALargeFile()
    {
        MakeTree(Path(""), {"f=" + QString(8 << 20, 'x'), "g=old"});
        common::FileCopyTask task({{Path("f"), Path("g")}}, {}, {});
        QSignalSpy failed(&task, &common::FileCopyTask::failed);
        QSemaphore reached;
        connect(
            &task, &common::FileCopyTask::bytesProgress, &task,
            [&] {
                reached.release();
                QThread::msleep(50);
            },
            Qt::DirectConnection);
        task.Copy();
        reached.acquire();
        task.Abort(true);
        QVERIFY(reached.available() < 5);
        QCOMPARE(failed[0][0].toInt(), 700105);
        QCOMPARE(ContentOf(Path("g")), "old");
        QCOMPARE(DescribeTree(root_->path()).size(), 2);
    }

    void sourceVanishes()
    {
        MakeTree(root_->path(), {"f=1", "g=2"});
        RecordingLogger log;
        log.SetListener([&](const QString& line) {
            if (line.contains("Successfully copied"))
                QFile::remove(Path("g"));
        });
        FileCopier copier;
        QSignalSpy progress(&copier, &FileCopier::progress);
        copier.AddFile(Path("f"), Path("d/f"));
        copier.AddFile(Path("g"), Path("d/g"));
        copier.Copy();
        QCOMPARE(Outcome(copier), QString("failed 700103"));
        QCOMPARE(progress.size(), 1);
        QCOMPARE(DescribeTree(Path("d")), QStringList("f=1"));
    }

    void destinationInsideSource()
    {
        MakeTree(Path("s"), {"f=1", "in/g=2"});
        FileCopier copier;
        copier.AddDirectory(Path("s"), Path("s/in"));
        copier.Copy();
        QCOMPARE(Outcome(copier), QString("succesed"));
        QCOMPARE(DescribeTree(Path("s")),
                 QStringList({"f=1", "in/", "in/f=1", "in/g=2", "in/in/", "in/in/g=2"}));
    }

    void destinationOverSources()
    {
        MakeTree(Path("s"), {"f=one", "in/f=two"});
        FileCopier copier;
        copier.AddDirectory(Path("s"), Path("s/in"));
        copier.Copy();
        QCOMPARE(Outcome(copier), QString("failed 700107"));
        const QStringList left = DescribeTree(Path("s"));
        QVERIFY(left.contains("f=one") && left.contains("in/f=two"));
        MakeTree(Path("p"), {"n/x=one", "n/n/x=two"});
        FileCopier toParent;
        toParent.AddDirectory(Path("p/n"), Path("p"));
        toParent.Copy();
        QCOMPARE(Outcome(toParent), QString("failed 700107"));
        QCOMPARE(ContentOf(Path("p/n/x")), QByteArray("one"));
    }

    void destinationIsExchanged()
    {
        MakeTree(root_->path(), {"f=1", "g=2", "d/", "e/"});
        FileCopier copier;
        copier.AddFile(Path("f"), Path("d/f"));
        copier.AddFile(Path("g"), Path("d/g"));
        RecordingLogger log;
        log.SetListener([this](const QString& line) {
            if (line.contains("Successfully copied") && line.contains("d/f'"))
                QVERIFY(rename(qPrintable(Path("d")), qPrintable(Path("e"))) == 0);
        });
        copier.Copy();
        QCOMPARE(Outcome(copier), QString("failed 700104"));
        QCOMPARE(ContentOf(Path("d/g")), QByteArray("2"));
    }

    void pathBehindALink()
    {
        MakeTree(root_->path(), {"real/sub/", "real/t/a/g=1", "t/a/wrong=2", "lk->real/sub"});
        FileCopier copier;
        copier.AddDirectory(Path("lk/../t"), Path("d"));
        copier.Copy();
        QCOMPARE(Outcome(copier), QString("succesed"));
        QCOMPARE(DescribeTree(Path("d")), QStringList({"a/", "a/g=1"}));
    }

    void itemInBothLists()
    {
        MakeTree(root_->path(), {"f=1", "l->f", "m->f"});
        FileCopier copier;
        QSignalSpy progress(&copier, &FileCopier::progress);
        copier.AddFile(Path("l"), Path("d/l"));
        copier.AddSymlink(Path("l"), Path("d/l"));
        copier.AddSymlink(Path("m"), Path("d/m"));
        copier.AddSymlink(Path("l"), Path("d/other"));
        copier.Copy();
        QCOMPARE(Outcome(copier), QString("succesed"));
        QCOMPARE(progress.size(), 4);
        QCOMPARE(DescribeTree(Path("d")), QStringList({"l=1", "m->f", "other->f"}));
    }

    void secondCopyDoesEverythingAgain()
    {
        MakeTree(root_->path(), {"f=1", "g=2"});
        FileCopier copier;
        copier.AddFile(Path("f"), Path("d/f"));
        copier.Copy();
        QCOMPARE(Outcome(copier), QString("succesed"));
        copier.AddFile(Path("g"), Path("d/g"));
        MakeTree(root_->path(), {"f=new"});
        copier.Copy();
        QCOMPARE(Outcome(copier), QString("succesed"));
        QCOMPARE(DescribeTree(Path("d")), QStringList({"f=new", "g=2"}));
    }

    // A slot may run an event loop, and the front object may go away in one.
    void progressFromWithinSlots()
    {
        constexpr int files = 100;
        QStringList tree;
        for (int i = 0; i < files; ++i)
            tree << QString("%1=x").arg(i);
        MakeTree(Path("s"), tree);
        auto* copier = new FileCopier;
        copier->AddDirectory(Path("s"), Path("d"));
        QList<int> reports;
        connect(copier, &FileCopier::progress, this, [&](int current, int total) {
            reports << current;
            if (reports.size() == 2 * total - 10)
                delete copier;
            else if (current % 25 == 1)
                QTest::qWait(15); // the deletion may come in here
        });
        copier->Copy();
        QCOMPARE(Outcome(*copier), QString("succesed"));
        QCOMPARE(reports.size(), files);
        QVERIFY(std::is_sorted(reports.cbegin(), reports.cend()));

        const QPointer<FileCopier> alive = copier;
        copier->Copy();
        QTRY_VERIFY(!alive);
        QTest::qWait(30);
        QCOMPARE(reports.size(), 2 * files - 10);
    }

    void slowSlotLeavesTheEventLoopAlive()
    {
        QStringList tree;
        for (int i = 0; i < 1000; ++i)
            tree << QString("%1=x").arg(i);
        MakeTree(Path("s"), tree);
        RecordingLogger log;
        log.SetListener([](const QString&) { QThread::usleep(500); });
        FileCopier copier;
        copier.AddDirectory(Path("s"), Path("d"));
        connect(&copier, &FileCopier::progress, this, [&](int current) {
            if (current == 1)
                QTimer::singleShot(20, &copier, [&] { copier.Abort(true); });
            QThread::msleep(5); // slower than the copying
        });
        copier.Copy();
        QCOMPARE(Outcome(copier), QString("failed 700105"));
    }

    void abort_data()
    {
        QTest::addColumn<bool>("force");
        QTest::addColumn<QString>("moment"); // the log line at which the abort comes
        QTest::newRow("waiting only") << false << "Successfully copied";
        QTest::newRow("between two items") << true << "Successfully copied";
        QTest::newRow("during the scan") << true << "Found file";
    }

    void abort()
    {
        QFETCH(bool, force);
        QFETCH(QString, moment);
        MakeTree(Path("s"), {"a=1", "b=2", "c=3"});
        RecordingLogger log;
        QSemaphore reached;
        log.SetListener([&](const QString& line) {
            if (line.contains(moment))
                reached.release();
            if (line.contains(moment) && reached.available() == 1)
                QThread::msleep(100); // time for the abort
        });
        FileCopier copier;
        QSignalSpy progress(&copier, &FileCopier::progress);
        QSignalSpy failed(&copier, &FileCopier::failed);
        copier.AddDirectory(Path("s"), Path("d"));
        copier.Copy();
        reached.acquire();
        copier.Abort(force);
        const int copied = DescribeTree(Path("d")).size();
        QCOMPARE(log.Lines("Abort: Wait finished!").size(), 1);
        QCOMPARE(Outcome(copier), QString(force ? "failed 700105" : "succesed"));
        QCOMPARE(copied, !force ? 3 : moment == "Found file" ? 0 : 1);
        QCOMPARE(progress.size(), copied);
        QCOMPARE(log.Lines("user abort detected!").size(), force ? 1 : 0);
    }
};

QTEST_GUILESS_MAIN(TestFileCopier)
#include "tst_filecopier.moc"
