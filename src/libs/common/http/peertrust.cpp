#include "common/http/peertrust_p.h"

#include <QCryptographicHash>
#include <QHash>
#include <QHostAddress>
#include <QMutex>
#include <QSslCertificate>
#include <QSslConfiguration>

namespace common::http {

namespace {

// Counts the sets of CA certificates that the process has verified with, from 1.
int NumberOf(const QList<QSslCertificate>& authorities)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const QSslCertificate& authority : authorities)
        hash.addData(authority.toDer());

    static QMutex mutex;
    static QHash<QByteArray, int> numbers;
    const QMutexLocker lock(&mutex);
    int& number = numbers[hash.result()];
    if (number == 0)
        number = int(numbers.size());
    return number;
}

// Qt reuses a connection to the same host and port whatever was verified there, but only for the
// same verify name. So each number has a spelling of the host of its own, which nobody would use
// otherwise: a soft hyphen counts for nothing in a name, nor does a zero before a number, and no
// certificate names the interface of an address.
QString VerifyName(const QString& host, int number)
{
    QHostAddress address(host);
    if (address.protocol() == QAbstractSocket::IPv4Protocol)
        return QStringLiteral("0x") + QString(number, QLatin1Char('0')) +
               QString::number(address.toIPv4Address(), 16);
    if (address.protocol() == QAbstractSocket::IPv6Protocol) {
        address.setScopeId(QString::number(number));
        return address.toString();
    }
    return host + QString(number, QChar(QChar::SoftHyphen));
}

} // namespace

void SeparateVerified(QNetworkRequest& request)
{
    const QSslConfiguration configuration = request.sslConfiguration();
    if (configuration.peerVerifyMode() == QSslSocket::VerifyPeer)
        request.setPeerVerifyName(
            VerifyName(request.url().host(), NumberOf(configuration.caCertificates())));
}

} // namespace common::http
