#include "network.h"

#include <QNetworkProxyFactory>

namespace qvtool {

using common::http::IFileDownload;
using common::http::IHttpRequest;

namespace {

constexpr int firstErrorStatus = 400;

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

Network::Network()
{
    connect(this, &QNetworkAccessManager::finished, this, &Network::Remember);
}

// What Qt does not understand is put into the form that it does.
void Network::UseProxiesOfEnvironment()
{
    SetProxy("http_proxy", qgetenv("http_proxy"));
    SetProxy("https_proxy", Variable("https_proxy", "HTTPS_PROXY"));
    const QByteArray exceptions = Variable("no_proxy", "NO_PROXY");
    if (!exceptions.isEmpty())
        qputenv("no_proxy", exceptions);
    QNetworkProxyFactory::setUseSystemConfiguration(exceptions != "*");
}

void Network::Remember(QNetworkReply* reply)
{
    const QVariant length = reply->header(QNetworkRequest::ContentLengthHeader);
    status_ = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    phrase_ = reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString();
    redirection_ = reply->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl().toString();
    coding_ = QString::fromLatin1(reply->rawHeader("Content-Encoding"));
    announcedSize_ = length.isValid() ? length.toLongLong() : -1;
}

QString Network::Reason(QString message, const QUrl& url) const
{
    if (status_ >= firstErrorStatus)
        return StatusLine();
    if (!url.password().isEmpty())
        message.replace(url.toString(), url.toDisplayString());
    return message;
}

Answer Ask(IHttpRequest& request, IHttpRequest::HTTPRequestMethod method, const Network& network,
           const ToolLogger& log)
{
    using ErrorSignal = void (IHttpRequest::*)(int, const QString&, const QByteArray&);
    Answer answer;
    QEventLoop loop;
    QObject::connect(&request, &IHttpRequest::requestFinishedWithBinaryData, &loop,
                     [&](const QByteArray& body) {
                         answer.body = body;
                         loop.quit();
                     });
    QObject::connect(&request, static_cast<ErrorSignal>(&IHttpRequest::requestError), &loop,
                     [&](int, const QString& message, const QByteArray& body) {
                         answer = {body, network.Reason(message, request.GetUrl())};
                         loop.quit();
                     });
    Await(loop, [&] {
        if (request.Send(method))
            return;
        const QString reason = log.LastFailure("AppendTo");
        answer.problem = network.Reason(reason.isEmpty() ? log.LastFailure("SendRequest") : reason,
                                        request.GetUrl());
        loop.quit();
    });
    return answer;
}

Fetched Fetch(IFileDownload& download, Progress& progress)
{
    Fetched fetched;
    QEventLoop loop;
    QObject::connect(&download, &IFileDownload::progress, &loop,
                     [&](qint64 received, qint64 total) {
                         fetched.received = received;
                         progress.Update(received, total);
                     });
    QObject::connect(&download, &IFileDownload::complete, &loop, &QEventLoop::quit);
    QObject::connect(&download, &IFileDownload::failed, &loop,
                     [&](int code, const QString& message) {
                         fetched.error = code;
                         fetched.message = message;
                         loop.quit();
                     });
    Await(loop, [&] { download.Start(); });
    download.Abort();
    progress.Finish();
    return fetched;
}

const Options& NetworkOptions()
{
    static const Options options = {
        {"insecure", nullptr, "Do not verify the server's certificate."},
        {"tries", "N",
         "Number of attempts (default: 1). A download is tried again after any failure, get and "
         "post only after a network problem.",
         "1"},
        {"timeout", "SECONDS",
         "Give up when the server is silent for so long (default: 30); 0 for no limit.", "30"},
    };
    return options;
}

} // namespace qvtool
