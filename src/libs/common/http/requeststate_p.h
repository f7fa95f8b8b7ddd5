#pragma once

#include "common/http/heldreply_p.h"

#include <memory>

namespace common::http {

/** What a request knows beyond the members of its class, which no longer change. A child of it. */
class RequestState : public QObject
{
    Q_OBJECT

public:
    /** What is delivered as text takes twice the bytes, and no QString is larger than 2 GiB. */
    static constexpr qint64 maxSize = (Q_INT64_C(1) << 30) - 1024;

    using QObject::QObject;

    /** That of the request, or null if it is not of the library's own class. */
    static RequestState* Of(const QObject& request)
    {
        return request.findChild<RequestState*>(QString(), Qt::FindDirectChildrenOnly);
    }

    std::unique_ptr<HeldReply> held;
    qint64 maxReplySize = maxSize;
    bool verifiesPeer = false;
    QList<QSslCertificate> authorities;
};

} // namespace common::http
