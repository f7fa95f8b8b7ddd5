#include "demoserver.h"

#include <common/tools/qcompressor.h>

#include <algorithm>

namespace qvtool {

using loopback::Reply;
using loopback::Request;

namespace {

// Qt itself repeats a request whose connection was closed, at once and a varying number of times.
// All of these belong to the failed attempt; the library sends again a second later.
constexpr qint64 dropPeriod = 500; // milliseconds

// About 25 MB/s, to have something to watch.
constexpr int filePiece = 256 * 1024;
constexpr int filePause = 10;

} // namespace

DemoServer::DemoServer(const QByteArray& file, QObject* parent)
    : Server([this](const Request& request) { return Handle(request); }, parent), file_(file)
{
}

int DemoServer::Hits(const QByteArray& path) const
{
    return static_cast<int>(
        std::count_if(Requests().cbegin(), Requests().cend(),
                      [&](const Request& request) { return request.Path() == path; }));
}

QByteArray DemoServer::LongText()
{
    return QByteArray("All work and no play makes a dull demo. ").repeated(500);
}

Reply DemoServer::Handle(const Request& request)
{
    const QByteArray path = request.Path();
    if (path == "/query")
        return Reply::Ok(request.Query());
    if (path == "/echo")
        return Reply::Ok(request.body, request.Header("Content-Type"));
    if (path == "/gzip")
        return Packed();
    if (path == "/flaky")
        return Flaky();
    if (path == "/file")
        return File();
    return Reply::Status(404, "Not Found");
}

Reply DemoServer::Packed() const
{
    QByteArray packed;
    if (!tools::QCompressor::gzipCompress(LongText(), packed, 9))
        return Reply::Status(500, "Internal Server Error");
    Reply reply = Reply::Ok(packed);
    reply.headers << qMakePair(QByteArray("Content-Encoding"), QByteArray("gzip"));
    return reply;
}

Reply DemoServer::Flaky()
{
    if (!sinceDrop_.isValid())
        sinceDrop_.start();
    return sinceDrop_.elapsed() < dropPeriod ? Reply::Dropped() : Reply::Ok("here at last");
}

Reply DemoServer::File() const
{
    Reply reply = Reply::Ok(file_, "application/octet-stream");
    reply.pieceSize = filePiece;
    reply.pause = filePause;
    if (Hits("/file") == 1)
        reply.body[reply.body.size() / 2] = static_cast<char>(~reply.body[reply.body.size() / 2]);
    return reply;
}

} // namespace qvtool
