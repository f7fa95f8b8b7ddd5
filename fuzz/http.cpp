// Answers a request and a download with any bytes: each ends once, in time.
#include "fuzz.h"

#include <common/http/filedownload.h>
#include <common/http/httprequest.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFileInfo>
#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QTcpServer>
#include <QTcpSocket>

#include <memory>
#include <sys/mman.h>

using namespace common::http;

namespace {

constexpr int longestWait = 10000; // milliseconds

// Sends the same bytes to everyone who has sent a whole request, and closes.
class Server : public QTcpServer
{
public:
    Server()
    {
        EXPECT(listen(QHostAddress(QHostAddress::LocalHost)));
        connect(this, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = nextPendingConnection()) {
                socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
                connect(socket, &QTcpSocket::readyRead, this, [this, socket] { Answer(socket); });
                connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            }
        });
    }

    QUrl Url() const { return QUrl(QString("http://127.0.0.1:%1/").arg(serverPort())); }

    QByteArray reply;
    int cut = 0;

private:
    void Answer(QTcpSocket* socket)
    {
        if (!socket->peek(1 << 16).contains("\r\n\r\n"))
            return;
        socket->readAll();
        socket->write(reply.left(cut));
        socket->flush();
        socket->write(reply.mid(cut));
        socket->disconnectFromHost();
    }
};

struct World
{
    QNetworkAccessManager manager;
    Server server;
    const int file = memfd_create("download", 0);
    const QString path = QStringLiteral("/proc/self/fd/%1").arg(file);
};

// Runs the event loop until there is a final signal, and then on for what should not come.
void AwaitTheOne(const int& endings)
{
    const QDeadlineTimer deadline(longestWait);
    while (endings == 0) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
        EXPECT(!deadline.hasExpired());
    }
    QCoreApplication::processEvents();
    EXPECT(endings == 1);
}

void TryRequest(World& world)
{
    int endings = 0;
    int bodies = 0;
    const std::unique_ptr<IHttpRequest> request(CreateHttpRequest(&world.manager, nullptr));
    request->SetUrl(world.server.Url());
    QObject::connect(request.get(), &IHttpRequest::requestFinishedWithBinaryData,
                     [&] { ++bodies; });
    QObject::connect(request.get(), &IHttpRequest::requestFinished, [&] {
        EXPECT(bodies == 1);
        ++endings;
    });
    QObject::connect(request.get(), &IHttpRequest::requestError, [&](int code) {
        EXPECT(code != 0 && bodies == 0);
        ++endings;
    });
    EXPECT(request->Get());
    AwaitTheOne(endings);
    EXPECT(!request->isRunning());
}

void TryDownload(World& world, int expectedSize)
{
    int endings = 0;
    const std::unique_ptr<IFileDownload> download(CreateFileDownload(&world.manager, nullptr));
    download->SetUrl(world.server.Url());
    download->SetFileName(world.path);
    download->SetExpectedSize(expectedSize);
    QObject::connect(download.get(), &IFileDownload::complete, [&] {
        EXPECT(expectedSize < 0 || QFileInfo(world.path).size() == expectedSize);
        ++endings;
    });
    QObject::connect(download.get(), &IFileDownload::failed, [&](int code) {
        EXPECT(code != 0);
        ++endings;
    });
    EXPECT(download->Start());
    AwaitTheOne(endings);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static int argc = 1;
    static char name[] = "http";
    static char* argv[] = {name, nullptr};
    static const QCoreApplication application(argc, argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    static World world;

    Input input(data, size);
    const bool isDownload = input.Number(0, 1);
    const int expectedSize = input.Number(-1, 20);
    world.server.cut = input.Number(0, 255);
    world.server.reply = input.Rest();
    if (isDownload)
        TryDownload(world, expectedSize);
    else
        TryRequest(world);
    world.manager.clearAccessCache(); // the next one comes to a manager that knows nothing
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return 0;
}
