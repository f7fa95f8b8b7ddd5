#include <common/shell/shell.h>

#include "support/cases.h"
#include "support/recordinglogger.h"
#include "support/tree.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <csignal>

#include <unistd.h>

using common::Shell;

namespace {

struct CopyCase
{
    const char* name;
    QString source;
    QString destination;
    QString failure; // the first that is logged
};

struct HandlerCase
{
    const char* name; // of its desktop file
    QStringList started;
};

} // namespace

class TestShell : public QObject
{
    Q_OBJECT

private:
    QScopedPointer<QTemporaryDir> directory_;
    QByteArray path_;

    QString Path(const QString& name) const { return directory_->filePath(name); }

    // A program on PATH, in place of the real ones.
    void Script(const QString& name, const QByteArray& body) const
    {
        QDir().mkpath(Path("bin"));
        QFile script(Path("bin/" + name));
        QVERIFY(script.open(QIODevice::WriteOnly));
        script.write("#!/bin/sh\n" + body + '\n');
        script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    // One that writes down what it is called with.
    void RecordingScript(const QString& name) const
    {
        const QByteArray record = Path("record").toUtf8();
        Script(name, "/usr/bin/printf '%s\\n' \"" + name.toUtf8() + "\" \"$@\" > '" + record +
                         ".new'; exec /bin/mv '" + record + ".new' '" + record + "'");
    }

    QStringList Record() const
    {
        [&] {
            QTRY_VERIFY(QFile::exists(Path("record")));
        }();
        return QString::fromUtf8(ContentOf(Path("record"))).split('\n', Qt::SkipEmptyParts);
    }

private Q_SLOTS:
    void init()
    {
        directory_.reset(new QTemporaryDir);
        path_ = qgetenv("PATH");
        QDir::setCurrent(directory_->path());
    }

    void cleanup()
    {
        qputenv("PATH", path_);
        QDir::setCurrent("/");
    }

    void copyOne_data()
    {
        const QString copy = "Copy file ";
        AddCases<CopyCase>({
            {"over", "a", "b", ""},
            {"onto itself", "a", "d/../a", copy},
            {"onto its hard link", "a", "hard", copy},
            {"onto a link to it", "a", "link", copy},
            {"by search path, onto itself", "here:a", "a", copy},
            {"resource", ":/qpdf/qpdfa_metadata.xml", "b", ""},
            {"pipe as source", "fifo", "b", copy},
            {"directory as destination", "a", "d", "Failed to remove file "},
            {"below a file", "a", "b/c", "Failed to create path "},
        });
    }

    void copyOne()
    {
        const auto& row = CurrentCase<CopyCase>();
        MakeTree(".", {"a=new", "b=old", "d/f=kept", "link->a", "fifo|"});
        QVERIFY(::link("a", "hard") == 0);
        QDir::setSearchPaths("here", {directory_->path()});
        const QStringList before = DescribeTree(".");
        const RecordingLogger log;
        QCOMPARE(Shell::Copy(row.source, row.destination, true), row.failure.isEmpty());
        if (row.failure.isEmpty()) {
            QCOMPARE(ContentOf(row.destination), ContentOf(row.source));
            QCOMPARE(log.Lines(), QStringList());
            return;
        }
        QVERIFY(log.Lines()[0].startsWith("3 common.shell Copy: " + row.failure));
        QCOMPARE(log.Lines().last(), QString("3 common.shell Copy: Copy file '%1' to '%2' failed!")
                                         .arg(row.source, row.destination));
        QCOMPARE(DescribeTree("."), before);
    }

    void copyList()
    {
        MakeTree(".", {"s/a=1", "s/b/c=2", "s/e=3", "t/b/c=old"});
        const QStringList files = {Path("s/a"), Path("s/b/c"), Path("s/e")};
        QVERIFY(Shell::Copy(QStringList(), Path("s"), Path("t"), false));
        QVERIFY(!Shell::Copy(files, Path("s"), Path("t"), false));
        QCOMPARE(DescribeTree("t"), QStringList({"a=1", "b/", "b/c=old"}));
        QVERIFY(Shell::Copy(files, Path("s"), Path("t"), true));
        QCOMPARE(DescribeTree("t"), QStringList({"a=1", "b/", "b/c=2", "e=3"}));
        QVERIFY(Shell::Copy({"b/c"}, "s", "u", false));
        QCOMPARE(DescribeTree("u"), QStringList({"b/", "b/c=2"}));
    }

    void scanFiles()
    {
        MakeTree(".", {"A.TXT=", "b.bin=", ".hidden=", "sub/c.txt=", "sub.txt/d.txt=",
                       "sub.txt/e.bin=", "sub/up->..", "sub/self->.", "other->sub"});
        const auto scan = [this](const QStringList& filters) {
            QStringList files = Shell::ScanFiles(directory_->path(), filters);
            files.replaceInStrings(directory_->path() + '/', "");
            files.sort();
            return files;
        };
        QCOMPARE(scan({}), QStringList({"A.TXT", "b.bin", "other/c.txt", "sub.txt/d.txt",
                                        "sub.txt/e.bin", "sub/c.txt"}));
        QCOMPARE(scan({"*.txt"}), QStringList({"A.TXT", "sub.txt/d.txt"}));
        QCOMPARE(Shell::ScanFiles("none", {}), QStringList());
    }

    void tempPath()
    {
        const QRegularExpression form('^' + QRegularExpression::escape(QDir::tempPath()) +
                                      "/ZELKO_\\d{14}_100$");
        QVERIFY(form.match(Shell::TempPath()).hasMatch());
        QVERIFY(Shell::TempPath().endsWith("_101"));
    }

    void removeAfterExit()
    {
        MakeTree(".",
                 {"it is $HOME \"gone\"/a/b=1", "it is $HOME \"gone\"/.h=1", "kept/f=1", "it's/f=1",
                  "it/f=1", "x/link->../y/z", "x/sub/f=1", "y/z/", "y/sub/f=1", "tree->kept"});
        QStringList left = DescribeTree(".");
        const RecordingLogger log;
        QDir::setCurrent("kept");
        QVERIFY(Shell::RemoveAfterExit("missing"));
        QVERIFY(Shell::RemoveAfterExit(QString()));
        QVERIFY(!Shell::RemoveAfterExit(Path("it's")));
        QCOMPARE(log.Lines(), QStringList("3 common.shell RemoveAfterExit: Failed to start shell "
                                          "for folder remove!"));
        QVERIFY(Shell::RemoveAfterExit("../it is $HOME \"gone\"")); // relative
        QVERIFY(Shell::RemoveAfterExit(Path("x/link/../sub")));     // below y
        QVERIFY(Shell::RemoveAfterExit(Path("tree/")));
        QCOMPARE(DescribeTree(".."), left);
        left = left.filter(QRegularExpression("^(?!it is |y/sub|tree)"));
        QTRY_COMPARE_WITH_TIMEOUT(DescribeTree(".."), left, 15000);
    }

    void showFile_data()
    {
        AddCases<HandlerCase>({
            {"dolphin.desktop", {"dolphin", "--select", "FILE"}},
            {" org.kde.dolphin.desktop \n second line", {"dolphin", "--select", "FILE"}},
            {"nautilus.desktop", {"nautilus", "FILE"}},
            {"org.gnome.Nautilus.desktop", {"nautilus", "FILE"}},
            {"nautilus-folder-handler.desktop", {"nautilus", "FILE"}},
            {"nemo.desktop", {"nemo", "--no-desktop", "FILE"}},
            {"konqueror.desktop", {"konqueror", "--select", "FILE"}},
            {"kfmclient_dir.desktop", {"konqueror", "--select", "FILE"}},
            {"thunar.desktop", {"xdg-open", "DIRECTORY"}},
        });
    }

    void showFile()
    {
        const auto& row = CurrentCase<HandlerCase>();
        const QString folder = Path("Zoë's \"best\" $files");
        MakeTree(folder, {"a b%1.txt=1"});
        Script("xdg-mime", "[ \"$*\" = 'query default inode/directory' ] && echo '" +
                               QByteArray(row.name) + '\'');
        for (const char* program : {"dolphin", "nautilus", "nemo", "konqueror", "xdg-open"})
            RecordingScript(program);
        qputenv("PATH", Path("bin").toUtf8());
        QDir::setCurrent(folder);
        QVERIFY(Shell::ShowFile("a b%1.txt"));
        QStringList expected = row.started;
        expected.replaceInStrings("FILE", folder + "/a b%1.txt");
        expected.replaceInStrings("DIRECTORY", folder);
        QCOMPARE(Record(), expected);
    }

    void showFileWithoutHelp()
    {
        const RecordingLogger log;
        qputenv("PATH", Path("bin").toUtf8());
        QVERIFY(!Shell::ShowFile(Path("f")));
        QCOMPARE(log.Lines(), QStringList("3 common.shell ShowFile: Failed to launch 'xdg-open " +
                                          directory_->path() + '\''));

        Script("xdg-mime", "echo $$ > '" + Path("pid").toUtf8() + "'; /bin/sleep 30");
        RecordingScript("xdg-open");
        QElapsedTimer clock;
        clock.start();
        QVERIFY(Shell::ShowFile(Path("f")));
        QVERIFY(clock.elapsed() >= 1900 && clock.elapsed() < 5000);
        QCOMPARE(Record(), QStringList({"xdg-open", directory_->path()}));
        const auto group = static_cast<pid_t>(ContentOf(Path("pid")).trimmed().toInt());
        QVERIFY(group > 0);
        QTRY_VERIFY(::kill(-group, 0) != 0); // nothing of it is left
    }
};

QTEST_GUILESS_MAIN(TestShell)
#include "tst_shell.moc"
