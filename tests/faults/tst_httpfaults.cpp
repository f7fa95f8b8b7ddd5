#include <common/http/filedownload.h>
#include <common/http/httprequestmultipartformdata.h>

#include "support/recordinglogger.h"
#include "support/tree.h"

#include <loopback/message.h>

#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <vector>

#include <sys/socket.h>

using namespace common::http;

namespace {

const QByteArray content = QByteArray("0123456789").repeated(100);

enum Moment { Connected, HeadReceived, Asked };
enum Action { Close, Reset, Silence, Trickle, Garbage, Refuse };
const char* const actionNames[] = {"close", "reset", "silence", "trickle", "garbage", "refuse"};
enum Kind { Get, MultiPart, Download };
const char* const kindNames[] = {"GET", "multipart", "download"};

// Of a body that ends early the network layer makes a success now and then.
enum End { Success, Failure, Either };

// What the server says from a moment on, and how much of it before it commits the fault.
struct Fault
{
    QString name;
    Moment moment;
    QByteArray reply;
    int sent;
    Action action;
    End end;         // of a request
    End downloadEnd; // which is verified
};

QByteArray Head(const QByteArray& fields, const QByteArray& status = "200 OK")
{
    return "HTTP/1.1 " + status + "\r\n" + fields + "\r\n\r\n";
}

QByteArray WithLength(int length, const QByteArray& status = "200 OK")
{
    return Head("Content-Length: " + QByteArray::number(length), status) + content;
}

std::vector<Fault> Faults()
{
    const QByteArray whole = WithLength(content.size());
    const QByteArray chunked = Head("Transfer-Encoding: chunked\r\nTrailer: X-End") + "3e8\r\n" +
                               content + "\r\n0\r\nX-End: 1\r\n\r\n";
    const QByteArray flood = "HTTP/1.1 200 OK\r\n" + QByteArray("X-Flood: x\r\n").repeated(100'000);
    const int headSize = whole.size() - content.size();
    const Fault stages[] = {
        {"connected", Connected, whole, 0, {}, {}, {}},
        {"request head", HeadReceived, whole, 0, {}, {}, {}},
        {"asked", Asked, whole, 0, {}, {}, {}},
        {"half a head", Asked, whole, headSize / 2, {}, {}, {}},
        {"body at 0 %", Asked, whole, headSize, {}, {}, {}},
        {"body at 50 %", Asked, whole, whole.size() - content.size() / 2, {}, {}, {}},
        {"all but a byte", Asked, whole, whole.size() - 1, {}, {}, {}},
        {"trailer", Asked, chunked, chunked.size() - 10, {}, {}, {}},
    };
    std::vector<Fault> faults;
    for (Fault fault : stages) {
        for (const Action action : {Close, Reset, Silence, Trickle, Garbage}) {
            if (action == Trickle && fault.moment != Asked)
                continue;
            fault.action = action;
            fault.end = fault.downloadEnd = action == Trickle                           ? Success
                                            : action == Silence && fault.reply == whole ? Failure
                                                                                        : Either;
            faults.push_back(fault);
        }
    }
    const int all = whole.size();
    faults.push_back({"too long", Asked, WithLength(1010), all, Close, Either, Failure});
    faults.push_back({"too short", Asked, WithLength(990), all, Close, Success, Failure});
    faults.push_back({"503", Asked, WithLength(0, "503 No"), all, Close, Failure, Failure});
    faults.push_back({"no gzip", Asked, Head("Content-Encoding: gzip") + content, all + 9, Close,
                      Success, Success});
    faults.push_back({"header without end", Asked, flood, flood.size(), Silence, Failure, Failure});
    faults.push_back({"nobody", Connected, {}, 0, Refuse, Failure, Failure});
    return faults;
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
        if (!(fault.action == Refuse ? unheard_.bind(here) : listen(here)))
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
        if (fault_.moment == Connected)
            return Commit(socket);
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
            QByteArray received = socket->peek(1 << 24);
            loopback::Request request;
            const bool ready = fault_.moment == HeadReceived
                                   ? received.contains("\r\n\r\n")
                                   : loopback::RequestParser::Take(received, request) ==
                                         loopback::RequestParser::Complete;
            if (!ready)
                return;
            disconnect(socket, &QTcpSocket::readyRead, this, nullptr);
            socket->write(fault_.reply.left(fault_.sent));
            Commit(socket);
        });
    }

    void Commit(QTcpSocket* socket)
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
            return SendRest(socket, fault_.reply.mid(fault_.sent));
        case Garbage:
            socket->write(QByteArray::fromHex("00ff0d0a0d0a8081").repeated(300));
            Q_FALLTHROUGH();
        default:
            socket->disconnectFromHost();
        }
    }

    static void SendRest(QTcpSocket* socket, const QByteArray& rest)
    {
        if (rest.isEmpty() || !socket->isOpen())
            return socket->disconnectFromHost();
        socket->write(rest.left(50));
        QTimer::singleShot(2, socket, [socket, rest] { SendRest(socket, rest.mid(50)); });
    }

    Fault fault_;
    QTcpSocket unheard_; // holds a port on which nobody listens, against anyone else who wants one
};

