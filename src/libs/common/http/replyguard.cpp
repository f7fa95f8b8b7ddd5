#include "common/http/replyguard_p.h"

namespace common::http {

ReplyGuard::ReplyGuard(QNetworkReply* reply) : QObject(reply)
{
}

ReplyGuard* ReplyGuard::Of(QNetworkReply* reply)
{
    return reply->findChild<ReplyGuard*>(QString(), Qt::FindDirectChildrenOnly);
}

void ReplyGuard::Enter(QNetworkReply* reply)
{
    auto* guard = new ReplyGuard(reply);
    connect(reply, &QNetworkReply::uploadProgress, guard, [guard] { ++guard->inside_; });
}

void ReplyGuard::Leave(QNetworkReply* reply)
{
    ReplyGuard* guard = Of(reply);
    connect(reply, &QNetworkReply::uploadProgress, guard, [guard, reply] {
        if (--guard->inside_ == 0 && guard->released_)
            reply->deleteLater();
    });
}

void ReplyGuard::Free(QNetworkReply* reply)
{
    ReplyGuard* guard = Of(reply);
    if (guard && guard->inside_ > 0)
        guard->released_ = true;
    else
        reply->deleteLater();
}

} // namespace common::http
