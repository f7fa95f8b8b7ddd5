#include <common/shell/filecopier.h>
#include <common/shell/fileremover.h>

#include "support/tree.h"

#include <QDir>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <thread>

using common::FileCopier;
using common::FileRemover;

namespace {

constexpr int rounds = 200;

int ThreadCount()
{
    return QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
}

// The two front objects under one set of names.

struct CopyJob
{
    using Front = FileCopier;
    static void Add(Front& front, const QString& root)
    {
        static int number = 0; // an earlier job may still be at work on its tree
        front.AddDirectory(root + "/s", root + "/d" + QString::number(++number));
    }
    static void Start(Front& front) { front.Copy(); }
};

struct RemoveJob
{
    using Front = FileRemover;
    static void Add(Front& front, const QString& root)
    {
        static int number = 0;
        const QString tree = root + "/r" + QString::number(++number);
        MakeTree(tree, {"f=1", "a/g=2", "a/b/h=3"});
        front.AddDirectory(tree);
    }
    static void Start(Front& front) { front.Remove(); }
};

} // namespace

// Jobs ended at random moments: nothing may crash, hang, leak or report twice.
class TestJobLifetime : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir directory_;

    // Lets some time pass, with the event loop or without.
    static void Wait(QRandomGenerator& random)
    {
        const int microseconds = int(random.bounded(1500));
        if (random.bounded(2) == 0)
            QTest::qWait(microseconds / 500);
        else
            QThread::usleep(static_cast<unsigned long>(microseconds));
    }

    template <typename Job>
    void Play(quint32 seed)
    {
        QRandomGenerator random(seed);
        for (int round = 0; round < rounds; ++round) {
            auto front = std::make_unique<typename Job::Front>();
            QSignalSpy succesed(front.get(), &Job::Front::succesed);
            QSignalSpy failed(front.get(), &Job::Front::failed);
            Job::Add(*front, directory_.path());
            Job::Start(*front);
            Wait(random);
            switch (random.bounded(5)) {
            case 0:
                break; // destroyed as it is
            case 1:
                front.release()->deleteLater();
                break;
            case 2:
                front->Abort(random.bounded(2) == 0);
                break;
            case 3:
                front->Abort(random.bounded(2) == 0);
                Q_FALLTHROUGH();
            case 4: {
                const int before = succesed.size() + failed.size();
                Job::Start(*front);
                QTRY_VERIFY(succesed.size() + failed.size() > before);
                QTest::qWait(1);
                QCOMPARE(succesed.size() + failed.size(), before + 1);
                QCOMPARE(failed.size(), 0);
            }
            }
            if (random.bounded(2) == 0)
                QTest::qWait(0);
        }
        QTRY_COMPARE(ThreadCount(), threads_);
    }

    // A new job is started from the handler of the first one's end.
    template <typename Job>
    void RestartFromHandler()
    {
        typename Job::Front front;
        Job::Add(front, directory_.path());
        int ends = 0;
        connect(&front, &Job::Front::succesed, this, [&] {
            if (++ends < 50)
                Job::Start(front);
        });
        Job::Start(front);
        QTRY_COMPARE(ends, 50);
        QTest::qWait(5);
        QCOMPARE(ends, 50);
    }

    // On a thread without an event loop no deferred deletion is ever carried out.
    template <typename Job>
    void WithoutEventLoop()
    {
        std::thread([this] {
            for (int round = 0; round < 20; ++round) {
                typename Job::Front front;
                Job::Add(front, directory_.path());
                Job::Start(front);
                if (round % 3 == 1)
                    front.Abort(round % 2 == 0);
                if (round % 3 == 2)
                    Job::Start(front);
            }
        }).join();
        QTRY_COMPARE(ThreadCount(), threads_);
    }

    int threads_ = 0;

private Q_SLOTS:
    void initTestCase()
    {
        MakeTree(directory_.path() + "/s", {"f=1", "a/g=2", "a/b/h=3", "a/l->g"});
        threads_ = ThreadCount();
    }

    void copyAtRandomMoments() { Play<CopyJob>(1); }
    void removeAtRandomMoments() { Play<RemoveJob>(2); }
    void copyFromHandler() { RestartFromHandler<CopyJob>(); }
    void removeFromHandler() { RestartFromHandler<RemoveJob>(); }
    void copyWithoutEventLoop() { WithoutEventLoop<CopyJob>(); }
    void removeWithoutEventLoop() { WithoutEventLoop<RemoveJob>(); }
};

QTEST_GUILESS_MAIN(TestJobLifetime)
#include "tst_joblifetime.moc"
