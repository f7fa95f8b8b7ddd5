#include <common/http/filedownload.h>
#include <common/http/httprequestdatamap.h>
#include <common/http/httprequestmultipartformdata.h>
#include <common/http/httprequestpartformdata.h>

#include "support/recordinglogger.h"
#include "support/requestrecord.h"
#include "support/scriptedserver.h"
#include "support/tree.h"

#include <loopback/message.h>

#include <QCryptographicHash>
#include <QDir>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include <memory>
#include <vector>

#include <sys/resource.h>
#include <sys/socket.h>
#include <zlib.h>

using namespace common::http;

namespace {

// How far an exchange gets before the fault.
enum Stage { Connected, HeadSent, Asked, HalfHead, Body0, Body50, LastByte, Trailer, stages };
const char* const stageNames[] = {"connected",   "request head", "asked",          "half a head",
                                  "body at 0 %", "body at 50 %", "all but a byte", "trailer"};

// What happens then; from WrongLength on, faults of the reply as a whole.
enum Action {
    Close,
    Reset,
    Silence,
    Trickle,
    Garbage,
    Flood,
    Refuse,
    TooLong,
    TooShort,
    WrongCoding,
    TooMany,
    Unavailable,
    actions
};
const char* const actionNames[] = {"close",     "reset",        "silence", "drip",
                                   "garbage",   "header flood", "refuse",  "too long",
                                   "too short", "wrong coding", "429",     "503"};

enum Kind { Get, Form, MultiPart, Download, kinds };
const char* const kindNames[] = {"GET", "form", "multipart", "download"};

struct Fault
{
    Stage stage;
    Action action;
};

const QByteArray content = QByteArray("0123456789").repeated(100);

struct Wire
{
    QByteArray head;
    QByteArray body;
    QByteArray end;
};

Wire WireOf(const Fault& fault)
{
    const auto head = [](const QByteArray& status, const QByteArray& fields) {
        return "HTTP/1.1 " + status + "\r\n" + fields + "\r\n\r\n";
    };
    const auto length = [](int size) {
        return "Content-Length: " + QByteArray::number(size);
    };
    const QByteArray size = QByteArray::number(content.size(), 16);
    if (fault.stage == Trailer)
        return {head("200 OK", "Transfer-Encoding: chunked\r\nTrailer: X-End"),
                size + "\r\n" + content + "\r\n", "0\r\nX-End: 1\r\n\r\n"};
    switch (fault.action) {
    case TooLong:
        return {head("200 OK", length(content.size() + 10)), content, {}};
    case TooShort:
        return {head("200 OK", length(content.size() - 10)), content, {}};
    case WrongCoding:
        return {head("200 OK", length(content.size()) + "\r\nContent-Encoding: gzip"), content, {}};
    case TooMany:
        return {head("429 Too Many Requests", length(content.size())), content, {}};
    case Unavailable:
        return {head("503 Service Unavailable", length(content.size())), content, {}};
    default:
        return {head("200 OK", length(content.size())), content, {}};
    }
}

int SentBefore(const Fault& fault, const Wire& wire)
{
    const int all = wire.head.size() + wire.body.size() + wire.end.size();
    switch (fault.stage) {
    case HalfHead:
        return wire.head.size() / 2;
    case Body0:
        return wire.head.size();
    case Body50:
        return wire.head.size() + wire.body.size() / 2;
    case LastByte:
        return all - 1;
    case Trailer:
        return all - wire.end.size() + 8;
    default:
        return fault.action >= TooLong ? all : 0;
    }
}

// Commits one fault, again and again.
class FaultyServer : public QTcpServer
{
public:
    explicit FaultyServer(const Fault& fault) : fault_(fault)
    {
        connect(this, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = nextPendingConnection())
                Serve(socket);
        });
        const QHostAddress here(QHostAddress::LocalHost);
        const bool ready = fault.action == Refuse ? unheard_.bind(here) : listen(here);
        if (!ready)
            qFatal("no port to listen on");
    }

    QUrl Url() const
    {
        const auto port = fault_.action == Refuse ? unheard_.localPort() : serverPort();
        return QUrl(QString("http://127.0.0.1:%1/file").arg(port));
    }

