#include "proxy.h"

#include <QByteArray>
#include <QNetworkProxyFactory>

namespace qvtool {

namespace {

QByteArray Variable(const char* name, const char* otherName)
{
    const QByteArray value = qgetenv(name);
    return value.isEmpty() ? qgetenv(otherName) : value;
}

void SetProxy(const char* name, const QByteArray& proxy)
{
    if (!proxy.isEmpty())
        qputenv(name, proxy.contains("://") ? proxy : "http://" + proxy);
}

} // namespace

// What Qt does not understand is put into the form that it does.
void UseProxiesOfEnvironment()
{
    SetProxy("http_proxy", qgetenv("http_proxy"));
    SetProxy("https_proxy", Variable("https_proxy", "HTTPS_PROXY"));
    const QByteArray exceptions = Variable("no_proxy", "NO_PROXY");
    if (!exceptions.isEmpty())
        qputenv("no_proxy", exceptions);
    QNetworkProxyFactory::setUseSystemConfiguration(exceptions != "*");
}

} // namespace qvtool
