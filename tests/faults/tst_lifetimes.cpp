#include <common/http/filedownload.h>
#include <common/http/httprequestdatamap.h>
#include <common/logger/log.h>
#include <common/shell/filecopier.h>
#include <common/shell/fileremover.h>
#include <qtsingleapplication/qtlocalpeer.h>

#include "support/recordinglogger.h"
#include "support/scriptedserver.h"
#include "support/tree.h"

#include <QDir>
#include <QPointer>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <functional>
#include <memory>
#include <thread>

using namespace common;
using loopback::Reply;

namespace {

constexpr logger::ICategory logCategory{"test.lifetimes"};
constexpr char logSource[] = "tests/faults/tst_lifetimes";

void LogOneLine()
{
    QVLOG(DEBUG) << "from another thread";
}

int ThreadCount()
{
    return QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
}

/**
 * One life of an object under test: random calls, deletions and turns of the event loop, some of
 * them from within the object's own signals.
 */
class Life
{
public:
    using Action = std::function<void()>;

    explicit Life(quint32 seed) : random_(seed) {}
    virtual ~Life() = default;

    void Live()
    {
        const int steps = 3 + Pick(10);
        for (int step = 0; step < steps; ++step)
            Act();
    }

    // More ends than starts, or what else must not be.
    virtual QString Complaint() const
    {
        return ends_ <= starts_ ? QString()
                                : QString("%1 ends of %2 starts").arg(ends_).arg(starts_);
    }

protected:
    int Pick(int count) { return static_cast<int>(random_.bounded(count)); }
    bool Toss() { return Pick(2) == 0; }

    void Started() { ++starts_; }

    // A signal of the object: whoever gets it may do anything, too.
    void OnSignal(bool isEnd)
    {
        ends_ += isEnd ? 1 : 0;
        if (depth_ < 3 && Pick(4) == 0)
            Act();
    }

    virtual void ActOnObject() = 0;

private:
    void Act()
    {
        ++depth_;
        switch (Pick(4)) {
        case 0:
            QTest::qWait(Pick(4));
            break;
        case 1:
            QCoreApplication::processEvents();
            break;
        default:
            ActOnObject();
        }
        --depth_;
    }

    QRandomGenerator random_;
    int depth_ = 0;
    int starts_ = 0;
    int ends_ = 0;
};

// The life of an object that is made, deleted now or later, and made again.
template <typename Object>
class LifeOf : public Life
{
public:
    using Life::Life;
    ~LifeOf() override { delete object_; }

protected:
    virtual Object* Make() = 0;
    virtual void Use(Object& object) = 0;

    void ActOnObject() override
    {
        if (!object_)
            object_ = Make();
        switch (Pick(8)) {
        case 0:
            delete object_;
            break;
        case 1:
            object_->deleteLater();
            object_.clear();
            break;
        default:
            Use(*object_);
        }
    }

    QObject receiver_; // goes before the rest: no signal comes after it

private:
    QPointer<Object> object_;
};

struct Surroundings
{
    ScriptedServer server;
    QNetworkAccessManager manager;
    QTemporaryDir directory;
    int number = 0;

    QUrl Url(int choice)
    {
        static const char* const paths[] = {"/ok", "/slow", "/silent", "/cut", "/busy", "/none"};
        return server.Url(paths[choice % 6]);
    }
};

Surroundings* surroundings = nullptr;

class RequestLife : public LifeOf<http::IHttpRequest>
{
public:
    using LifeOf::LifeOf;

protected:
    http::IHttpRequest* Make() override
    {
        auto* request = http::CreateHttpRequest(&surroundings->manager, nullptr);
        request->SetAttemptIntervalOnNetworkProblem(0);
        request->SetUrl(surroundings->Url(Pick(6)));
        connect(request, &http::IHttpRequest::requestFinishedWithBinaryData,
                [this] { OnSignal(false); });
        connect(request, &http::IHttpRequest::requestFinished, [this] { OnSignal(true); });
        connect(request, &http::IHttpRequest::requestError, [this] { OnSignal(true); });
        connect(request, &http::IHttpRequest::downloadProgress, [this] { OnSignal(false); });
        return request;
    }