// One client that meets one fault.
class Attempt : public QObject
{
public:
    Attempt(const Fault& fault, Kind kind, QNetworkAccessManager* manager, const QString& target)
        : fault_(fault), kind_(kind), target_(target), server_(fault)
    {
        if (kind == Download)
            Start(CreateFileDownload(manager, this));
        else
            Start(CreateHttpRequest(manager, this));
    }

    bool IsOver() const { return successes_ + failures_ > 0; }

    // What is wrong with the outcome; nothing if it is as it must be.
    QString Complaint() const
    {
        const End end = kind_ == Download ? fault_.downloadEnd : fault_.end;
        const bool isRight = successes_ + failures_ == 1 && (end != Success || successes_ == 1) &&
                             (end != Failure || failures_ == 1);
        const bool isWhole =
            successes_ == 0 || (kind_ == Download          ? ContentOf(target_) == content
                                : fault_.action == Garbage ? true
                                                           : content.startsWith(body_));
        return isRight && isWhole
                   ? QString()
                   : QString("%1, %2, %3: %4 successes, %5 failures%6")
                         .arg(fault_.name, actionNames[fault_.action], kindNames[kind_])
                         .arg(successes_)
                         .arg(failures_)
                         .arg(isWhole ? "" : ", wrong bytes");
    }

private:
    // Only what must run into the time-out has a short one: the machine may be busy otherwise.
    int Timeout() const { return fault_.action == Silence ? 1 : 60; }

    void Start(IFileDownload* download)
    {
        download->SetUrl(server_.Url());
        download->SetFileName(target_);
        download->SetTimeout(Timeout());
        download->SetExpectedMD5(
            QCryptographicHash::hash(content, QCryptographicHash::Md5).toHex());
        connect(download, &IFileDownload::complete, this, [this] { ++successes_; });
        connect(download, &IFileDownload::failed, this, [this] { ++failures_; });
        download->Start();
    }

    void Start(IHttpRequest* request)
    {
        request->SetUrl(server_.Url());
        request->SetTimeout(Timeout());
        connect(request, &IHttpRequest::requestFinishedWithBinaryData, this,
                [this](const QByteArray& body) { body_ = body; });
        connect(request, &IHttpRequest::requestFinished, this, [this] { ++successes_; });
        connect(request, &IHttpRequest::requestError, this, [this] { ++failures_; });
        const auto parts = IHttpRequestMultiPartData::CreateMultiPartFormData();
        parts->AddPart(IHttpRequestPartData::CreateFilePartFormData(
            "file", QCoreApplication::applicationFilePath()));
        if (kind_ == MultiPart)
            request->SetData(parts);
        request->Send(kind_ == MultiPart ? IHttpRequest::POST : IHttpRequest::GET);
    }

    Fault fault_;
    Kind kind_;
    QString target_;
    FaultyServer server_;
    QByteArray body_;
    int successes_ = 0;
    int failures_ = 0;
};

int OpenFiles()
{
    return QDir("/proc/self/fd").entryList(QDir::AllEntries | QDir::System).size();
}

} // namespace

// What clients meet of faulty servers, all at once.
class TestHttpFaults : public QObject
{
    Q_OBJECT

private:
    static QStringList Complaints(const std::vector<Fault>& faults)
    {
        const QTemporaryDir directory;
        QNetworkAccessManager manager;
        std::vector<std::unique_ptr<Attempt>> attempts;
        for (const Fault& fault : faults) {
            for (const Kind kind : {Get, MultiPart, Download}) {
                const QString target = directory.filePath(QString::number(attempts.size()));
                attempts.push_back(std::make_unique<Attempt>(fault, kind, &manager, target));
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
        return complaints;
    }

private Q_SLOTS:
    void everyFaultAtEveryStage()
    {
        const RecordingLogger log;
        const std::vector<Fault> faults = Faults();
        Complaints({faults.back()}); // what Qt opens once and for all
        const int openFiles = OpenFiles();
        QCOMPARE(Complaints(faults).join('\n'), QString());
        QTRY_VERIFY(OpenFiles() <= openFiles);
    }
};

QTEST_GUILESS_MAIN(TestHttpFaults)
#include "tst_httpfaults.moc"
