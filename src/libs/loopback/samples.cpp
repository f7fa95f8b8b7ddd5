#include "loopback/samples.h"

#include <common/tools/qcompressor.h>

#include <QDir>
#include <QFile>
#include <QRandomGenerator>

namespace loopback {

namespace {

constexpr int fileSize = 48 * 1024 * 1024;

// About 25 MB/s, to have something to watch.
constexpr int filePiece = 256 * 1024;
constexpr int filePause = 10;

// Qt itself repeats a request whose connection was closed, at once and a varying number of times.
// All of these belong to the failed attempt; the library sends again a second later.
constexpr qint64 dropPeriod = 500; // milliseconds

Reply Packed(const QByteArray& text)
{
    QByteArray packed;
    if (!tools::QCompressor::gzipCompress(text, packed, 9))
        return Reply::Status(500, "Internal Server Error");
    Reply reply = Reply::Ok(packed);
    reply.headers << qMakePair(QByteArray("Content-Encoding"), QByteArray("gzip"));
    return reply;
}

} // namespace

SampleServer::SampleServer(QObject* parent)
    : Server([this](const Request& request) { return Serve(request); }, parent),
      file_(fileSize, Qt::Uninitialized)
{
    QRandomGenerator(1).fillRange(reinterpret_cast<quint32*>(file_.data()),
                                  fileSize / int(sizeof(quint32)));
}

Reply SampleServer::Serve(const Request& request)
{
    const QByteArray path = request.Path();
    if (path == "/query")
        return Reply::Ok(request.Query());
    if (path == "/echo")
        return Reply::Ok(request.body, request.Header("Content-Type"));
    if (path == "/gzip")
        return Packed(SampleText());
    if (path == "/file")
        return ServeFile();
    if (path != "/flaky")
        return Reply::Status(404, "Not Found");
    if (!sinceDrop_.isValid())
        sinceDrop_.start();
    return sinceDrop_.elapsed() < dropPeriod ? Reply::Dropped() : Reply::Ok("here at last");
}

Reply SampleServer::ServeFile()
{
    Reply reply = Reply::Ok(file_, "application/octet-stream");
    reply.pieceSize = filePiece;
    reply.pause = filePause;
    if (damagesNext_)
        reply.body[fileSize / 2] = static_cast<char>(~reply.body[fileSize / 2]);
    damagesNext_ = false;
    return reply;
}

QByteArray SampleText()
{
    return QByteArray("All work and no play makes a dull demo. ").repeated(500);
}

bool MakeSampleTree(const QString& root, int folders, int filesPerFolder)
{
    for (int folder = 0; folder < folders; ++folder) {
        const QString path = QString("%1/folder %2").arg(root).arg(folder);
        if (!QDir().mkpath(path))
            return false;
        for (int number = 0; number < filesPerFolder; ++number) {
            QFile file(QString("%1/file %2").arg(path).arg(number));
            if (!file.open(QIODevice::WriteOnly) || file.write("a small file\n") < 0)
                return false;
        }
    }
    return true;
}

} // namespace loopback
