#pragma once

#include <QNetworkReply>

namespace common::http {

/**
 * Frees a reply once Qt is done with it.
 *
 * Qt goes on using a reply after it has emitted uploadProgress. A deferred deletion is too early
 * there if a handler of the signal runs an event loop of its own, as one that shows a dialog does.
 * So the first and the last connection of that signal count who is inside.
 */
class ReplyGuard : public QObject
{
    Q_OBJECT

public:
    /** Makes the guard of the reply and the first connection to it. */
    static void Enter(QNetworkReply* reply);
    /** Makes the last connection. */
    static void Leave(QNetworkReply* reply);
    /** Deletes the reply as soon as that is safe. */
    static void Free(QNetworkReply* reply);

private:
    explicit ReplyGuard(QNetworkReply* reply);
    static ReplyGuard* Of(QNetworkReply* reply);

    int inside_ = 0;
    bool released_ = false;
};

} // namespace common::http
