#pragma once

#include <loopback/server.h>

#include <QHash>

/**
 * A loopback server with a list of replies for each path; the last of a list is repeated, an
 * unknown path gives 404.
 */
class ScriptedServer : public loopback::Server
{
public:
    ScriptedServer()
        : Server([this](const loopback::Request& request) {
              auto script = scripts_.find(request.Path());
              if (script == scripts_.end())
                  return loopback::Reply::Status(404, "Not Found");
              return script->size() > 1 ? script->takeFirst() : script->first();
          })
    {
        if (!Listen())
            qFatal("no port to listen on");
    }

    void Script(const QString& path, const QList<loopback::Reply>& replies)
    {
        scripts_[path.toUtf8()] = replies;
    }

    /** Requests for that path so far. */
    QList<loopback::Request> RequestsFor(const QString& path) const
    {
        QList<loopback::Request> found;
        std::copy_if(Requests().cbegin(), Requests().cend(), std::back_inserter(found),
                     [&](const auto& request) { return request.Path() == path.toUtf8(); });
        return found;
    }

private:
    QHash<QByteArray, QList<loopback::Reply>> scripts_;
};

/** The reply with one thing changed. */
template <typename Value>
loopback::Reply With(loopback::Reply reply, Value loopback::Reply::*member,
                     const std::decay_t<Value>& value)
{
    reply.*member = value;
    return reply;
}

// Replies with one fault each.

inline loopback::Reply Silent()
{
    return With({}, &loopback::Reply::silent, true);
}

inline loopback::Reply Gzip(const QByteArray& encodedBody, const QByteArray& coding = "gzip")
{
    return With(loopback::Reply::Ok(encodedBody), &loopback::Reply::headers,
                {{"Content-Encoding", coding}});
}

/** The body in pieces of that size with that many milliseconds between them. */
inline loopback::Reply Drip(const QByteArray& body, int pieceSize, int pause)
{
    loopback::Reply reply = With(loopback::Reply::Ok(body), &loopback::Reply::pause, pause);
    reply.pieceSize = pieceSize;
    return reply;
}

/** Ends the connection after so many bytes of the body. */
inline loopback::Reply Cut(const QByteArray& body, qint64 after)
{
    return With(loopback::Reply::Ok(body), &loopback::Reply::cutAfter, after);
}

inline loopback::Reply WrongLength(const QByteArray& body, qint64 length)
{
    loopback::Reply reply =
        With(loopback::Reply::Ok(body), &loopback::Reply::claimedLength, length);
    reply.ending = loopback::Reply::Close;
    return reply;
}
