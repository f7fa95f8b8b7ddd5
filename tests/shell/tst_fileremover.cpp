#include <common/logger/l4cpp/logger.h>
#include <common/shell/filecopier.h>
#include <common/shell/filehelper.h>
#include <common/shell/fileremover.h>

#include "support/joboutcome.h"
#include "support/recordinglogger.h"
#include "support/tree.h"

#include <QSemaphore>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using common::FileRemover;

class TestFileRemover : public QObject
{
    Q_OBJECT

private:
    QString Path(const QString& name) const { return root_->filePath(name); }

    // Adds directories (with a "/" at their end) and files, and waits for the end of the job.
    QString Remove(FileRemover& remover, const QStringList& paths)
    {
        for (const QString& path : paths) {
            if (path.endsWith('/'))
                remover.AddDirectory(path);
            else
                remover.AddFile(path);
        }
        remover.Remove();
        return Outcome(remover);
    }

    static QString Outcome(FileRemover& remover) { return JobOutcome(remover, "Removing"); }

    std::unique_ptr<QTemporaryDir> root_;

private Q_SLOTS:
    void init() { root_ = std::make_unique<QTemporaryDir>(); }

    void treesAndFiles()
    {
        MakeTree(root_->path(), {"t/a/f1=", "t/b/", "t/out->../kept", "t/dangling->none", "t/pipe|",
                                 "u/c/d/", "single=", "link->kept", "kept/x=1"});
        const RecordingLogger log;
        FileRemover remover;
        QSignalSpy progress(&remover, &FileRemover::progress);
        QCOMPARE(Remove(remover, {Path("t") + '/', Path("u/"), Path("single"), Path("link")}),
                 QString("succesed"));
        QCOMPARE(DescribeTree(root_->path()), QStringList({"kept/", "kept/x=1"}));
        QCOMPARE(progress.size(), 12);
        for (int i = 0; i < progress.size(); ++i)
            QCOMPARE(progress[i], QList<QVariant>({i + 1, 12}));

        QStringList removed;
        for (const QString& line : log.Lines("Successfully removed "))
            removed << line.section('\'', 1, 1).remove(root_->path() + '/');
        QCOMPARE(removed.mid(0, 2), QStringList({"single", "link"}));
        const QStringList last = {"u//c/d", "u//c"}; // later trees come first
        QCOMPARE(removed.mid(6, 2), last);
        QCOMPARE(removed.mid(10), QStringList({"t/", "u/"}));
        QVERIFY(log.Lines().last().startsWith("6 shell.fileremove run: Removing finished in "));
    }

    void whatDoesNotExistIsDone()
    {
        const RecordingLogger log;
        FileRemover remover;
        QSignalSpy progress(&remover, &FileRemover::progress);
        QCOMPARE(Remove(remover, {Path("none/"), Path("f")}), QString("succesed"));
        QCOMPARE(progress.last(), QList<QVariant>({2, 2}));
        QCOMPARE(log.Lines("4 "),
                 QStringList(
                     {"4 shell.fileremove ScanPath: Path '" + Path("none/") + "' doesn't exists!",
                      "4 shell.fileremove RemoveFile: File '" + Path("f") + "' doesn't exist!",
                      "4 shell.fileremove RemoveDirectory: Directory '" + Path("none/") +
                          "' doesn't exist!"}));
    }