    void Use(http::IHttpRequest& request) override
    {
        switch (Pick(6)) {
        case 0:
            request.SetUrl(surroundings->Url(Pick(6)));
            break;
        case 1:
            request.Abort();
            break;
        case 2:
            request.SetTimeout(Pick(2));
            request.SetAttemptCountOnNetworkProblem(Pick(4));
            break;
        default:
            Started();
            request.Send(Toss() ? http::IHttpRequest::GET : http::IHttpRequest::POST);
        }
    }

private:
    template <typename Signal, typename Slot>
    void connect(http::IHttpRequest* request, Signal signal, Slot slot)
    {
        QObject::connect(request, signal, &receiver_, slot);
    }
};

class DownloadLife : public LifeOf<http::IFileDownload>
{
public:
    using LifeOf::LifeOf;

protected:
    http::IFileDownload* Make() override
    {
        auto* download = http::CreateFileDownload(&surroundings->manager, nullptr);
        download->SetUrl(surroundings->Url(Pick(6)));
        download->SetFileName(surroundings->directory.filePath("target"));
        QObject::connect(download, &http::IFileDownload::complete, &receiver_,
                         [this] { OnSignal(true); });
        QObject::connect(download, &http::IFileDownload::failed, &receiver_,
                         [this] { OnSignal(true); });
        QObject::connect(download, &http::IFileDownload::progress, &receiver_,
                         [this] { OnSignal(false); });
        return download;
    }

    void Use(http::IFileDownload& download) override
    {
        switch (Pick(5)) {
        case 0:
            download.SetUrl(surroundings->Url(Pick(6)));
            break;
        case 1:
            download.Abort();
            break;
        case 2:
            download.SetRetryCount(static_cast<unsigned>(Pick(3)));
            download.SetExpectedSize(Toss() ? 2 : 3);
            break;
        default:
            Started();
            download.Start();
        }
    }
};

template <typename Front, bool (Front::*StartJob)()>
class JobLife : public LifeOf<Front>
{
public:
    using LifeOf<Front>::LifeOf;

protected:
    Front* Make() override
    {
        auto* front = new Front;
        Add(*front);
        QObject::connect(front, &Front::progress, &this->receiver_,
                         [this] { this->OnSignal(false); });
        QObject::connect(front, &Front::succesed, &this->receiver_,
                         [this] { this->OnSignal(true); });
        QObject::connect(front, &Front::failed, &this->receiver_, [this] { this->OnSignal(true); });
        return front;
    }

    void Use(Front& front) override
    {
        switch (this->Pick(4)) {
        case 0:
            Add(front);
            break;
        case 1:
            front.Abort(this->Toss());
            break;
        default:
            this->Started();
            (front.*StartJob)();
        }
    }

private:
    // An earlier job may still be at work on its tree.
    static QString Fresh()
    {
        return surroundings->directory.filePath(QString::number(++surroundings->number));
    }

    static void Add(FileCopier& copier)
    {
        copier.AddDirectory(surroundings->directory.filePath("source"), Fresh());
    }

    static void Add(FileRemover& remover)
    {
        const QString tree = Fresh();
        MakeTree(tree, {"f=1", "a/g=2"});
        remover.AddDirectory(tree);
    }
};

using CopierLife = JobLife<FileCopier, &FileCopier::Copy>;
using RemoverLife = JobLife<FileRemover, &FileRemover::Remove>;

// Instances of one application in one process, where nobody can answer a message that is waited for.
class InstanceLife : public LifeOf<QtLocalPeer>
{
public:
    using LifeOf::LifeOf;

protected:
    QtLocalPeer* Make() override
    {
        auto* peer = new QtLocalPeer(nullptr, QString("lifetimes %1").arg(Pick(2)));
        QObject::connect(peer, &QtLocalPeer::messageReceived, &receiver_,
                         [this] { OnSignal(false); });
        return peer;
    }

    void Use(QtLocalPeer& peer) override
    {
        if (Toss())
            peer.isClient();
        else
            peer.sendMessage(QString(Pick(3000), 'x'), Pick(5));
    }
};

// Loggers are set up by one thread only; others may log only in between.
class LoggerLife : public Life
{
public:
    using Life::Life;
    ~LoggerLife() override { logger::SetLogger(nullptr); }

protected:
    void ActOnObject() override
    {
        const QString path = surroundings->directory.filePath("log");
        switch (Pick(6)) {
        case 0:
            logger::SetLogger(Toss() ? nullptr : logger::GetLog4cpp());
            break;
        case 1:
            logger::GetLog4cpp()->Configure(logger::IMessage::DEBUG,
                                            Toss() ? logger::fileOutput : 0u,
                                            Toss() ? logger::patternFormat : logger::simpleFormat,
                                            {}, {}, {}, path, Toss() ? 0 : 2000, 2);
            break;
        case 2:
            logger::GetLog4cpp()->SetFileLoggingEnabled(Toss());
            break;
        case 3:
            logger::GetLog4cpp()->EnablePosition(Toss());
            break;
        default: {
            std::thread other(&LogOneLine);
            QVLOG(DEBUG) << "line " << Pick(100);
            other.join();
        }
        }
    }
};

// Runs a function in a slot that any signal can be connected to by name.
class Relay : public QObject
{
    Q_OBJECT

public:
    explicit Relay(std::function<void()> run) : run_(std::move(run)) {}

public Q_SLOTS:
    void Run() { run_(); }

private:
    std::function<void()> run_;
};

// A request or a download, and what a slot may do to it.
struct Transfer
{
    QPointer<QNetworkAccessManager> manager = new QNetworkAccessManager;
    QPointer<http::HttpRequest> request;
    QPointer<http::IFileDownload> download;

