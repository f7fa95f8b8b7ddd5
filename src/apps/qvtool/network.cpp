#include "network.h"

#include <QNetworkProxyFactory>

namespace qvtool {

namespace {

constexpr int firstErrorStatus = 400;

} // namespace

Network::Network()
{
    connect(this, &Network::finished, this, [this](QNetworkReply* reply) {
        const QVariant length = reply->header(QNetworkRequest::ContentLengthHeader);
        head_ = {reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(),
                 reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString(),
                 reply->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl().toString(),
                 QString::fromLatin1(reply->rawHeader("Content-Encoding")),
                 length.isValid() ? length.toLongLong() : -1};
    });
}

// Qt reads these variables, but in lower case only, and proxies as URLs only.
void Network::UseProxiesOfEnvironment()
{
    for (const QByteArray name : {"http_proxy", "https_proxy", "no_proxy"}) {
        QByteArray value = qgetenv(name.constData());
        if (value.isEmpty() && name != "http_proxy") // servers set HTTP_PROXY to a client's header
            value = qgetenv(name.toUpper().constData());
        if (!value.isEmpty())
            qputenv(name.constData(),
                    name == "no_proxy" || value.contains("://") ? value : "http://" + value);
    }
    QNetworkProxyFactory::setUseSystemConfiguration(qgetenv("no_proxy") != "*");
}

QString Network::Reason(QString message, const QUrl& url) const
{
    if (head_.status >= firstErrorStatus)
        return head_.StatusLine();
    if (!url.password().isEmpty())
        message.replace(url.toString(), url.toDisplayString());
    return message;
}

} // namespace qvtool
