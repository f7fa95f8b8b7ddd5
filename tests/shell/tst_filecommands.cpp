#include <common/shell/filecommands.h>

#include "support/recordinglogger.h"
#include "support/tree.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QtTest>

#include <functional>

using common::FileCommands;

namespace {

using Command = std::function<bool(const QString& root)>;

} // namespace

Q_DECLARE_METATYPE(Command)

class TestFileCommands : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Each command with what stands in its way, and what takes that place for it to succeed.
    void command_data()
    {
        QTest::addColumn<Command>("command");
        QTest::addColumn<QString>("obstacle");
        QTest::addColumn<QStringList>("instead");
        QTest::addColumn<QString>("failure");
        const auto row = [](const char* name, const Command& command, const char* obstacle,
                            const QStringList& instead, const char* failure) {
            QTest::newRow(name) << command << obstacle << instead << failure;
        };
        const Command rename = [](const QString& root) {
            QDir dir(root);
            return FileCommands::RenameDirectory(dir, "old", "new%1");
        };
        const Command removeDirectory = [](const QString& root) {
            QDir dir(root);
            return FileCommands::RemoveDirectory(dir, "dir");
        };
        const Command createDirectory = [](const QString& root) {
            QDir dir(root);
            return FileCommands::CreateDirectory(dir, "a/b/c");
        };
        const Command removeFile = [](const QString& root) {
            QFile file(root + "/file%1");
            return FileCommands::RemoveFile(file);
        };
        const Command copyFile = [](const QString& root) {
            QFile file(root + "/source");
            return FileCommands::CopyFile(file, root + "/copy");
        };
        const Command createLink = [](const QString& root) {
            return FileCommands::CreateSymlink("a/b", root + "/link");
        };
        row("RenameDirectory", rename, "new%1/x=", {"old/"},
            "Failed to rename directory 'old' to 'new%1'");
        row("RemoveDirectory", removeDirectory, "dir/x=", {"dir/"},
            "Failed to remove directory 'dir'");
        row("CreateDirectory", createDirectory, "a=", {}, "Failed to create directory 'a/b/c'");
        row("RemoveFile", removeFile, "file%1/", {"file%1="},
            "Failed to remove file 'ROOT/file%1'");
        row("CopyFile", copyFile, "copy=", {"source=x"},
            "Failed to copy file 'ROOT/source' to 'ROOT/copy'");
        row("CreateSymlink", createLink, "link=", {},
            "Failed to create link 'ROOT/link' --> 'a/b'");
    }

    void command()
    {
        QFETCH(Command, command);
        QFETCH(QString, obstacle);
        QFETCH(QStringList, instead);
        QFETCH(QString, failure);
        const QTemporaryDir directory;
        const QString root = directory.path();
        failure.replace("ROOT", root);
        const auto line = [&](int attempt) {
            return QString("4 shell.filecmd %1: %2, attempt '%3'")
                .arg(QTest::currentDataTag(), failure, QString::number(attempt));
        };
        const auto clear = [&] {
            const QString path = root + '/' + obstacle.split(QRegularExpression("[/=]")).first();
            QDir(path).removeRecursively();
            QFile::remove(path);
            MakeTree(root, instead);
        };

        RecordingLogger log;
        MakeTree(root, {obstacle});
        QElapsedTimer clock;
        clock.start();
        QVERIFY(!command(root));
        QVERIFY(clock.elapsed() >= 200);
        QCOMPARE(log.Lines(), QStringList({line(1), line(2), line(3), line(4), line(5)}));

        log.SetListener([&](const QString& text) {
            if (text.endsWith("attempt '2'"))
                clear();
        });
        clock.start();
        QVERIFY(command(root));
        QVERIFY(clock.elapsed() >= 100);
        QCOMPARE(log.Lines().mid(5), QStringList({line(1), line(2)}));

        clear();
        clock.start();
        QVERIFY(command(root));
        QVERIFY(clock.elapsed() < 50);
        QCOMPARE(log.Lines().size(), 7);
        QVERIFY(log.Files() == QStringList("src/libs/common/shell/filecommands"));
    }
};

QTEST_GUILESS_MAIN(TestFileCommands)
#include "tst_filecommands.moc"
