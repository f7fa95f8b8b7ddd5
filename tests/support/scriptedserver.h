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
    ScriptedServer();

    void Script(const QString& path, const QList<loopback::Reply>& replies);
    /** Requests for that path so far. */
    QList<loopback::Request> RequestsFor(const QString& path) const;

private:
    QHash<QByteArray, QList<loopback::Reply>> scripts_;
};

// Replies with one fault each.

loopback::Reply Silent();
loopback::Reply Gzip(const QByteArray& encodedBody, const QByteArray& coding = "gzip");
/** The body in pieces of that size with that many milliseconds between them. */
loopback::Reply Drip(const QByteArray& body, int pieceSize, int pause);
loopback::Reply Chunked(const QByteArray& body);
/** Ends the connection after so many bytes of the body. */
loopback::Reply Cut(const QByteArray& body, qint64 after);
loopback::Reply WrongLength(const QByteArray& body, qint64 length);
