#include <common/http/filedownload.h>
#include <common/shell/filecopier.h>
#include <common/shell/filehelper.h>
#include <common/shell/fileremover.h>
#include <common/shell/shell.h>
#include <common/tools/jsonfile/jsonfile.h>

#include "support/filefaults.h"
#include "support/scriptedserver.h"
#include "support/tree.h"

#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <limits>
#include <random>

#include <unistd.h>

using namespace filefaults;
using loopback::Reply;
using tools::JsonFile;

namespace {

namespace fs = std::filesystem;

constexpr int forEver = std::numeric_limits<int>::max();

const QByteArray large = QByteArray("0123456789abcde\n").repeated(2500);

bool IsLong()
{
    return qEnvironmentVariableIsSet("QVCOMMON_LONG_TESTS");
}

/** What is there by path: "/" is a directory, "-> target" a link, "=content" a file. */
using Snapshot = QMap<QString, QByteArray>;

Snapshot Look(const QString& root)
{
    Snapshot found;
    const fs::path top = root.toStdString();
    for (const auto& entry : fs::recursive_directory_iterator(top)) {
        const auto path = QString::fromStdString(entry.path().string());
        const auto name = QString::fromStdString(entry.path().lexically_relative(top).string());
        if (entry.is_symlink())
            found[name] =
                "-> " + QByteArray::fromStdString(fs::read_symlink(entry.path()).string());
        else
            found[name] = entry.is_directory() ? QByteArray("/") : '=' + ContentOf(path);
    }
    return found;
}

/** Something the library does below a directory; tells whether the library says that it worked. */
struct Job
{
    const char* name;
    QStringList tree;
    std::function<bool(const QString& root)> run;
    bool inPlace = false; ///< a failure may leave a part of the new content
    bool extras = true;   ///< of the file system
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

bool CopyOneByOne(const QString& root)
{
    return common::Shell::Copy(common::Shell::ScanFiles(root + "/source", {}), root + "/source",
                               root + "/copy", true);
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

bool Save(const QString& root, const QString& key)
{
    const QJsonObject settings{{"text", QString::fromLatin1(large)}};
    return JsonFile(root + "/new/settings.json", settings, key).Save() &&
           JsonFile(root + "/settings.json", settings, key).Save();
}

bool Load(const QString& root)
{
    JsonFile file(root + "/settings.json");
    if (!file.Load())
        return false;
    if (file.object() != QJsonObject{{"number", 1}})
        qFatal("something else was loaded");
    return true;
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

const QStringList source = {"source/a=small",          "source/big=" + QString::fromLatin1(large),
                            "source/sub/tool:755=run", "source/empty/",
                            "source/link->sub/tool",   "source/dirlink->sub",
                            "source/dangling->none",   "outside=kept"};
const QStringList old = {"copy/a=old", "copy/big=" + QString::fromLatin1(large).toUpper(),
                         "copy/link=old", "copy/sub/other=kept"};
const QStringList tree = {"tree/a=1",          "tree/sub/b=2",  "tree/empty/",
                          "tree/link->../out", "out/kept=kept", "file=3"};

const QList<Job> jobs = {
    {"copy", source, CopyTree},
    {"copy over old files", source + old, CopyTree},
    {"copy on a plain file system", source + old, CopyTree, false, false},
    {"copy one by one", source.mid(0, 3) + old, CopyOneByOne},
    {"remove", tree + QStringList{"tree/dangling->none"}, RemoveTree},
    {"remove at once", tree, RemoveAtOnce},
    {"save", {"settings.json={}"}, [](auto& root) { return Save(root, {}); }, true},
    {"save with a key", {"settings.json={}"}, [](auto& root) { return Save(root, "key"); }, true},
    {"load", {"settings.json={\"number\": 1}"}, Load},
    {"download", {"new/target=old"}, Download, true},
};

auto FindJob(const QString& name)
{
    return std::find_if(jobs.cbegin(), jobs.cend(),
                        [&](const Job& job) { return job.name == name; });
}

// What QFile::copy() writes to first, where the file system has no nameless files.
Snapshot WithoutTemporaries(Snapshot found)
{
    for (const QString& path : found.keys()) {
        if (path.contains("qt_temp."))
            found.remove(path);
    }
    return found;
}

/** What a run left that it must not have; empty if it did well. */
QStringList Damage(const Job& job, const Snapshot& before, const Snapshot& meant,
                   const Snapshot& found)
{
    QStringList damage;
    Snapshot places = before;
    for (auto it = meant.cbegin(); it != meant.cend(); ++it)
        places[it.key()] = it.value();
    for (auto it = places.cbegin(); it != places.cend(); ++it) {
        const QByteArray was = before.value(it.key());
        const QByteArray willBe = meant.value(it.key());
        const QByteArray is = found.value(it.key()); // empty where nothing is
        const bool isAllowed =
            is == willBe || is.isEmpty() || (job.inPlace && willBe.startsWith(is));
        if (is != was && (was == willBe || !isAllowed))
            damage << "damaged: " + it.key();
    }
    for (auto it = found.cbegin(); it != found.cend(); ++it) {
        if (!places.contains(it.key()))
            damage << "left over: " + it.key();
    }
    return damage;
}

} // namespace

class TestFileFaults : public QObject
{
    Q_OBJECT

private:
    QScopedPointer<QTemporaryDir> directory_;
    Snapshot before_;
    Snapshot meant_; // what an undisturbed run makes of it
    int failures_[Any + 1] = {};
    int runs_ = 0;
    int kills_ = 0;

    QString Root() const { return directory_->path(); }

    void Prepare(const Job& job)
    {
        // In memory where possible: a busy disk makes thousands of runs slow.
        const QFileInfo memory("/dev/shm");
        directory_.reset(new QTemporaryDir(
            (memory.isWritable() ? memory.filePath() : QDir::tempPath()) + "/filefaults"));
        MakeTree(Root(), job.tree);
        AllowExtras(job.extras);
    }

    void RunUndisturbed(const Job& job)
    {
        Prepare(job);
        before_ = Look(Root());
        QVERIFY(job.run(Root()));
        meant_ = Look(Root());
    }

    static void Report(const Job& job, const Fault& fault, const QStringList& damage)
    {
        if (damage.isEmpty())
            return;
        qWarning("%s: calls %d to %d to %s with error %d", job.name, fault.from, fault.to,
                 NameOf(fault.call), fault.error);
        qWarning("%s", qPrintable(damage.join('\n')));
        [] {
            QFAIL("see above");
        }();
    }

    // Runs the job in a process that is killed at that call, or after so many microseconds, and then
    // again. Whether it was still running.
    bool RunKilled(const Job& job, int call, unsigned int delay)
    {
        Prepare(job);
        QProcess process;
        process.start(QCoreApplication::applicationFilePath(),
                      {"--job", job.name, Root(), QString::number(call)});
        process.waitForReadyRead(); // it has begun
        if (call == forEver) {
            usleep(delay);
            process.kill();
        }
        process.waitForFinished(-1);
        if (process.exitStatus() != QProcess::CrashExit)
            return false;
        ++kills_;
        QStringList damage = Damage(job, before_, meant_, WithoutTemporaries(Look(Root())));
        if (!job.run(Root()) || WithoutTemporaries(Look(Root())) != meant_)
            damage << "a second run did not mend it";
        Report(job, {Any, KillSelf, call, call}, damage);
        return true;
    }

    // Whether any call has failed.
    bool RunWith(const Job& job, const Fault& fault)
    {
        ++runs_;
        Prepare(job);
        Arm(QFile::encodeName(Root()), fault);
        const bool succeeded = job.run(Root());
        const int failures = Disarm();
        failures_[fault.call] += failures;
        const bool isDiskGone = fault.call == Any && fault.to == forEver;
        const Snapshot found = isDiskGone ? WithoutTemporaries(Look(Root())) : Look(Root());
        QStringList damage = Damage(job, before_, meant_, found);
        if (succeeded && found != meant_)
            damage << "told success";
        Report(job, fault, damage);
        return failures > 0;
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
        RunUndisturbed(job);
        const QList<int> errors =
            IsLong() ? QList<int>{EIO, ENOSPC, EACCES, EINTR, Short} : QList<int>{EIO, Short};
        for (int call = 0; call <= Any; ++call) {
            for (const int error : errors) {
                int n = 1;
                while (RunWith(job, {Call(call), error, n, n}))
                    ++n;
                // A call that is interrupted is made again, for ever.
                for (int from = 1; from < n && error != EINTR; ++from)
                    RunWith(job, {Call(call), error, from, forEver});
            }
        }
    }

    void killedAtEachCall_data() { eachCallFails_data(); }

    void killedAtEachCall()
    {
        QFETCH(int, number);
        RunUndisturbed(jobs[number]);
        for (int call = 1; RunKilled(jobs[number], call, 0); call += IsLong() ? 1 : 7) {
        }
    }

    void killedAtRandomMoments()
    {
        if (!IsLong())
            QSKIP("QVCOMMON_LONG_TESTS is not set");
        const unsigned int seed = qEnvironmentVariableIntValue("QVCOMMON_SEED");
        qInfo("QVCOMMON_SEED=%u", seed);
        std::mt19937 random(seed);
        QStringList many{"source/large=" + QString::fromLatin1(large.repeated(50))};
        for (int i = 0; i < 200; ++i)
            many << QStringLiteral("source/%1/%2=%2").arg(i % 10).arg(i);
        for (const Job& job : {Job{"copy", many, CopyTree}, *FindJob("save")}) {
            QElapsedTimer clock;
            RunUndisturbed(job);
            clock.start();
            RunUndisturbed(job);
            const auto longest = static_cast<unsigned int>(clock.nsecsElapsed() / 1000);
            for (int i = 0; i < 200; ++i)
                RunKilled(job, forEver, random() % longest);
        }
    }

    void cleanupTestCase()
    {
        QString counts;
        for (int call = 0; call <= Any; ++call)
            counts += QStringLiteral(" %1 %2").arg(NameOf(Call(call))).arg(failures_[call]);
        qInfo("%d runs, %d kills; failed calls:%s", runs_, kills_, qPrintable(counts));
    }
};

// --job NAME DIRECTORY CALL: does that job and is killed at that call.
int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) != "--job") {
        TestFileFaults test;
        return QTest::qExec(&test, argc, argv);
    }
    const Job& job = *FindJob(arguments.value(2));
    AllowExtras(job.extras);
    puts("begins");
    fflush(stdout);
    const int call = arguments.value(4).toInt();
    Arm(QFile::encodeName(arguments.value(3)), {Any, KillSelf, call, call});
    return job.run(arguments.value(3)) ? 0 : 1;
}

#include "tst_filefaults.moc"
