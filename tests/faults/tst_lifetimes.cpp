#include <common/http/filedownload.h>
#include <common/http/httprequestdatamap.h>
#include <common/logger/l4cpp/logger.h>
#include <common/shell/filecopier.h>

#include "support/cases.h"
#include "support/recordinglogger.h"
#include "support/scriptedserver.h"
#include "support/tree.h"

#include <array>
#include <functional>
#include <thread>

#include <unistd.h>

using namespace common;
using loopback::Reply;

namespace {

// A request or a download, and what a slot may do to it.
struct Transfer
{
    QPointer<QNetworkAccessManager> manager = new QNetworkAccessManager;
    QPointer<QObject> object;
    int sends = 0;

    Transfer(const QUrl& url, bool isDownload)
    {
        if (isDownload) {
            auto* download = new http::FileDownload(manager, nullptr);
            download->SetUrl(url);
            download->SetFileName("/dev/null");
            object = download;
            return;
        }
        const auto form = http::IHttpRequestDataMap::CreateUrlencodedDataMap();
        form->SetParam("a", QString(20000, 'x'));
        auto* request = new http::HttpRequest(manager, nullptr);
        request->SetUrl(url);
        request->SetTimeout(60);
        request->SetData(form);
        object = request;
    }

    ~Transfer()
    {
        delete object;
        delete manager;
    }

    void Abort() { QMetaObject::invokeMethod(object, "Abort"); }
    bool Send()
    {
        ++sends;
        auto* request = qobject_cast<http::IHttpRequest*>(object);
        return request ? request->Post() : QMetaObject::invokeMethod(object, "Start");
    }
};

using Deed = void (*)(Transfer&);

const Deed deeds[] = {
    [](Transfer& t) { t.Abort(); },
    [](Transfer& t) { t.Send(); },
    [](Transfer& t) { t.Abort(), t.Send(); },
    [](Transfer& t) { t.object->deleteLater(); },
    [](Transfer& t) { delete t.object; },
    // Not in a nested loop: the manager of a reply whose signal is on the stack must stay.
    [](Transfer& t) { t.manager->deleteLater(); },
};

struct InterferenceCase
{
    const char* name;
    const char* signal;
    QString path;
    bool isDownload = false;
};

// What must not grow: threads, open files, resident memory in pages.
std::array<qint64, 3> TakeSample()
{
    return {EntriesOf("/proc/self/task"), EntriesOf("/proc/self/fd"),
            ContentOf("/proc/self/statm").split(' ').value(1).toLongLong()};
}

constexpr qint64 slack[] = {2, 4, 512};

} // namespace

class TestLifetimes : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    // For any signal, by its name.
    void Run() { run_(); }

