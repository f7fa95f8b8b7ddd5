#include <common/shell/filecommands.h>

#include "support/cases.h"
#include "support/recordinglogger.h"
#include "support/tree.h"

#include <QElapsedTimer>
#include <QTemporaryDir>

using common::FileCommands;

namespace {

struct CommandCase
{
    const char* name;
    QString obstacle;
    QString instead; // takes the place of the obstacle for the command to succeed
    QString failure;
    QString after = {};
};

bool Run(const QString& command, QDir root)
{
    QFile file(root.filePath("file%1"));
    if (command == "RenameDirectory")
        return FileCommands::RenameDirectory(root, "dir%1", "new");
    if (command == "RemoveDirectory")
        return FileCommands::RemoveDirectory(root, "dir%1");
    if (command == "CreateDirectory")
        return FileCommands::CreateDirectory(root, "a/b");
    if (command == "RemoveFile")
        return FileCommands::RemoveFile(file);
    if (command == "CopyFile")
        return FileCommands::CopyFile(file, root.filePath("copy"));
    return FileCommands::CreateSymlink("a/b", root.filePath("link"));
}

} // namespace

class TestFileCommands : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void command_data()
    {
        AddCases<CommandCase>({
            {"RenameDirectory", "new/x=", "dir%1/", "rename directory 'dir%1' to 'new'", "new/"},
            {"RemoveDirectory", "dir%1/x=", "dir%1/", "remove directory 'dir%1'"},
            {"CreateDirectory", "a=", "a/", "create directory 'a/b'", "a/ a/b/"},
            {"RemoveFile", "file%1/", "file%1=", "remove file 'ROOT/file%1'"},
            {"CopyFile", "copy=", "file%1=x", "copy file 'ROOT/file%1' to 'ROOT/copy'",
             "copy=x file%1=x"},
            {"CreateSymlink", "link=", "a/", "create link 'ROOT/link' --> 'a/b'", "a/ link->a/b"},
        });
    }

    void command()
    {
        const auto& row = CurrentCase<CommandCase>();
        const QTemporaryDir directory;
        const QDir root(directory.path());
        QStringList lines;
        for (int attempt = 1; attempt <= 5; ++attempt)
            lines << QString("4 shell.filecmd %1: Failed to %2, attempt '%3'")
                         .arg(row.name, QString(row.failure).replace("ROOT", root.path()),
                              QString::number(attempt));
        MakeTree(root.path(), {row.obstacle});
        RecordingLogger log;
        QElapsedTimer clock;
        clock.start();
        QVERIFY(!Run(row.name, root));
        QVERIFY(clock.elapsed() >= 200);
        QCOMPARE(log.Lines(), lines);

        log.SetListener([&](const QString& line) {
            if (line != lines[1])
                return;
            const QString path = root.filePath(row.obstacle.split(QRegularExpression("[/=]"))[0]);
            QDir(path).removeRecursively();
            QFile::remove(path);
            MakeTree(root.path(), {row.instead});
        });
        clock.start();
        QVERIFY(Run(row.name, root));
        QVERIFY(clock.elapsed() >= 100);
        QCOMPARE(log.Lines(), lines + lines.mid(0, 2));
        QCOMPARE(DescribeTree(root.path()), row.after.split(' ', Qt::SkipEmptyParts));
    }
};

QTEST_GUILESS_MAIN(TestFileCommands)
#include "tst_filecommands.moc"
