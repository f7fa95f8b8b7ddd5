#include "loopback/message.h"

#include <utility>

namespace loopback {

namespace {

constexpr int maxHeadSize = 64 * 1024;

bool ParseHead(const QByteArray& head, Request& request)
{
    QList<QByteArray> lines = head.split('\n');
    const QList<QByteArray> words = lines.takeFirst().trimmed().split(' ');
    if (words.size() != 3 || !words[2].startsWith("HTTP/1."))
        return false;
    request.method = words[0];
    request.target = words[1];
    for (const QByteArray& line : std::as_const(lines)) {
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0)
            return false;
        request.headers << qMakePair(line.left(colon), line.mid(colon + 1).trimmed());
    }
    return true;
}

} // namespace

QByteArray Request::Path() const
{
    return target.split('?').first();
}

QByteArray Request::Query() const
{
    const qsizetype mark = target.indexOf('?');
    return mark < 0 ? QByteArray() : target.mid(mark + 1);
}

QByteArray Request::Header(const QByteArray& name) const
{
    QByteArrayList values;
    for (const auto& header : headers) {
        if (header.first.compare(name, Qt::CaseInsensitive) == 0)
            values << header.second;
    }
    return values.join(", ");
}

Reply Reply::Ok(const QByteArray& body, const QByteArray& contentType)
{
    Reply reply;
    reply.headers << qMakePair(QByteArray("Content-Type"), contentType);
    reply.body = body;
    return reply;
}

Reply Reply::Status(int status, const QByteArray& reason, const QByteArray& body)
{
    Reply reply;
    reply.status = status;
    reply.reason = reason;
    reply.body = body;
    return reply;
}

Reply Reply::Dropped()
{
    Reply reply;
    reply.drop = true;
    return reply;
}

RequestParser::Result RequestParser::Take(QByteArray& buffer, Request& request)
{
    const QByteArray headEnd = "\r\n\r\n";
    const qsizetype headSize = buffer.indexOf(headEnd);
    if (headSize < 0)
        return buffer.size() > maxHeadSize ? Malformed : Incomplete;

    Request parsed;
    if (!ParseHead(buffer.left(headSize), parsed))
        return Malformed;
    const qsizetype bodyStart = headSize + headEnd.size();
    const int bodySize = parsed.Header("Content-Length").toInt();
    if (bodySize < 0)
        return Malformed;
    if (buffer.size() - bodyStart < bodySize)
        return Incomplete;

    parsed.body = buffer.mid(bodyStart, bodySize);
    buffer.remove(0, bodyStart + bodySize);
    request = parsed;
    return Complete;
}

} // namespace loopback
