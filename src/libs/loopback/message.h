#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>

namespace loopback {

using Headers = QList<QPair<QByteArray, QByteArray>>;

/** A request as it came over the wire. */
struct Request
{
    QByteArray method;
    QByteArray target; ///< path and query, as sent
    Headers headers;
    QByteArray body;

    QByteArray Path() const;
    QByteArray Query() const; ///< what follows the first "?", still encoded
    /** Values of all headers of that name (any case), joined with ", ". */
    QByteArray Header(const QByteArray& name) const;
};

/** What to answer, and how badly. The defaults are a well-behaved reply. */
struct Reply
{
    enum Ending {
        KeepAlive,
        Close, ///< an orderly close once everything is sent
        Reset  ///< a TCP reset instead
    };

    int status = 200;
    QByteArray reason = "OK";
    Headers headers;
    QByteArray body;

    bool silent = false;       ///< never answer at all
    bool drop = false;         ///< end the connection without an answer
    bool chunked = false;      ///< chunked transfer coding instead of a length
    qint64 claimedLength = -1; ///< Content-Length to send; negative for the true one
    qint64 cutAfter = -1;      ///< end the connection after so many bytes of the body
    int delay = 0;             ///< milliseconds before the first byte
    int pieceSize = 64 * 1024; ///< bytes of the body sent at once ...
    int pause = 0;             ///< ... and milliseconds between two pieces
    Ending ending = KeepAlive;

    static Reply Ok(const QByteArray& body, const QByteArray& contentType = "text/plain");
    static Reply Status(int status, const QByteArray& reason, const QByteArray& body = {});
    static Reply Dropped();
};

/** Reads requests out of a growing buffer. */
class RequestParser
{
public:
    enum Result { Incomplete, Complete, Malformed };

    /** Takes one request from the front of @p buffer, if it is all there. */
    static Result Take(QByteArray& buffer, Request& request);
};

} // namespace loopback
