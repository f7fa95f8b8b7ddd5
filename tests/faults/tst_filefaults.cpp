#include <common/http/filedownload.h>
#include <common/shell/filecopier.h>
#include <common/shell/filehelper.h>
#include <common/shell/fileremover.h>
#include <common/tools/jsonfile/jsonfile.h>

#include "support/filefaults.h"
#include "support/scriptedserver.h"
#include "support/tree.h"

#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <functional>
#include <limits>

using namespace filefaults;
using loopback::Reply;
using tools::JsonFile;

namespace {

constexpr int forEver = std::numeric_limits<int>::max();

const QByteArray large = QByteArray("0123456789abcde\n").repeated(2500);
const QString content = QString::fromLatin1(large);

/** Something the library does below a directory; tells whether the library says that it worked. */
struct Job
{
    const char* name;
    QStringList before; ///< what is there, and ...
    QStringList after;  ///< ... what is to be there, but for directories
    std::function<bool(const QString& root)> run;
    bool inPlace = false; ///< a failure may leave a part of the new content
    bool nameless = true; ///< files
};

template <typename Front>
bool Await(Front& front)
{
    QEventLoop loop;
    bool succeeded = false;
    QObject::connect(&front, &Front::succesed, &loop, [&] {
        succeeded = true;
        loop.quit();
    });
    QObject::connect(&front, &Front::failed, &loop, &QEventLoop::quit);
    loop.exec();
    return succeeded;
}

bool CopyTree(const QString& root)
{
    common::FileCopier copier;
    copier.AddDirectory(root + "/source", root + "/copy");
    copier.Copy();
    return Await(copier);
}

bool RemoveTree(const QString& root)
{
    common::FileRemover remover;
    remover.AddDirectory(root + "/tree");
    remover.AddFile(root + "/file");
    remover.Remove();
    return Await(remover);
}

bool RemoveAtOnce(const QString& root)
{
    return common::FileHelper(root + "/tree").Remove();
}

bool Save(const QString& root)
{
    const QJsonObject settings{{"text", content}};
    return JsonFile(root + "/settings.json", settings).Save();
}

bool Download(const QString& root)
{
    static ScriptedServer server;
    static QNetworkAccessManager manager;
    server.Script("/file", {Reply::Ok(large)});
    const QScopedPointer<common::http::IFileDownload> download(
        common::http::CreateFileDownload(&manager, nullptr));
    download->SetUrl(server.Url("/file"));
    download->SetFileName(root + "/new/target");
    download->SetExpectedSize(large.size());
    download->SetExpectedMD5(QCryptographicHash::hash(large, QCryptographicHash::Md5).toHex());
    QSignalSpy complete(download.data(), &common::http::IFileDownload::complete);
    QSignalSpy failed(download.data(), &common::http::IFileDownload::failed);
    download->Start();
    while (complete.isEmpty() && failed.isEmpty())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return !complete.isEmpty();
}

const QStringList source = {"source/a=small", "source/big=" + content, "source/sub/tool:755=run",
                            "source/link->sub/tool"};
const QStringList old = {"copy/a=old", "copy/big=" + content.toUpper(), "copy/link=old",
                         "copy/sub/other=kept"};
const QStringList copied =
    source + QStringList{"copy/a=small", "copy/big=" + content, "copy/link->sub/tool",
                         "copy/sub/other=kept", "copy/sub/tool:755=run"};
const QStringList tree = {"tree/a=1", "tree/sub/b=2", "tree/link->../out", "out/kept=kept"};
const QString json = QString::fromUtf8(
    QJsonDocument(QJsonObject{{"text", content}}).toJson(QJsonDocument::Indented));

const QList<Job> jobs = {
    {"copy", source + old, copied, CopyTree},
    {"copy without nameless files", source + old, copied, CopyTree, false, false},
    {"remove", tree + QStringList("file=3"), {"out/kept=kept"}, RemoveTree},
    {"remove at once", tree, {"out/kept=kept"}, RemoveAtOnce},
    {"save", {"settings.json={}"}, {"settings.json=" + json}, Save, true},
    {"download", {"new/target=old"}, {"new/target=" + content}, Download, true},
};

/** Files and links by their names, from the lines that describe them. */
QMap<QString, QString> ByName(const QStringList& lines)
{
    QMap<QString, QString> found;
    for (const QString& line : lines) {
        if (!line.endsWith('/'))
            found[line.section(QRegularExpression("->|=|:"), 0, 0)] = line;
    }
    return found;
}

/** What a run left that it must not have; empty if it did well. */
QStringList Damage(const Job& job, const QStringList& lines, bool succeeded)
{
    const auto before = ByName(job.before);
    const auto after = ByName(job.after);
    const auto found = ByName(lines);
    QStringList damage;
    for (const QString& name : before.keys() + after.keys() + found.keys()) {
        const QString is = found.value(name);
        const bool isPart = job.inPlace && after.value(name).startsWith(is.section('=', 0, 0));
        const bool isWell = is == after.value(name) || (!succeeded && is == before.value(name));
        if (!isWell && (succeeded || !isPart))
            damage << name + ": " + is.left(60);
    }
    return damage;
}

} // namespace

