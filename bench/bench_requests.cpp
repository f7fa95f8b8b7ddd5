// Requests one after the other over a connection that stays open, beside a bare
// QNetworkAccessManager and libcurl: bench_requests URL [BENCHMARK OPTION...]. BYTES in the URL
// stands for the size of the reply.

#include <common/http/httprequest.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <benchmark/benchmark.h>

#include <curl/curl.h>

namespace {

std::string urlPattern;

QString Url(const benchmark::State& state)
{
    return QString::fromStdString(urlPattern).replace("BYTES", QString::number(state.range(0)));
}

void RequestByLibrary(benchmark::State& state)
{
    QNetworkAccessManager manager;
    const QScopedPointer<common::http::IHttpRequest> request(
        common::http::CreateHttpRequest(&manager, nullptr));
    request->SetUrl(QUrl(Url(state)));
    QEventLoop loop;
    QObject::connect(request.data(), &common::http::IHttpRequest::requestFinished, &loop,
                     &QEventLoop::quit);
    QObject::connect(request.data(), &common::http::IHttpRequest::requestError, &loop,
                     [](int code) { qFatal("the request failed with code %d", code); });
    while (state.KeepRunning()) {
        request->Get();
        loop.exec();
    }
}

void RequestByQt(benchmark::State& state)
{
    QNetworkAccessManager manager;
    const QNetworkRequest request{QUrl(Url(state))};
    QEventLoop loop;
    while (state.KeepRunning()) {
        QNetworkReply* reply = manager.get(request);
        QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
        loop.exec();
        benchmark::DoNotOptimize(QString::fromUtf8(reply->readAll()));
        if (reply->error() != QNetworkReply::NoError)
            state.SkipWithError("failed");
        reply->deleteLater();
    }
}

std::size_t Append(const char* data, std::size_t size, std::size_t count, void* body)
{
    static_cast<QByteArray*>(body)->append(data, static_cast<int>(size * count));
    return size * count;
}

void RequestByCurl(benchmark::State& state)
{
    CURL* curl = curl_easy_init();
    QByteArray body;
    const std::string url = Url(state).toStdString();
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, Append);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &body);
    while (state.KeepRunning()) {
        body.clear();
        if (curl_easy_perform(curl) != CURLE_OK)
            state.SkipWithError("failed");
        benchmark::DoNotOptimize(QString::fromUtf8(body));
    }
    curl_easy_cleanup(curl);
}

void Sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->Arg(1 << 10)->Arg(64 << 10)->Arg(1 << 20)->UseRealTime()->MeasureProcessCPUTime();
}

} // namespace

BENCHMARK(RequestByLibrary)->Name("request/qvcommon")->Apply(Sizes);
BENCHMARK(RequestByQt)->Name("request/QNetworkAccessManager")->Apply(Sizes);
BENCHMARK(RequestByCurl)->Name("request/libcurl")->Apply(Sizes);

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (argc != 2)
        qFatal("usage: bench_requests URL [BENCHMARK OPTION...]");
    urlPattern = argv[1];
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
