#pragma once

#include <QNetworkRequest>

namespace common::http {

/**
 * Has a request that verifies its peer use only connections that were verified by the same CA
 * certificates. Its TLS configuration must be set before.
 */
void SeparateVerified(QNetworkRequest& request);

} // namespace common::http
