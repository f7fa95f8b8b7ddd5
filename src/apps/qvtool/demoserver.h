#pragma once

#include <loopback/server.h>

#include <QElapsedTimer>

namespace qvtool {

/** The server that the demo talks to: one path a step, some of them faulty on purpose. */
class DemoServer : public loopback::Server
{
    Q_OBJECT

public:
    /** @param file what "/file" serves, damaged at the first request */
    explicit DemoServer(const QByteArray& file, QObject* parent = nullptr);

    /** How many requests came for that path. */
    int Hits(const QByteArray& path) const;

    /** The text that "/gzip" serves compressed. */
    static QByteArray LongText();

private:
    loopback::Reply Handle(const loopback::Request& request);
    loopback::Reply Packed() const;
    loopback::Reply Flaky();
    loopback::Reply File() const;

    QByteArray file_;
    QElapsedTimer sinceDrop_;
};

} // namespace qvtool