    bool Send() const { return request ? request->Post() : download && download->Start(); }

    void Abort() const
    {
        if (request)
            request->Abort();
        else if (download)
            download->Abort();
    }

    QObject* Object() const { return request ? static_cast<QObject*>(request) : download; }
};

using Deed = void (*)(const Transfer&);

const Deed deeds[] = {
    [](const Transfer& t) { t.Abort(); },
    [](const Transfer& t) { t.Send(); },
    [](const Transfer& t) { t.Abort(), t.Send(); },
    [](const Transfer& t) { t.Object()->deleteLater(); },
    [](const Transfer& t) { delete t.Object(); },
    [](const Transfer& t) { t.manager->deleteLater(); },
};

} // namespace

class TestLifetimes : public QObject
{
    Q_OBJECT

private:
    template <typename Kind>
    static std::unique_ptr<Life> Begin(quint32 seed)
    {
        return std::make_unique<Kind>(seed);
    }

    Surroundings surroundings_;

private Q_SLOTS:
    void initTestCase()
    {
        surroundings = &surroundings_;
        auto& server = surroundings_.server;
        server.Script("/ok", {Reply::Ok("ok")});
        server.Script("/slow", {Drip(QByteArray(100, 'x'), 10, 1)});
        server.Script("/silent", {Silent()});
        server.Script("/cut", {Cut("0123456789", 5)});
        server.Script("/busy", {Reply::Status(429, "Too Many Requests")});
        server.Script("/amid", {Drip(QByteArray(100, 'x'), 50, 120)});
        server.Script("/proxy", {Reply::Status(407, "Proxy")});
        server.Script("/bad", {Reply::Status(400, "Bad")});
        MakeTree(surroundings_.directory.filePath("source"), {"f=1", "a/g=2", "a/b/h=3", "a/l->g"});
    }

    void randomLives_data()
    {
        using Maker = std::unique_ptr<Life> (*)(quint32);
        QTest::addColumn<void*>("maker");
        const auto row = [](const char* name, Maker maker) {
            QTest::newRow(name) << reinterpret_cast<void*>(maker);
        };
        row("request", &Begin<RequestLife>);
        row("download", &Begin<DownloadLife>);
        row("copier", &Begin<CopierLife>);
        row("remover", &Begin<RemoverLife>);
        row("single instance", &Begin<InstanceLife>);
        row("logger", &Begin<LoggerLife>);
    }