class TestFileFaults : public QObject
{
    Q_OBJECT

private:
    QScopedPointer<QTemporaryDir> directory_;
    int runs_ = 0;
    int kills_ = 0;

    QString Root() const { return directory_->path(); }

    void Prepare(const Job& job)
    {
        // In memory where possible: a busy disk makes thousands of runs slow.
        const QFileInfo memory("/dev/shm");
        directory_.reset(new QTemporaryDir(
            (memory.isWritable() ? memory.filePath() : QDir::tempPath()) + "/filefaults"));
        MakeTree(Root(), job.before);
        AllowNameless(job.nameless);
    }

    static void Report(const Job& job, const Fault& fault, const QStringList& damage)
    {
        QVERIFY2(damage.isEmpty(),
                 qPrintable(QString("%1: calls %2 to %3 of kind %4 with error %5\n%6")
                                .arg(job.name)
                                .arg(fault.from)
                                .arg(fault.to)
                                .arg(fault.call)
                                .arg(fault.error)
                                .arg(damage.join('\n'))));
    }

    // Whether any call has failed.
    bool RunWith(const Job& job, const Fault& fault)
    {
        ++runs_;
        Prepare(job);
        Arm(QFile::encodeName(Root()), fault);
        const bool succeeded = job.run(Root());
        const int failures = Disarm();
        Report(job, fault, Damage(job, DescribeTree(Root()), succeeded));
        return failures > 0;
    }

    static QStringList WithoutTemporaries(const QStringList& lines)
    {
        return lines.filter(QRegularExpression("^(?!.*(qt_temp|[.]qvcopy-))"));
    }

    // Runs the job in a process that is killed at that call, and then again. Whether it was killed.
    bool RunKilled(int number, int call)
    {
        const Job& job = jobs[number];
        Prepare(job);
        QProcess process;
        process.start(QCoreApplication::applicationFilePath(),
                      {"--job", QString::number(number), Root(), QString::number(call)});
        process.waitForFinished(-1);
        if (process.exitStatus() != QProcess::CrashExit)
            return false;
        ++kills_;
        const Fault fault{Any, KillSelf, call, call};
        Report(job, fault, Damage(job, WithoutTemporaries(DescribeTree(Root())), false));
        Report(job, fault,
               job.run(Root()) ? Damage(job, DescribeTree(Root()), true)
                               : QStringList("fails afterwards"));
        return true;
    }

private Q_SLOTS:
    void eachCallFails_data()
    {
        QTest::addColumn<int>("number");
        for (int i = 0; i < jobs.size(); ++i)
            QTest::newRow(jobs[i].name) << i;
    }

    void eachCallFails()
    {
        QFETCH(int, number);
        const Job& job = jobs[number];
        Prepare(job);
        QVERIFY(job.run(Root()));
        Report(job, {}, Damage(job, DescribeTree(Root()), true));
        for (int call = 0; call <= Any; ++call) {
            for (const int error : {EIO, EINTR, Short}) {
                int n = 1;
                while (RunWith(job, {Call(call), error, n, n}))
                    ++n;
                // A call that is interrupted is made again, for ever; a disk that goes away may
                // keep what is only for a while.
                for (int from = 1; from < n && error != EINTR && call < Remove; ++from)
                    RunWith(job, {Call(call), error, from, forEver});
            }
        }
    }

    void killedAtEachCall_data() { eachCallFails_data(); }

    void killedAtEachCall()
    {
        QFETCH(int, number);
        const int step = qEnvironmentVariableIsSet("QVCOMMON_LONG_TESTS") ? 1 : 3;
        for (int call = 1; RunKilled(number, call); call += step) {
        }
    }

    void cleanupTestCase() { qInfo("%d runs, %d kills", runs_, kills_); }
};

// --job NUMBER DIRECTORY CALL: does that job and is killed at that call.
int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) != "--job") {
        TestFileFaults test;
        return QTest::qExec(&test, argc, argv);
    }
    const Job& job = jobs[arguments.value(2).toInt()];
    AllowNameless(job.nameless);
    const int call = arguments.value(4).toInt();
    Arm(QFile::encodeName(arguments.value(3)), {Any, KillSelf, call, call});
    return job.run(arguments.value(3)) ? 0 : 1;
}

#include "tst_filefaults.moc"
