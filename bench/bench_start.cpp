// What the start of a program costs: bench_start [log FILE | request URL | request-tls URL]. Built
// twice more WITHOUT_LIBRARY, linked with what a console and what a desktop program use of Qt.

#ifndef WITHOUT_LIBRARY
#include <common/http/httprequest.h>
#include <common/logger/log.h>
#endif

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSslConfiguration>

namespace {

#ifndef WITHOUT_LIBRARY

constexpr common::logger::ICategory logCategory{"bench.start"};
constexpr char logSource[] = "bench/bench_start";

int Log(const QString& path)
{
    using namespace common::logger;
    SetLogger(GetLog4cpp());
    GetLogger()->Configure(IMessage::DEBUG, fileOutput, patternFormat, {}, {}, {}, path, 0, 0);
    QVLOG(INFO) << "the first line";
    return 0;
}

int Request(const QUrl& url, bool)
{
    QNetworkAccessManager manager;
    const QScopedPointer<common::http::IHttpRequest> request(
        common::http::CreateHttpRequest(&manager, nullptr));
    request->SetUrl(url);
    QObject::connect(request.data(), &common::http::IHttpRequest::requestFinished,
                     [] { QCoreApplication::exit(0); });
    QObject::connect(request.data(), &common::http::IHttpRequest::requestError,
                     [] { QCoreApplication::exit(1); });
    request->Get();
    return QCoreApplication::exec();
}

#else

int Log(const QString&)
{
    return 2;
}

int Request(const QUrl& url, bool withTls)
{
    QNetworkAccessManager manager;
    QNetworkRequest request(url);
    if (withTls)
        request.setSslConfiguration(request.sslConfiguration());
    QNetworkReply* reply = manager.get(request);
    QObject::connect(reply, &QNetworkReply::finished,
                     [reply] { QCoreApplication::exit(reply->error() ? 1 : 0); });
    return QCoreApplication::exec();
}

#endif

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments();
    if (words.value(1) == QLatin1String("log"))
        return Log(words.value(2));
    if (words.value(1).startsWith(QLatin1String("request")))
        return Request(QUrl(words.value(2)), words.value(1).endsWith(QLatin1String("tls")));
    return 0;
}
