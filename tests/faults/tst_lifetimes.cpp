#include <common/http/filedownload.h>
#include <common/http/httprequestdatamap.h>
#include <common/logger/l4cpp/logger.h>
#include <common/shell/filecopier.h>
#include <common/shell/fileremover.h>

#include "support/cases.h"
#include "support/recordinglogger.h"
#include "support/scriptedserver.h"
#include "support/tree.h"

#include <QDeadlineTimer>
#include <QPointer>
#include <QRandomGenerator>

#include <array>
#include <functional>
#include <memory>
#include <thread>

#include <unistd.h>

using namespace common;
using loopback::Reply;

namespace {

/**
 * One life of an object under test: random calls, deletions and turns of the event loop, some of
 * them from within the object's own signals.
 */
class Life
{
public:
    explicit Life(quint32 seed) : random_(seed) {}
    virtual ~Life() = default;

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

    bool IsRight() const { return ends_ <= starts_; }

protected:
    int Pick(int count) { return static_cast<int>(random_.bounded(count)); }
    bool Toss() { return Pick(2) == 0; }
    QString PickPath()
    {
        return QStringList{"/ok", "/slow", "/silent", "/cut", "/busy", "/"}[Pick(6)];
    }

    void Started() { ++starts_; }

    // Slots for a signal of the object: whoever gets it may do anything, too.
    auto OnSignal(bool isEnd = false)
    {
        return [this, isEnd] {
            ends_ += isEnd ? 1 : 0;
            if (depth_ < 3 && Pick(4) == 0)
                Act();
        };
    }

    auto OnEnd() { return OnSignal(true); }

    virtual void ActOnObject() = 0;

private:
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

// What the lives of one round have in common.
struct Surroundings
{
    ScriptedServer& server;
    QNetworkAccessManager& manager;
    QTemporaryDir directory;
    int number = 0;

    // An earlier job may still be at work on its tree.
    QString FreshPath() { return directory.filePath(QString::number(++number)); }
};

Surroundings* surroundings = nullptr;

class RequestLife : public LifeOf<http::IHttpRequest>
{
public:
    using LifeOf::LifeOf;

protected:
    http::IHttpRequest* Make() override
    {
        using http::IHttpRequest;
        auto* request = http::CreateHttpRequest(&surroundings->manager, nullptr);
        request->SetAttemptIntervalOnNetworkProblem(0);
        request->SetUrl(surroundings->server.Url(PickPath()));
        QObject::connect(request, &IHttpRequest::requestFinishedWithBinaryData, &receiver_,
                         OnSignal());
        QObject::connect(request, &IHttpRequest::requestFinished, &receiver_, OnEnd());
        QObject::connect(request, &IHttpRequest::requestError, &receiver_, OnEnd());
        QObject::connect(request, &IHttpRequest::downloadProgress, &receiver_, OnSignal());
        return request;
    }

