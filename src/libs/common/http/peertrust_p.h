#pragma once

#include <QList>
#include <QNetworkRequest>
#include <QSslCertificate>
#include <QSslConfiguration>

namespace common::http {

/**
 * Has the peer of the request verified by the given CA certificates, or without any by those of the
 * configuration, on a connection that none verified otherwise has used.
 */
void VerifyPeer(QNetworkRequest& request, QSslConfiguration& configuration,
                const QList<QSslCertificate>& authorities);

} // namespace common::http