private:
    // Random deeds, some of them from within the object's own signals. Nothing ends twice.
    bool Live(quint32 seed)
    {
        QRandomGenerator random(seed);
        const auto pick = [&](int count) {
            return static_cast<int>(random.bounded(count));
        };
        const char* const paths[] = {"/ok", "/slow", "/silent", "/cut", "/busy", "/none"};
        Transfer transfer(server_.Url(paths[pick(6)]), pick(2) == 0);
        int ends = 0;
        int depth = 0;
        const auto act = [&] {
            ++depth;
            QTest::qWait(pick(4));
            if (transfer.object)
                deeds[pick(5)](transfer);
            --depth;
        };
        run_ = [&] {
            const auto name = sender()->metaObject()->method(senderSignalIndex()).name();
            ends += ends_.contains(name);
            if (depth < 3 && pick(4) == 0)
                act();
        };
        const QMetaObject& meta = *transfer.object->metaObject();
        for (int i = QObject::staticMetaObject.methodCount(); i < meta.methodCount(); ++i) {
            const QMetaMethod signal = meta.method(i);
            if (signal.methodType() == QMetaMethod::Signal && signal.attributes() == 0)
                connect(transfer.object, signal, this,
                        metaObject()->method(metaObject()->indexOfSlot("Run()")));
        }
        for (int step = 0; step < 10; ++step)
            act();
        server_.ForgetRequests();
        return ends <= transfer.sends;
    }

    ScriptedServer server_;
    QTemporaryDir directory_;
    const QByteArrayList ends_ = {"requestFinished", "requestError", "complete", "failed"};
    std::function<void()> run_;

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
        MakeTree(directory_.filePath("source"), {"f=1", "a/g=2", "a/b/h=3"});
    }

    // Random lives from QVCOMMON_SEED on, for QVCOMMON_SOAK_MINUTES. Nothing may grow.
    void randomLives()
    {
        const int minutes = qEnvironmentVariableIntValue("QVCOMMON_SOAK_MINUTES");
        const QDeadlineTimer end(minutes * Q_INT64_C(60'000));
        auto seed = static_cast<quint32>(qEnvironmentVariableIntValue("QVCOMMON_SEED"));
        logger::ILogger* log = logger::l4cpp::Logger::Instance();
        log->Configure(logger::IMessage::DEBUG, logger::rollingFileOutput, logger::patternFormat,
                       {}, {}, {}, directory_.filePath("log"), 1'000'000, 3);
        logger::SetLogger(log);
        std::vector<std::array<qint64, 3>> samples;
        for (; samples.size() < 150 || !end.hasExpired(); ++seed) {
            QVERIFY2(Live(seed), qPrintable(QString("QVCOMMON_SEED=%1").arg(seed)));
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            samples.push_back(TakeSample());
        }
        logger::SetLogger(nullptr);

        // The least of the last third against that of the third before.
        const auto middle = samples.cbegin() + static_cast<std::ptrdiff_t>(samples.size() / 3);
        const auto last = middle + static_cast<std::ptrdiff_t>(samples.size() / 3);
        for (size_t i = 0; i < (minutes > 0 ? 3u : 2u); ++i) {
            const auto isLess = [i](const auto& a, const auto& b) {
                return a[i] < b[i];
            };
            const qint64 before = (*std::min_element(middle, last, isLess))[i];
            const qint64 after = (*std::min_element(last, samples.cend(), isLess))[i];
            if (minutes > 0)
                printf("%zu rounds: %lld, later %lld\n", samples.size(), before, after);
            QVERIFY(after <= before + slack[i]);
        }
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
        for (int i = 0; i < 2 * int(std::size(deeds)) - 1; ++i) {
            const Deed deed = deeds[i / 2];
            const bool nested = i % 2 == 1;
            Transfer transfer(server_.Url(row.path), row.isDownload);
            const auto* request = qobject_cast<http::HttpRequest*>(transfer.object);
            QTestEventLoop loop; // QTRY_VERIFY() sleeps instead
            bool done = false;
            run_ = [&] {
                if (done || (moment == "last progress" && request->isRunning()))
                    return;
                done = true;
                loop.exitLoop();
                if (!nested)
                    return deed(transfer);
                QTimer::singleShot(0, this, [&] { deed(transfer); });
                QTest::qWait(10);
            };
            QVERIFY(connect(transfer.object, row.signal, this, SLOT(Run())));
            QVERIFY(transfer.Send());
            if (moment == "timed out")
                QTimer::singleShot(0, request, &http::HttpRequest::OnRequestTimeout);
            loop.enterLoop(5);
            QVERIFY(done);
            QTest::qWait(10);
            transfer.Abort();
            delete transfer.object;
            QTRY_VERIFY(!transfer.manager || !transfer.manager->findChild<QNetworkReply*>());
        }
    }

    // On a thread without an event loop no deferred deletion is ever carried out.
    void withoutEventLoop()
    {
        const qint64 threads = EntriesOf("/proc/self/task");
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
        QTRY_VERIFY(EntriesOf("/proc/self/task") <= threads);
    }
};

QTEST_GUILESS_MAIN(TestLifetimes)
#include "tst_lifetimes.moc"
