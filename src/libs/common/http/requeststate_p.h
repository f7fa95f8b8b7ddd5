#pragma once

#include "common/http/heldreply_p.h"

#include <memory>

namespace common::http {

/** What a request knows beyond the members of its class, which no longer change. A child of it. */
class RequestState : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    std::unique_ptr<HeldReply> held;
};

} // namespace common::http