private:
    void Serve(QTcpSocket* socket)
    {
        if (fault_.stage == Connected)
            return Commit(socket, {});
        const auto buffer = std::make_shared<QByteArray>();
        connect(socket, &QTcpSocket::readyRead, this, [this, socket, buffer] {
            *buffer += socket->readAll();
            loopback::Request request;
            const bool ready = fault_.stage == HeadSent
                                   ? buffer->contains("\r\n\r\n")
                                   : loopback::RequestParser::Take(*buffer, request) ==
                                         loopback::RequestParser::Complete;
            if (!ready)
                return;
            const Wire wire = WireOf(fault_);
            const int size = SentBefore(fault_, wire);
            const QByteArray all = wire.head + wire.body + wire.end;
            socket->write(all.left(size));
            disconnect(socket, &QTcpSocket::readyRead, this, nullptr);
            Commit(socket, all.mid(size));
        });
    }

    void Commit(QTcpSocket* socket, const QByteArray& rest)
    {
        const linger atOnce{1, 0};
        switch (fault_.action) {
        case Silence:
            return;
        case Reset:
            socket->flush();
            setsockopt(static_cast<int>(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &atOnce,
                       sizeof atOnce);
            return socket->abort();
        case Trickle:
            return DripRest(socket, rest);
        case Flood:
            connect(socket, &QTcpSocket::bytesWritten, socket, [socket] {
                if (socket->isOpen())
                    socket->write("X-Flood: " + QByteArray(8000, 'x') + "\r\n");
            });
            socket->write("\r\n");
            return;
        case Garbage:
            socket->write(QByteArray::fromHex("00ff0d0a0d0a8081").repeated(300));
            Q_FALLTHROUGH();
        default:
            socket->disconnectFromHost();
        }
    }

    static void DripRest(QTcpSocket* socket, const QByteArray& rest)
    {
        if (rest.isEmpty() || !socket->isOpen())
            return socket->disconnectFromHost();
        const int piece = qMin(rest.size(), 1 + content.size() / 20);
        socket->write(rest.left(piece));
        QTimer::singleShot(2, socket, [socket, rest, piece] { DripRest(socket, rest.mid(piece)); });
    }

    Fault fault_;
    QTcpSocket unheard_; // holds a port on which nobody listens, against anyone else who wants one
};

// Counts what it is asked to send; how often Qt then connects is Qt's own affair.
class CountingManager : public QNetworkAccessManager
{
public:
    int Sends(const QUrl& url) const { return sends_.value(url); }

protected:
    QNetworkReply* createRequest(Operation operation, const QNetworkRequest& request,
                                 QIODevice* body) override
    {
        ++sends_[request.url()];
        return QNetworkAccessManager::createRequest(operation, request, body);
    }

private:
    QHash<QUrl, int> sends_;
};

// One client that meets one fault.
class Attempt : public QObject
{
public:
    Attempt(const Fault& fault, Kind kind, int tries, CountingManager* manager,
            const QString& target)
        : name_(QString("%1, %2, %3, %4 tries")
                    .arg(actionNames[fault.action], stageNames[fault.stage], kindNames[kind])
                    .arg(tries)),
          fault_(fault),
          kind_(kind),
          tries_(tries),
          target_(target),
          server_(fault),
          manager_(manager)
    {
        if (kind == Download)
            StartDownload();
        else
            StartRequest();
    }

    bool IsOver() const { return successes_ + failures_ > 0; }