    void failure_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("result");
        QTest::addColumn<QString>("logged");
        QTest::addColumn<QStringList>("left");
        QTest::newRow("hidden entry")
            << "t/"
            << "failed 700203"
            << "3 shell.fileremove RemoveDirectory: Cannot remove directory"
            << QStringList{"t/", "t/.hidden=1"};
        QTest::newRow("directory as a file") << "t"
                                             << "failed 700204"
                                             << "3 shell.fileremove RemoveFile: Cannot remove file"
                                             << QStringList{"t/", "t/.hidden=1", "t/f=2"};
    }

    void failure()
    {
        QFETCH(QString, path);
        QFETCH(QString, logged);
        MakeTree(root_->path(), {"t/.hidden=1", "t/f=2"});
        const RecordingLogger log;
        FileRemover remover;
        QTEST(Remove(remover, {Path(path)}), "result");
        QTEST(DescribeTree(root_->path()), "left");
        QCOMPARE(log.Lines("4 shell.filecmd").size(), 5);
        QCOMPARE(log.Lines(logged + " '" + Path(path) + "'!").size(), 1);
    }

    void treeThatIsALink()
    {
        MakeTree(root_->path(),
                 {"kept/x=1", "l->kept", "m->kept", "n->kept", "dir/f=", "up/y/f=1"});
        FileRemover remover;
        QSignalSpy progress(&remover, &FileRemover::progress);
        remover.AddDirectory(Path("l"));
        remover.AddDirectory(Path("n/."));
        remover.AddDirectory(Path("dir/."));
        remover.AddDirectory(Path("up/y/.."));
        QCOMPARE(Remove(remover, {Path("m/")}), QString("succesed"));
        QCOMPARE(DescribeTree(root_->path()), QStringList({"kept/", "kept/x=1"}));
        QCOMPARE(progress.size(), 8);
    }

    // Whoever may change the tree has nothing outside removed.
    void exchangedDirectory()
    {
        MakeTree(root_->path(), {"t/a/f=1", "t/g=2", "victim/f=kept"});
        const auto exchange = [this] {
            QFile::rename(Path("t/a"), Path("parked"));
            QFile::link(Path("victim"), Path("t/a"));
        };
        RecordingLogger log;
        log.SetListener([&](const QString& line) {
            if (line.contains("scanning finished"))
                exchange();
        });
        FileRemover remover;
        QCOMPARE(Remove(remover, {Path("t/")}), QString("failed 700204"));
        QFile::remove(Path("t/a"));
        QFile::rename(Path("parked"), Path("t/a"));
        common::FileHelper helper(Path("t"));
        connect(&helper, &common::FileHelper::scan, this, [&](const QString& path) {
            if (path == Path("t"))
                exchange();
        });
        QVERIFY(!helper.Remove());
        QCOMPARE(DescribeTree(Path("victim")), QStringList("f=kept"));
    }

    // Deeper than a path can tell, and than directories are kept open.
    void deepTree()
    {
        constexpr int levels = 300;
        const QByteArray name(20, 'n');
        common::logger::SetLogger(common::logger::GetLog4cpp());
        common::logger::GetLog4cpp()->SetLevel(common::logger::IMessage::ERROR);
        QDir().mkpath(Path("s"));
        int directory = open(qPrintable(Path("s")), O_PATH);
        for (int level = 0; level < levels; ++level) {
            mkdirat(directory, name.constData(), 0755);
            const int next = openat(directory, name.constData(), O_PATH);
            close(directory);
            directory = next;
        }
        QVERIFY(directory >= 0);
        close(openat(directory, "f", O_CREAT | O_WRONLY, 0644));
        close(directory);
        common::FileCopier copier;
        copier.AddDirectory(Path("s"), Path("d"));
        copier.Copy();
        QCOMPARE(JobOutcome(copier, "Copying"), QString("succesed"));
        for (const QString& tree : {Path("s"), Path("d")}) {
            FileRemover remover;
            QSignalSpy progress(&remover, &FileRemover::progress);
            QCOMPARE(Remove(remover, {tree + '/'}), QString("succesed"));
            QCOMPARE(progress.last(), QList<QVariant>({levels + 2, levels + 2}));
        }
        common::logger::SetLogger(nullptr);
        QCOMPARE(DescribeTree(root_->path()), QStringList());
    }

    // An unset path must not stand for the current directory, or for the root.
    void emptyPathIsNothing()
    {
        MakeTree(root_->path(), {"kept/x=1"});
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(root_->path()));
        FileRemover remover;
        remover.AddDirectory("");
        remover.AddFile("");
        remover.Remove();
        const QString outcome = Outcome(remover);
        const bool helperResult = common::FileHelper(QString()).Remove();
        QDir::setCurrent(before);
        QCOMPARE(outcome, QString("succesed"));
        QVERIFY(helperResult);
        QCOMPARE(DescribeTree(root_->path()), QStringList({"kept/", "kept/x=1"}));
    }

    void relativePaths()
    {
        MakeTree(root_->path(), {"r/s/f=1"});
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(root_->path()));
        const RecordingLogger log;
        FileRemover remover;
        remover.AddDirectory("r");
        remover.Remove();
        QCOMPARE(Outcome(remover), QString("succesed"));
        QDir::setCurrent(before);
        QCOMPARE(DescribeTree(root_->path()), QStringList());
        QCOMPARE(log.Lines("Successfully removed directory 'r/s'").size(), 1);
    }

    void abort()
    {
        MakeTree(Path("t"), {"a=1", "b=2", "c=3"});
        RecordingLogger log;
        QSemaphore reached;
        log.SetListener([&](const QString& line) {
            if (line.contains("Successfully removed")) {
                reached.release();
                QThread::msleep(100); // time for the abort
            }
        });
        FileRemover remover;
        remover.AddDirectory(Path("t"));
        remover.Remove();
        reached.acquire();
        remover.Abort(true);
        QCOMPARE(DescribeTree(Path("t")).size(), 2);
        QCOMPARE(Outcome(remover), QString("failed 700202"));
        remover.Remove();
        remover.Abort(false);
        QCOMPARE(Outcome(remover), QString("succesed"));
    }
};

QTEST_GUILESS_MAIN(TestFileRemover)
#include "tst_fileremover.moc"
