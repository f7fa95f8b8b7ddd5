#include <common/shell/shell.h>

#include "support/recordinglogger.h"
#include "support/tree.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

using common::Shell;

class TestShell : public QObject
{
    Q_OBJECT

private:
    QScopedPointer<QTemporaryDir> directory_;
    QByteArray path_;
    QString current_;

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
        current_ = QDir::currentPath();
    }

    void cleanup()
    {
        qputenv("PATH", path_);
        QDir::setCurrent(current_);
    }

    void copyOne_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("destination");
        QTest::addColumn<bool>("overwrite");
        QTest::addColumn<QString>("failure"); // the first that is logged; empty for success
        const auto row = [](const char* name, const char* source, const char* destination,
                            bool overwrite, const char* failure) {
            QTest::newRow(name) << source << destination << overwrite << failure;
        };
        row("new", "a", "x/y/z", false, "");
        row("over", "a", "b", true, "");
        row("not over", "a", "b", false, "Copy file ");
        row("onto itself", "a", "d/../a", true, "Copy file ");
        row("onto its hard link", "a", "hard", true, "Copy file ");
        row("onto a link to it", "a", "link", true, "Copy file ");
        row("missing source", "none", "b", true, "Copy file ");
        row("by search path", "here:a", "b", true, "");
        row("by search path, onto itself", "here:a", "a", true, "Copy file ");
        row("onto itself by search path", "a", "here:a", true, "Copy file ");
        row("resource", ":/qpdf/qpdfa_metadata.xml", "b", true, "");
        row("missing resource", ":/none", "b", true, "Copy file ");
        row("directory as source", "d", "b", true, "Copy file ");
        row("pipe as source", "fifo", "b", true, "Copy file ");
        row("directory as destination", "a", "d", true, "Failed to remove file ");
        row("below a file", "a", "b/c", true, "Failed to create path ");
    }

    void copyOne()
    {
        QFETCH(QString, source);
        QFETCH(QString, destination);
        QFETCH(bool, overwrite);
        QFETCH(QString, failure);
        MakeTree(directory_->path(), {"a=new", "b=old", "d/f=kept", "link->a"});
        QProcess::execute("ln", {Path("a"), Path("hard")});
        QProcess::execute("mkfifo", {Path("fifo")});
        const auto content = [this](const QString& name) {
            return ContentOf(Path(name));
        };
        QDir::setSearchPaths("here", {directory_->path()});
        const QString from = source.contains(':') ? source : Path(source);
        const QString to = destination.contains(':') ? destination : Path(destination);
        const RecordingLogger log;
        QCOMPARE(Shell::Copy(from, to, overwrite), failure.isEmpty());
        if (failure.isEmpty()) {
            QCOMPARE(ContentOf(to), ContentOf(from));
            QCOMPARE(log.Lines(), QStringList());
            return;
        }
        QVERIFY2(log.Lines()[0].startsWith("3 common.shell Copy: " + failure),
                 qPrintable(log.Lines()[0]));
        QCOMPARE(log.Lines().last(),
                 QString("3 common.shell Copy: Copy file '%1' to '%2' failed!").arg(from, to));
        QCOMPARE(log.Files(), QStringList("src/libs/common/shell/shell"));
        QCOMPARE(content("a") + content("b") + content("d/f") + content("hard"), "newoldkeptnew");
        QVERIFY(QFileInfo(Path("link")).isSymLink());
    }

    void copyList()
    {
        MakeTree(directory_->path(), {"s/a=1", "s/b/c=2", "s/e=3", "t/b/c=old"});
        const QStringList files = {Path("s/a"), Path("s/b/c"), Path("s/e")};
        QVERIFY(Shell::Copy(QStringList(), Path("s"), Path("t"), false));
        QVERIFY(!Shell::Copy(files, Path("s"), Path("t"), false));
        QCOMPARE(DescribeTree(Path("t")), QStringList({"a=1", "b/", "b/c=old"}));
        QVERIFY(Shell::Copy(files, Path("s"), Path("t"), true));
        QCOMPARE(DescribeTree(Path("t")), QStringList({"a=1", "b/", "b/c=2", "e=3"}));
        QVERIFY(Shell::Copy({"b/c"}, Path("s"), Path("u"), false));
        QCOMPARE(DescribeTree(Path("u")), QStringList({"b/", "b/c=2"}));
    }

    void scanFiles()
    {
        MakeTree(directory_->path(),
                 {"a.txt=", "b.bin=", ".hidden=", "sub/c.txt=", "sub.txt/d.txt=", "sub.txt/e.bin=",
                  "sub/up->..", "sub/self->.", "other->sub"});
        const auto scan = [this](const QStringList& filters) {
            QStringList files = Shell::ScanFiles(directory_->path(), filters);
            files.replaceInStrings(directory_->path() + '/', "");
            files.sort();
            return files;
        };
        QCOMPARE(scan({}), QStringList({"a.txt", "b.bin", "other/c.txt", "sub.txt/d.txt",
                                        "sub.txt/e.bin", "sub/c.txt"}));
        QCOMPARE(scan({"*.txt"}), QStringList({"a.txt", "sub.txt/d.txt"}));
        QCOMPARE(Shell::ScanFiles(Path("none"), {}), QStringList());
    }

    void paths()
    {
        const QString first = Shell::TempPath();
        const QRegularExpression form('^' + QRegularExpression::escape(QDir::tempPath()) +
                                      "/ZELKO_\\d{14}_100$");
        QVERIFY2(form.match(first).hasMatch(), qPrintable(first));
        QVERIFY(Shell::TempPath().endsWith("_101"));
        QVERIFY(!QFile::exists(first));
        QVERIFY(!Shell::LocaleName().isEmpty());
        QVERIFY(Shell::AppPath().endsWith("/applications"));
    }

    void removeAfterExit()
    {
        MakeTree(directory_->path(),
                 {"it is $HOME \"gone\"/a/b=1", "it is $HOME \"gone\"/.h=1", "kept/f=1", "it's/f=1",
                  "it/f=1", "x/link->../y/z", "x/sub/f=1", "y/z/", "y/sub/f=1", "tree->kept"});
        const RecordingLogger log;
        QDir::setCurrent(Path("kept"));
        QVERIFY(Shell::RemoveAfterExit(Path("missing")));
        QVERIFY(Shell::RemoveAfterExit(QString()));
        QVERIFY(!Shell::RemoveAfterExit(Path("it's")));
        QCOMPARE(log.Lines(),
                 QStringList("3 common.shell RemoveAfterExit: Failed to start shell for "
                             "folder remove!"));
        QVERIFY(Shell::RemoveAfterExit("../it is $HOME \"gone\"")); // relative
        QVERIFY(Shell::RemoveAfterExit(Path("x/link/../sub")));     // below y
        QVERIFY(Shell::RemoveAfterExit(Path("tree/")));
        QVERIFY(QFile::exists(Path("it is $HOME \"gone\"/a/b")));
        QTRY_VERIFY_WITH_TIMEOUT(!QFile::exists(Path("it is $HOME \"gone\"")), 15000);
        QTRY_VERIFY(!QFile::exists(Path("y/sub")) && !QFileInfo(Path("tree")).isSymLink());
        QCOMPARE(DescribeTree(directory_->path()),
                 QStringList({"it's/", "it's/f=1", "it/", "it/f=1", "kept/", "kept/f=1", "x/",
                              "x/link->../y/z", "x/sub/", "x/sub/f=1", "y/", "y/z/"}));
    }

    void startsDetached()
    {
        Script("tool", "pwd > \"$1\"");
        QVERIFY(Shell::ProcessStartDetached(Path("bin/tool"), {Path("a b")}, directory_->path()));
        QTRY_VERIFY(QFileInfo(Path("a b")).size() > 0);
        QVERIFY(!Shell::ProcessStartDetached(Path("bin/none"), {}, directory_->path()));
    }

    void showFile_data()
    {
        QTest::addColumn<QString>("handler");
        QTest::addColumn<QStringList>("expected");
        const auto row = [](const char* handler, const QStringList& expected) {
            QTest::newRow(handler) << QString(handler) << expected;
        };
        row("dolphin.desktop", {"dolphin", "--select", "FILE"});
        row(" org.kde.dolphin.desktop \n second line", {"dolphin", "--select", "FILE"});
        row("nautilus.desktop", {"nautilus", "FILE"});
        row("org.gnome.Nautilus.desktop", {"nautilus", "FILE"});
        row("nautilus-folder-handler.desktop", {"nautilus", "FILE"});
        row("nemo.desktop", {"nemo", "--no-desktop", "FILE"});
        row("konqueror.desktop", {"konqueror", "--select", "FILE"});
        row("kfmclient_dir.desktop", {"konqueror", "--select", "FILE"});
        row("thunar.desktop", {"xdg-open", "DIRECTORY"});
        row("", {"xdg-open", "DIRECTORY"});
    }

    void showFile()
    {
        QFETCH(QString, handler);
        QFETCH(QStringList, expected);
        const QString folder = Path("Zoë's \"best\" $files");
        MakeTree(folder, {"a b%1.txt=1"});
        Script("xdg-mime",
               "[ \"$*\" = 'query default inode/directory' ] && echo '" + handler.toUtf8() + '\'');
        for (const char* program : {"dolphin", "nautilus", "nemo", "konqueror", "xdg-open"})
            RecordingScript(program);
        qputenv("PATH", Path("bin").toUtf8());
        QDir::setCurrent(folder);

        QVERIFY(Shell::ShowFile("a b%1.txt"));
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
        QCOMPARE(log.Files(), QStringList("src/libs/common/shell/linux/shell"));

        Script("xdg-mime", "echo $$ > '" + Path("pid").toUtf8() + "'; /bin/sleep 30");
        RecordingScript("xdg-open");
        QElapsedTimer clock;
        clock.start();
        QVERIFY(Shell::ShowFile(Path("f")));
        QVERIFY2(clock.elapsed() >= 1900 && clock.elapsed() < 5000,
                 qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(Record(), QStringList({"xdg-open", directory_->path()}));
        const auto group = static_cast<pid_t>(ContentOf(Path("pid")).trimmed().toInt());
        QVERIFY(group > 0);
        QTRY_VERIFY(::kill(-group, 0) != 0); // nothing of it is left
    }

    void whatLinuxLacksIsLogged()
    {
        const RecordingLogger log;
        Shell::Is64BitSystem();
        Shell::DesktopPath();
        Shell::StartMenuPath();
        Shell::ProcessModules("init");
        Shell::ProcessExists("init");
        Shell::ProcessKill("x");
        Shell::ProcessWait("x", 1);
        QStringList expected;
        for (const char* name : {"Is64BitSystem", "DesktopPath", "StartMenuPath", "ProcessModules",
                                 "ProcessExists", "ProcessKill", "ProcessWait"})
            expected << QString("2 common.shell %1: Shell::%1() not implemented!").arg(name);
        QCOMPARE(log.Lines(), expected);
        QCOMPARE(log.Files(), QStringList("src/libs/common/shell/unix/shell"));
    }
};

QTEST_GUILESS_MAIN(TestShell)
#include "tst_shell.moc"