    // What is wrong with the outcome; nothing if it is as it must be.
    QString Complaint() const
    {
        const auto complaint = [this](const QString& text) {
            return name_ + ": " + text;
        };
        if (successes_ + failures_ != 1)
            return complaint(QString("%1 ends").arg(successes_ + failures_));
        const bool harmless = fault_.action == Trickle || fault_.action == WrongCoding ||
                              (fault_.action == TooShort && kind_ != Download);
        // Of a body that ends early the network layer makes a success now and then.
        const bool harmful = fault_.action >= Silence && fault_.action != Garbage && !harmless &&
                             fault_.stage != Trailer &&
                             (fault_.action != TooLong || kind_ == Download);
        if (harmless && successes_ != 1)
            return complaint("failed");
        if (harmful && successes_ != 0)
            return complaint("succeeded");
        if (successes_ == 1 && kind_ == Download && ContentOf(target_) != content)
            return complaint("complete with wrong bytes");
        if (successes_ == 1 && fault_.action != Garbage && !content.startsWith(body_))
            return complaint("wrong bytes");
        const int sends = manager_->Sends(server_.Url());
        if (sends > tries_ || (fault_.action == TooMany && sends != tries_))
            return complaint(QString("tried %1 times").arg(sends));
        return {};
    }

private:
    // Only what must run into the time-out has a short one: the machine may be busy otherwise.
    int Timeout() const { return fault_.action == Silence || fault_.action == Flood ? 1 : 60; }

    void StartDownload()
    {
        auto* download = CreateFileDownload(manager_, this);
        download->SetUrl(server_.Url());
        download->SetFileName(target_);
        download->SetTimeout(Timeout());
        download->SetRetryCount(static_cast<unsigned>(tries_));
        download->SetExpectedMD5(QString::fromLatin1(
            QCryptographicHash::hash(content, QCryptographicHash::Md5).toHex()));
        connect(download, &IFileDownload::complete, this, [this] { ++successes_; });
        connect(download, &IFileDownload::failed, this, [this] { ++failures_; });
        download->Start();
    }

    void StartRequest()
    {
        auto* request = CreateHttpRequest(manager_, this);
        request->SetUrl(server_.Url());
        request->SetTimeout(Timeout());
        request->SetAttemptCountOnNetworkProblem(tries_);
        request->SetAttemptIntervalOnNetworkProblem(0);
        connect(request, &IHttpRequest::requestFinishedWithBinaryData, this,
                [this](const QByteArray& body) { body_ = body; });
        connect(request, &IHttpRequest::requestFinished, this, [this] { ++successes_; });
        connect(request, &IHttpRequest::requestError, this, [this] { ++failures_; });
        if (kind_ == Form)
            request->SetData(FormData());
        if (kind_ == MultiPart)
            request->SetData(MultiPartData());
        request->Send(kind_ == Get ? IHttpRequest::GET : IHttpRequest::POST);
    }

