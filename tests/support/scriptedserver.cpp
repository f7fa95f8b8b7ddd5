#include "support/scriptedserver.h"

using loopback::Reply;
using loopback::Request;

ScriptedServer::ScriptedServer()
    : Server([this](const Request& request) {
          auto script = scripts_.find(request.Path());
          if (script == scripts_.end())
              return Reply::Status(404, "Not Found");
          return script->size() > 1 ? script->takeFirst() : script->first();
      })
{
    if (!Listen())
        qFatal("no port to listen on");
}

void ScriptedServer::Script(const QString& path, const QList<Reply>& replies)
{
    scripts_.insert(path.toUtf8(), replies);
}

QList<Request> ScriptedServer::RequestsFor(const QString& path) const
{
    QList<Request> found;
    for (const Request& request : Requests()) {
        if (request.Path() == path.toUtf8())
            found << request;
    }
    return found;
}

Reply Silent()
{
    Reply reply;
    reply.silent = true;
    return reply;
}

Reply Gzip(const QByteArray& encodedBody, const QByteArray& coding)
{
    Reply reply = Reply::Ok(encodedBody);
    reply.headers << qMakePair(QByteArray("Content-Encoding"), coding);
    return reply;
}

Reply Drip(const QByteArray& body, int pieceSize, int pause)
{
    Reply reply = Reply::Ok(body);
    reply.pieceSize = pieceSize;
    reply.pause = pause;
    return reply;
}

Reply Chunked(const QByteArray& body)
{
    Reply reply = Reply::Ok(body);
    reply.chunked = true;
    return reply;
}

Reply Cut(const QByteArray& body, qint64 after)
{
    Reply reply = Reply::Ok(body);
    reply.cutAfter = after;
    return reply;
}

Reply WrongLength(const QByteArray& body, qint64 length)
{
    Reply reply = Reply::Ok(body);
    reply.claimedLength = length;
    reply.ending = Reply::Close;
    return reply;
}
