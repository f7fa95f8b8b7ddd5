#include <common/shell/shell.h>

#include "support/recordinglogger.h"
#include "support/tree.h"

#include <QtTest>

#include <csignal>
#include <optional>

#include <unistd.h>

using common::Shell;

class TestShell : public QObject
{
    Q_OBJECT

private:
    // The current directory, whose bin is the only one on PATH once there is a program in it.
    std::optional<CurrentTree> directory_;
    const QByteArray path_ = qgetenv("PATH");

    QString Path(const QString& name) const { return directory_->filePath(name); }

    void Script(const QString& name, const QString& body) const
    {
        MakeTree(".", {"bin/" + name + ":755=#!/bin/sh\n" + body + '\n'});
        qputenv("PATH", Path("bin").toUtf8());
    }

    // A program that writes down what it is called with.
    void RecordingScript(const QString& name) const
    {
        Script(name, QString("/usr/bin/printf '%s\\n' " + name +
                             " \"$@\" > '%1.new'\n"
                             "exec /bin/mv '%1.new' '%1'")
                         .replace("%1", Path("record")));
    }

    QString Record() const
    {
        return QTest::qWaitFor([&] { return QFile::exists(Path("record")); })
                   ? ContentOf(Path("record"))
                   : QString();
    }

private Q_SLOTS:
    void init() { directory_.emplace(); }

    void cleanup() { qputenv("PATH", path_); }

    void copyOne()
    {
        const QString copy = "Copy file ";
        for (const auto& [source, destination, failure] : std::vector<std::array<QString, 3>>{
                 {"a", "b"},
                 {":/qpdf/qpdfa_metadata.xml", "b"},
                 {"a", "hard", copy},
                 {"a", "link", copy},
                 {"here:a", "a", copy},
                 {"fifo", "b", copy},
                 {"a", "d", "Failed to remove file "},
                 {"a", "b/c", "Failed to create path "},
             }) {
            directory_.emplace(QStringList{"a:600=new", "b=old", "d/f=kept", "link->a", "fifo|"});
            QVERIFY(::link("a", "hard") == 0);
            QDir::setSearchPaths("here", {directory_->path()});
            const QStringList before = DescribeTree(".");
            const RecordingLogger log;
            QCOMPARE(Shell::Copy(source, destination, true), failure.isEmpty());
            if (failure.isEmpty()) {
                QCOMPARE(ContentOf(destination), ContentOf(source));
                QVERIFY(source != "a" || !(QFile::permissions(destination) & 0x0077));
                QCOMPARE(log.Lines(), QStringList());
                continue;
            }
            QVERIFY(log.Lines()[0].startsWith("3 common.shell Copy: " + failure));
            QCOMPARE(log.Lines().last(),
                     QString("3 common.shell Copy: Copy file '%1' to '%2' failed!")
                         .arg(source, destination));
            QCOMPARE(DescribeTree("."), before);
        }
    }

    void copyList()
    {
        MakeTree(".", {"s/a=1", "s/b/c=2", "s/e=3", "t/b/c=old"});
        const QStringList files = {Path("s/a"), Path("s/b/c"), Path("s/e")};
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
            files.replaceInStrings(directory_->path() + '/', "").sort();
            return files.join(' ');
        };
        QCOMPARE(scan({}), "A.TXT b.bin other/c.txt sub.txt/d.txt sub.txt/e.bin sub/c.txt");
        QCOMPARE(scan({"*.txt"}), "A.TXT sub.txt/d.txt");
    }

    void whatLinuxLacks()
    {
        const RecordingLogger log;
        QVERIFY(!Shell::Is64BitSystem() &&
                (Shell::DesktopPath() + Shell::StartMenuPath()).isEmpty());
        QVERIFY(Shell::ProcessModules({}).isEmpty() && !Shell::ProcessExists({}));
        QVERIFY(!Shell::ProcessKill({}) && !Shell::ProcessWait({}, 1));
        QCOMPARE(log.Lines("2 common.shell").filter("() not implemented!").size(), 7);
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
        QVERIFY(Shell::RemoveAfterExit("missing") && Shell::RemoveAfterExit(QString()));
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

    // As the desktop file of the handler of directories wants it.
    void showFile()
    {
        for (const auto& [handler, started] : std::vector<std::array<QString, 2>>{
                 {"dolphin.desktop", "dolphin\n--select\nFILE\n"},
                 {" org.kde.dolphin.desktop \n second line", "dolphin\n--select\nFILE\n"},
                 {"nautilus.desktop", "nautilus\nFILE\n"},
                 {"org.gnome.Nautilus.desktop", "nautilus\nFILE\n"},
                 {"nautilus-folder-handler.desktop", "nautilus\nFILE\n"},
                 {"nemo.desktop", "nemo\n--no-desktop\nFILE\n"},
                 {"konqueror.desktop", "konqueror\n--select\nFILE\n"},
                 {"kfmclient_dir.desktop", "konqueror\n--select\nFILE\n"},
                 {"thunar.desktop", "xdg-open\nDIRECTORY\n"},
             }) {
            init();
            const QString folder = Path("Zoë's \"best\" $files");
            const QString file = "a b%1.txt";
            MakeTree(folder, {file + '='});
            Script("xdg-mime",
                   "[ \"$*\" = 'query default inode/directory' ] && echo '" + handler + '\'');
            for (const char* program : {"dolphin", "nautilus", "nemo", "konqueror", "xdg-open"})
                RecordingScript(program);
            QDir::setCurrent(folder);
            QVERIFY(Shell::ShowFile(file));
            QCOMPARE(Record().replace(folder + '/' + file, "FILE").replace(folder, "DIRECTORY"),
                     started);
        }
    }

    void showFileWithoutHelp()
    {
        const RecordingLogger log;
        Script("other", "");
        QVERIFY(!Shell::ShowFile(Path("f")));
        QCOMPARE(log.Lines(), QStringList("3 common.shell ShowFile: Failed to launch 'xdg-open " +
                                          directory_->path() + '\''));

        Script("xdg-mime", "echo $$ > '" + Path("pid") + "'; /bin/sleep 30");
        RecordingScript("xdg-open");
        QElapsedTimer clock;
        clock.start();
        QVERIFY(Shell::ShowFile(Path("f")));
        QVERIFY(clock.elapsed() >= 1900 && clock.elapsed() < 5000);
        QCOMPARE(Record(), "xdg-open\n" + directory_->path() + '\n');
        const auto group = static_cast<pid_t>(ContentOf(Path("pid")).trimmed().toInt());
        QVERIFY(group > 0);
        QTRY_VERIFY(::kill(-group, 0) != 0); // nothing of it is left
    }
};

QTEST_GUILESS_MAIN(TestShell)
#include "tst_shell.moc"