    static QSharedPointer<IHttpRequestData> FormData()
    {
        const auto data = IHttpRequestDataMap::CreateUrlencodedDataMap();
        data->SetParam("text", QString(200'000, 'x'));
        return data;
    }

    static QSharedPointer<IHttpRequestData> MultiPartData()
    {
        const auto data = QSharedPointer<HttpRequestMultiPartFormData>::create();
        data->AddPart(QSharedPointer<HttpRequestTextPartFormData>::create("text", "short"));
        data->AddPart(QSharedPointer<HttpRequestFilePartFormData>::create(
            "file", QCoreApplication::applicationFilePath()));
        return data;
    }

    QString name_;
    Fault fault_;
    Kind kind_;
    int tries_;
    QString target_;
    FaultyServer server_;
    CountingManager* manager_;
    QByteArray body_;
    int successes_ = 0;
    int failures_ = 0;
};

// A gzip stream of ten megabytes that would be ten gigabytes: the same piece again and again.
QByteArray GzipBomb()
{
    constexpr int gigabytes = 10;
    constexpr int pieceSize = 1 << 20;
    QByteArray zeros(pieceSize, '\0');
    z_stream z = {};
    deflateInit2(&z, 9, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
    const auto next = [&] {
        QByteArray packed(1 << 20, '\0');
        z.next_in = reinterpret_cast<Bytef*>(zeros.data());
        z.avail_in = pieceSize;
        z.next_out = reinterpret_cast<Bytef*>(packed.data());
        z.avail_out = static_cast<uInt>(packed.size());
        deflate(&z, Z_FULL_FLUSH); // what follows refers to nothing before
        return packed.left(packed.size() - static_cast<int>(z.avail_out));
    };
    const QByteArray first = next();
    const QByteArray bomb = first + next().repeated(gigabytes * 1024 - 1);
    deflateEnd(&z);
    return bomb;
}

} // namespace

// What a client meets of a faulty server, many at once.
class TestHttpFaults : public QObject
{
    Q_OBJECT

private:
    static int OpenFiles()
    {
        return QDir("/proc/self/fd").entryList(QDir::NoDotAndDotDot | QDir::System).size();
    }

    static long PeakMemory()
    {
        rusage usage = {};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss * 1024;
    }

    static std::vector<Fault> Faults()
    {
        std::vector<Fault> faults;
        for (int stage = 0; stage < stages; ++stage) {
            for (int action = Close; action < Refuse; ++action) {
                // A drip takes something to drip; the flood of headers comes alone.
                if (action != Flood && (action != Trickle || stage >= Asked))
                    faults.push_back({static_cast<Stage>(stage), static_cast<Action>(action)});
            }
        }
        for (int action = Refuse; action < actions; ++action)
            faults.push_back({Asked, static_cast<Action>(action)});
        return faults;
    }

    // The ends of all clients that meet the faults of one kind of action at once.
    QStringList Complaints(const std::vector<Fault>& faults, int tries)
    {
        const QTemporaryDir directory;
        CountingManager manager;
        std::vector<std::unique_ptr<Attempt>> attempts;
        for (const Fault& fault : faults) {
            for (int kind = 0; kind < kinds; ++kind) {
                // Without a body there is no moment between the head and the rest of a request.
                if (fault.stage == HeadSent && (kind == Get || kind == Download))
                    continue;
                const QString target = directory.filePath(QString::number(attempts.size()));
                attempts.push_back(std::make_unique<Attempt>(fault, static_cast<Kind>(kind), tries,
                                                             &manager, target));
            }
        }
        [&] {
            QTRY_VERIFY_WITH_TIMEOUT(
                std::all_of(attempts.cbegin(), attempts.cend(),
                            [](const auto& attempt) { return attempt->IsOver(); }),
                60'000);
        }();
        QTest::qWait(50); // time for a second end
        QStringList complaints;
        for (const auto& attempt : attempts)
            complaints << attempt->Complaint();
        complaints.removeAll(QString());
        count_ += static_cast<int>(attempts.size());
        return complaints;
    }

    int count_ = 0;

private Q_SLOTS:
    void everyFaultAtEveryStage_data()
    {
        QTest::addColumn<int>("tries");
        QTest::newRow("one try") << 1;
        if (qEnvironmentVariableIsSet("QVCOMMON_LONG_TESTS"))
            QTest::newRow("three tries") << 3;
    }

    void everyFaultAtEveryStage()
    {
        QFETCH(int, tries);
        const RecordingLogger log;
        Complaints({{Asked, Refuse}}, 1); // what Qt opens once and for all
        const int openFiles = OpenFiles();
        const std::vector<Fault> faults = Faults();
        count_ = 0;
        QStringList complaints = Complaints({{HalfHead, Flood}}, tries);
        constexpr std::size_t atOnce = 60;
        for (std::size_t i = 0; i < faults.size(); i += atOnce) {
            const auto first = faults.cbegin() + static_cast<std::ptrdiff_t>(i);
            const auto count = std::min(atOnce, faults.size() - i);
            complaints << Complaints({first, first + static_cast<std::ptrdiff_t>(count)}, tries);
        }
        for (const QString& complaint : complaints)
            qWarning("%s", qPrintable(complaint));
        QVERIFY(complaints.isEmpty());
        qInfo("%d exchanges", count_);
        QTRY_VERIFY(OpenFiles() <= openFiles);
    }

    void gzipBomb()
    {
        constexpr long maxSize = 64 << 20;
        ScriptedServer server;
        server.Script("/bomb", {Gzip(GzipBomb())});
        QNetworkAccessManager manager;
        const std::unique_ptr<IHttpRequest> request(CreateHttpRequest(&manager, nullptr));
        request->SetUrl(server.Url("/bomb"));
        request->SetMaxReplySize(maxSize);
        const RequestRecord record(request.get());
        const long before = PeakMemory();
        request->Get();
        QTRY_COMPARE(record.Signals(), QStringList("error 299 "));
        QVERIFY(PeakMemory() - before < 2 * maxSize);
    }
};

QTEST_GUILESS_MAIN(TestHttpFaults)
#include "tst_httpfaults.moc"
