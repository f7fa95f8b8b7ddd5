#pragma once

#include "loopback/message.h"

#include <QList>
#include <QTcpServer>
#include <QUrl>

#include <functional>

namespace loopback {

/**
 * An HTTP/1.1 server on a free port of 127.0.0.1, run by the event loop of its thread.
 *
 * @code
 * loopback::Server server([](const loopback::Request& request) {
 *     return loopback::Reply::Ok(request.body);
 * });
 * if (server.Listen())
 *     request->SetUrl(server.Url("/echo"));
 * @endcode
 *
 * It serves until it is destroyed and keeps every request it got, until told to forget.
 */
class Server : public QTcpServer
{
    Q_OBJECT

public:
    using Handler = std::function<Reply(const Request&)>;

    explicit Server(Handler handler, QObject* parent = nullptr);

    /** Starts to listen; false if no port is to be had, see errorString(). */
    bool Listen();
    QUrl Url(const QString& pathAndQuery) const;

    /** All complete requests so far, in the order of their arrival. */
    const QList<Request>& Requests() const { return requests_; }
    void ForgetRequests() { requests_.clear(); }

    /** Records a request and asks the handler for its reply. */
    Reply Answer(const Request& request);

private:
    Handler handler_;
    QList<Request> requests_;
};

} // namespace loopback