    void Use(http::IHttpRequest& request) override
    {
        switch (Pick(6)) {
        case 0:
            request.SetUrl(surroundings->server.Url(PickPath()));
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
};

class DownloadLife : public LifeOf<http::IFileDownload>
{
public:
    using LifeOf::LifeOf;

protected:
    http::IFileDownload* Make() override
    {
        using http::IFileDownload;
        auto* download = http::CreateFileDownload(&surroundings->manager, nullptr);
        download->SetUrl(surroundings->server.Url(PickPath()));
        download->SetFileName(surroundings->FreshPath());
        QObject::connect(download, &IFileDownload::complete, &receiver_, OnEnd());
        QObject::connect(download, &IFileDownload::failed, &receiver_, OnEnd());
        QObject::connect(download, &IFileDownload::progress, &receiver_, OnSignal());
        return download;
    }

    void Use(http::IFileDownload& download) override
    {
        switch (Pick(5)) {
        case 0:
            download.SetUrl(surroundings->server.Url(PickPath()));
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
        QObject::connect(front, &Front::progress, &this->receiver_, this->OnSignal());
        QObject::connect(front, &Front::succesed, &this->receiver_, this->OnEnd());
        QObject::connect(front, &Front::failed, &this->receiver_, this->OnEnd());
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
    static void Add(FileCopier& copier)
    {
        copier.AddDirectory(surroundings->directory.filePath("source"), surroundings->FreshPath());
    }

    static void Add(FileRemover& remover)
    {
        const QString tree = surroundings->FreshPath();
        MakeTree(tree, {"f=1", "a/g=2"});
        remover.AddDirectory(tree);
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
    QPointer<QObject> object;

    void Abort() const { QMetaObject::invokeMethod(object, "Abort"); }

    bool Send() const
    {
        auto* request = qobject_cast<http::IHttpRequest*>(object);
        return request ? request->Post() : QMetaObject::invokeMethod(object, "Start");
    }
};

using Deed = void (*)(const Transfer&);

const Deed deeds[] = {
    [](const Transfer& t) { t.Abort(); },
    [](const Transfer& t) { t.Send(); },
    [](const Transfer& t) { t.Abort(), t.Send(); },
    [](const Transfer& t) { t.object->deleteLater(); },
    [](const Transfer& t) { delete t.object; },
    [](const Transfer& t) { t.manager->deleteLater(); },
};

struct InterferenceCase
{
    const char* name;
    const char* signal;
    QString path;
    bool isDownload = false;
};

// What must not grow: resident memory in KiB, open files, threads.
using Sample = std::array<qint64, 3>;
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr Sample slack = {1 << 20, 4, 2}; // their own notes grow; they find leaks themselves
#else
constexpr Sample slack = {2048, 4, 2};
#endif

qint64 EntriesOf(const char* directory)
{
    return QDir(directory).entryList(QDir::AllEntries | QDir::System).size();
}

qint64 ThreadCount()
{
    return EntriesOf("/proc/self/task");
}

Sample TakeSample()
{
    const qint64 pages = ContentOf("/proc/self/statm").split(' ').value(1).toLongLong();
    return {pages * sysconf(_SC_PAGESIZE) / 1024, EntriesOf("/proc/self/fd"), ThreadCount()};
}

} // namespace

class TestLifetimes : public QObject
{
    Q_OBJECT

private:
    // One life of each kind, side by side.
    bool Round(quint32 seed)
    {
        Surroundings here{server_, manager_, {}};
        surroundings = &here;
        MakeTree(here.directory.filePath("source"), {"f=1", "a/g=2", "a/b/h=3", "a/l->g"});
        const std::unique_ptr<Life> lives[] = {
            std::make_unique<RequestLife>(seed), std::make_unique<DownloadLife>(seed + 1),
            std::make_unique<JobLife<FileCopier, &FileCopier::Copy>>(seed + 2),
            std::make_unique<JobLife<FileRemover, &FileRemover::Remove>>(seed + 3)};
        for (int step = 0; step < 10; ++step) {
            for (const auto& life : lives)
                life->Act();
        }
        server_.ForgetRequests();
        return std::all_of(std::begin(lives), std::end(lives),
                           [](const auto& life) { return life->IsRight(); });
    }

    ScriptedServer server_;
    QNetworkAccessManager manager_;
    QTemporaryDir directory_;

private Q_SLOTS:
    void initTestCase()
    {
        server_.Script("/ok", {Reply::Ok("ok")});
        server_.Script("/slow", {Drip(QByteArray(100, 'x'), 10, 1)});
        server_.Script("/silent", {Silent()});
        server_.Script("/cut", {Cut("0123456789", 5)});
        server_.Script("/busy", {Reply::Status(429, "Too Many Requests")});
        server_.Script("/amid", {Drip(QByteArray(100, 'x'), 50, 120)});
        server_.Script("/proxy", {Reply::Status(407, "Proxy")});
        server_.Script("/bad", {Reply::Status(400, "Bad")});
        MakeTree(directory_.filePath("source"), {"f=1", "a/g=2", "a/b/h=3", "a/l->g"});
    }

    // Random lives from QVCOMMON_SEED on, for QVCOMMON_SOAK_MINUTES. Nothing may grow.
    void randomLives()
    {
        const int minutes = qEnvironmentVariableIntValue("QVCOMMON_SOAK_MINUTES");
        const QDeadlineTimer end(minutes * 60'000);
        auto seed = static_cast<quint32>(qEnvironmentVariableIntValue("QVCOMMON_SEED"));
        logger::ILogger* log = logger::l4cpp::Logger::Instance(); // the jobs' threads log, too
        log->Configure(logger::IMessage::DEBUG, logger::rollingFileOutput, logger::patternFormat,
                       {}, {}, {}, directory_.filePath("log"), 1'000'000, 3);
        logger::SetLogger(log);
        std::vector<Sample> samples;
        for (; samples.size() < 45 || !end.hasExpired(); ++seed) {
            QVERIFY2(Round(seed), qPrintable(QString("QVCOMMON_SEED=%1").arg(seed)));
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            samples.push_back(TakeSample());
        }
        const auto third = static_cast<std::ptrdiff_t>(samples.size() / 3);
        for (size_t which = minutes > 0 ? 0 : 1; which < 3; ++which) {
            // The middle value of the samples between a third and the next.
            const auto usual = [&](int from) {
                const auto begin = samples.begin() + from * third;
                std::sort(begin, begin + third,
                          [=](const Sample& a, const Sample& b) { return a[which] < b[which]; });
                return begin[third / 2][which];
            };
            const qint64 before = usual(1);
            const qint64 after = usual(2);
            if (minutes > 0)
                printf("%zu rounds: %lld, later %lld\n", samples.size(), before, after);
            QVERIFY(after <= before + slack[which]);
        }
        logger::SetLogger(nullptr);
    }

    void interference_data()
    {
        AddCases<InterferenceCase>({
            {"upload", SIGNAL(uploadProgress(qint64, qint64)), "/ok"},
            {"amid the body", SIGNAL(downloadProgress(qint64, qint64)), "/amid"},
            {"last progress", SIGNAL(downloadProgress(qint64, qint64)), "/ok"},
            {"progress", SIGNAL(progress()), "/ok"},
            {"bytes", SIGNAL(requestFinishedWithBinaryData(QByteArray)), "/ok"},
            {"text", SIGNAL(requestFinished(QString)), "/ok"},
            {"error", SIGNAL(requestError(int, QString)), "/none"},
            {"proxy", SIGNAL(proxyError(int, QString)), "/proxy"},
            {"invalid", SIGNAL(invalidOperationError(int, QString)), "/bad"},
            {"timed out", SIGNAL(requestError(int, QString)), "/silent"},
            {"file progress", SIGNAL(progress(qint64, qint64)), "/ok", true},
            {"complete", SIGNAL(complete()), "/ok", true},
            {"failed", SIGNAL(failed(int, QString)), "/none", true},
        });
    }

    // Whatever a slot does, also in an event loop of its own: a memory checker judges, and no reply
    // may stay behind. Qt uses a reply after most of its signals.
    void interference()
    {
        const auto& row = CurrentCase<InterferenceCase>();
        const QString moment = row.name;
        const RecordingLogger quiet;
        const auto form = http::IHttpRequestDataMap::CreateUrlencodedDataMap();
        form->SetParam("a", QString(20000, 'x'));
        for (int i = 0; i < 2 * int(std::size(deeds)); ++i) {
            const Deed deed = deeds[i / 2];
            const bool nested = i % 2 == 1;
            if (nested && i / 2 == 5)
                continue; // the manager of a reply whose signal is on the stack must stay
            Transfer transfer;
            http::HttpRequest* request = nullptr;
            if (row.isDownload) {
                auto* download = http::CreateFileDownload(transfer.manager, nullptr);
                download->SetUrl(server_.Url(row.path));
                download->SetFileName(directory_.filePath("target"));
                transfer.object = download;
            } else {
                transfer.object = request = new http::HttpRequest(transfer.manager, nullptr);
                request->SetUrl(server_.Url(row.path));
                request->SetTimeout(60);
                request->SetData(form);
            }
            bool done = false;
            Relay relay([&] {
                if (done || (moment == "last progress" && request->isRunning()))
                    return;
                done = true;
                if (!nested)
                    return deed(transfer);
                QTimer::singleShot(0, this, [&] { deed(transfer); });
                QTest::qWait(10);
            });
            QVERIFY(connect(transfer.object, row.signal, &relay, SLOT(Run())));
            QVERIFY(transfer.Send());
            if (moment == "timed out")
                QTimer::singleShot(0, request, &http::HttpRequest::OnRequestTimeout);
            QTRY_VERIFY(done);
            QTest::qWait(10);
            transfer.Abort();
            delete transfer.object;
            QTRY_VERIFY(!transfer.manager ||
                        transfer.manager->findChildren<QNetworkReply*>().isEmpty());
            delete transfer.manager;
        }
    }

    // A new job is started from the handler of the first one's end.
    void restartFromHandler()
    {
        FileCopier copier;
        copier.AddDirectory(directory_.filePath("source"), directory_.filePath("again"));
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
        const qint64 threads = ThreadCount();
        std::thread([this] {
            for (int round = 0; round < 20; ++round) {
                FileCopier copier;
                copier.AddDirectory(directory_.filePath("source"), directory_.filePath("again"));
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