    // QVCOMMON_TEST_CASES lives each, from QVCOMMON_SEED on.
    void randomLives()
    {
        QFETCH(void*, maker);
        const auto begin = reinterpret_cast<std::unique_ptr<Life> (*)(quint32)>(maker);
        const RecordingLogger quiet;
        const int cases = qEnvironmentVariableIntValue("QVCOMMON_TEST_CASES");
        const auto first = static_cast<quint32>(qEnvironmentVariableIntValue("QVCOMMON_SEED"));
        const int threads = ThreadCount();
        for (quint32 seed = first; seed < first + quint32(cases > 0 ? cases : 50); ++seed) {
            const auto life = begin(seed);
            life->Live();
            QVERIFY2(life->Complaint().isEmpty(),
                     qPrintable(QString("QVCOMMON_SEED=%1: ").arg(seed) + life->Complaint()));
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QTRY_VERIFY(ThreadCount() <= threads + 1); // that of the network access manager
    }

    void interference_data()
    {
        QTest::addColumn<QByteArray>("signal");
        QTest::addColumn<QString>("path");
        const auto row = [](const char* name, const char* signal, const char* path) {
            QTest::newRow(name) << QByteArray(signal) << path;
        };
        row("upload", SIGNAL(uploadProgress(qint64, qint64)), "/ok");
        row("amid the body", SIGNAL(downloadProgress(qint64, qint64)), "/amid");
        row("last progress", SIGNAL(downloadProgress(qint64, qint64)), "/ok");
        row("progress", SIGNAL(progress()), "/ok");
        row("bytes", SIGNAL(requestFinishedWithBinaryData(QByteArray)), "/ok");
        row("text", SIGNAL(requestFinished(QString)), "/ok");
        row("error", SIGNAL(requestError(int, QString)), "/none");
        row("proxy", SIGNAL(proxyError(int, QString)), "/proxy");
        row("invalid", SIGNAL(invalidOperationError(int, QString)), "/bad");
        row("timed out", SIGNAL(requestError(int, QString)), "/silent");
        row("file progress", SIGNAL(progress(qint64, qint64)), "/ok");
        row("complete", SIGNAL(complete()), "/ok");
        row("failed", SIGNAL(failed(int, QString)), "/none");
    }

    // Whatever a slot does, also in an event loop of its own: a memory checker judges, and no reply
    // may stay behind. Qt uses a reply after most of its signals.
    void interference()
    {
        QFETCH(QByteArray, signal);
        QFETCH(QString, path);
        const QString moment = QTest::currentDataTag();
        const RecordingLogger quiet;
        const auto form = http::IHttpRequestDataMap::CreateUrlencodedDataMap();
        form->SetParam("a", QString(20000, 'x'));
        for (int i = 0; i < 2 * int(std::size(deeds)); ++i) {
            const Deed deed = deeds[i / 2];
            const bool nested = i % 2 == 1;
            if (nested && i / 2 == 5)
                continue; // the manager of a reply whose signal is on the stack must stay
            Transfer transfer;
            if (moment == "file progress" || moment == "complete" || moment == "failed") {
                transfer.download = http::CreateFileDownload(transfer.manager, nullptr);
                transfer.download->SetUrl(surroundings_.server.Url(path));
                transfer.download->SetFileName(surroundings_.directory.filePath("target"));
            } else {
                transfer.request = new http::HttpRequest(transfer.manager, nullptr);
                transfer.request->SetUrl(surroundings_.server.Url(path));
                transfer.request->SetTimeout(60);
                transfer.request->SetData(form);
            }
            bool done = false;
            Relay relay([&] {
                if (done || (moment == "last progress" && transfer.request->isRunning()))
                    return;
                done = true;
                if (!nested)
                    return deed(transfer);
                QTimer::singleShot(0, this, [&] { deed(transfer); });
                QTest::qWait(10);
            });
            QVERIFY(connect(transfer.Object(), signal.constData(), &relay, SLOT(Run())));
            QVERIFY(transfer.Send());
            if (moment == "timed out")
                QTimer::singleShot(0, transfer.request, &http::HttpRequest::OnRequestTimeout);
            QTRY_VERIFY(done);
            QTest::qWait(10);
            transfer.Abort();
            delete transfer.Object();
            QTRY_VERIFY(!transfer.manager ||
                        transfer.manager->findChildren<QNetworkReply*>().isEmpty());
            delete transfer.manager;
        }
    }

    // A new job is started from the handler of the first one's end.
    void restartFromHandler()
    {
        FileCopier copier;
        copier.AddDirectory(surroundings_.directory.filePath("source"),
                            surroundings_.directory.filePath("again"));
        int ends = 0;
        connect(&copier, &FileCopier::succesed, this, [&] {
            if (++ends < 20)
                copier.Copy();
        });
        copier.Copy();
        QTRY_COMPARE(ends, 20);
        QTest::qWait(5);
        QCOMPARE(ends, 20);
    }

    // On a thread without an event loop no deferred deletion is ever carried out.
    void withoutEventLoop()
    {
        const int threads = ThreadCount();
        std::thread([this] {
            for (int round = 0; round < 20; ++round) {
                FileCopier copier;
                copier.AddDirectory(surroundings_.directory.filePath("source"),
                                    surroundings_.directory.filePath("again"));
                copier.Copy();
                if (round % 3 == 1)
                    copier.Abort(round % 2 == 0);
                if (round % 3 == 2)
                    copier.Copy();
            }
        }).join();
        QTRY_VERIFY(ThreadCount() <= threads);
    }
};

QTEST_GUILESS_MAIN(TestLifetimes)
#include "tst_lifetimes.moc"
