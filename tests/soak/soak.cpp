#include <common/http/filedownload.h>
#include <common/http/httprequest.h>
#include <common/http/httprequestdatamap.h>
#include <common/http/httprequestmultipartformdata.h>
#include <common/logger/l4cpp/logger.h>
#include <common/logger/log.h>
#include <common/shell/filecopier.h>
#include <common/shell/fileremover.h>
#include <common/tools/qcompressor.h>

#include "support/scriptedserver.h"
#include "support/tree.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <functional>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include <unistd.h>

// Everything at once against a server with faults, for minutes: nothing may hang, nothing may grow.

using namespace common;
using loopback::Reply;

namespace {

constexpr logger::ICategory logCategory{"soak"};
constexpr char logSource[] = "tests/soak/soak";

constexpr int sampleInterval = 2000; // milliseconds
constexpr size_t samplesPerMinute = 60000 / sampleInterval;
constexpr int longestJob = 120000; // far longer than any takes

const QByteArray content = QByteArray("0123456789abcdef").repeated(20000);

std::mt19937 randomness;

int Random(int limit)
{
    return static_cast<int>(randomness() % static_cast<unsigned int>(limit));
}

Reply Faulty(const QByteArray& body)
{
    QByteArray packed;
    switch (Random(16)) {
    case 0:
        return Silent();
    case 1:
        return Reply::Dropped();
    case 2:
        return Cut(body, Random(body.size()));
    case 3: {
        Reply reply = Cut(body, Random(body.size()));
        reply.ending = Reply::Reset;
        return reply;
    }
    case 4:
        return WrongLength(body, body.size() + 100);
    case 5:
        return Reply::Status(500, "Error", "page");
    case 6:
        return Reply::Status(429, "Too Many Requests");
    case 7:
        return Gzip(body);
    case 8:
        tools::QCompressor::gzipCompress(body, packed, 9);
        return Gzip(packed);
    case 9:
        return Drip(body.left(3000), 100, 10);
    case 10:
        return Chunked(body);
    default:
        return Reply::Ok(body);
    }
}

/** Does one job after the other. A job is an object that calls End() at its end. */
class Worker : public QObject
{
public:
    using Job = std::function<std::unique_ptr<QObject>(Worker&)>;
    enum Outcome { Done, Failed, Aborted };

    Worker(const char* name, Job job) : name_(name), start_(std::move(job)) { Begin(); }

    const char* Name() const { return name_; }
    const std::array<int, 3>& Counts() const { return counts_; }
    bool IsStuck() const { return clock_.hasExpired(longestJob); }

    void End(Outcome outcome)
    {
        isBusy_ = false;
        ++counts_[outcome];
        QTimer::singleShot(Random(20), this, &Worker::Begin);
    }

private:
    void Begin()
    {
        clock_.start();
        isBusy_ = true;
        job_ = start_(*this);
        if (Random(10) == 0) // is stopped in its course
            QTimer::singleShot(Random(100), job_.get(), [this] { Abort(); });
    }

    void Abort()
    {
        if (!isBusy_)
            return;
        job_.reset();
        End(Aborted);
    }

    const char* name_;
    Job start_;
    std::unique_ptr<QObject> job_;
    QElapsedTimer clock_;
    bool isBusy_ = false;
    std::array<int, 3> counts_ = {};
};

QSharedPointer<http::IHttpRequestData> Body(const QString& file)
{
    const QString text(Random(9999), QLatin1Char('x'));
    if (Random(2) == 0) {
        const auto body = http::IHttpRequestMultiPartData::CreateMultiPartFormData();
        body->AddPart(http::IHttpRequestPartData::CreateTextPartFormData("text", text));
        body->AddPart(http::IHttpRequestPartData::CreateFilePartFormData("file", file));
        return body;
    }
    const auto body = http::IHttpRequestDataMap::CreateJsonDataMap();
    body->SetParam("text", text);
    return body;
}

std::unique_ptr<QObject> StartRequest(Worker& worker, QNetworkAccessManager& manager,
                                      const QUrl& url, const QString& file)
{
    using http::IHttpRequest;
    std::unique_ptr<IHttpRequest> request(http::CreateHttpRequest(&manager, nullptr));
    request->SetUrl(url);
    request->SetTimeout(1);
    request->SetAttemptCountOnNetworkProblem(1 + Random(3));
    request->SetAttemptIntervalOnNetworkProblem(0);
    QObject::connect(request.get(), &IHttpRequest::requestFinished, &worker,
                     [&] { worker.End(Worker::Done); });
    QObject::connect(request.get(), &IHttpRequest::requestError, &worker,
                     [&] { worker.End(Worker::Failed); });
    const bool posts = Random(3) > 0;
    request->SetData(posts ? Body(file) : QSharedPointer<http::IHttpRequestData>());
    if (posts ? !request->Post() : !request->Get())
        qFatal("a request could not be sent");
    return request;
}

std::unique_ptr<QObject> StartDownload(Worker& worker, QNetworkAccessManager& manager,
                                       const QUrl& url, const QString& target)
{
    using http::IFileDownload;
    std::unique_ptr<IFileDownload> download(http::CreateFileDownload(&manager, nullptr));
    download->SetUrl(url);
    download->SetFileName(target);
    download->SetExpectedMD5(QCryptographicHash::hash(content, QCryptographicHash::Md5).toHex());
    download->SetTimeout(1);
    download->SetRetryCount(Random(20) == 0 ? 2 : 1); // there is a long pause between two tries
    QObject::connect(download.get(), &IFileDownload::complete, &worker, [&worker, target] {
        if (ContentOf(target) != content)
            qFatal("a download completed with the wrong content");
        worker.End(Worker::Done);
    });
    QObject::connect(download.get(), &IFileDownload::failed, &worker,
                     [&] { worker.End(Worker::Failed); });
    download->Start();
    return download;
}

// Removes what an earlier one has left, then copies the tree.
std::unique_ptr<QObject> StartCopy(Worker& worker, const QString& source, const QString& copy)
{
    auto copier = std::make_unique<FileCopier>();
    auto* remover = new FileRemover;
    remover->setParent(copier.get());
    copier->AddDirectory(source, copy);
    remover->AddDirectory(copy);
    const auto fail = [&] {
        qFatal("a tree could not be copied or removed");
    };
    QObject::connect(remover, &FileRemover::failed, &worker, fail);
    QObject::connect(copier.get(), &FileCopier::failed, &worker, fail);
    QObject::connect(remover, &FileRemover::succesed, copier.get(), &FileCopier::Copy);
    QObject::connect(copier.get(), &FileCopier::succesed, &worker, [&worker, source, copy] {
        if (DescribeTree(copy) != DescribeTree(source))
            qFatal("a copy differs from its source");
        worker.End(Worker::Done);
    });
    remover->Remove();
    return copier;
}

using Sample = std::array<qint64, 3>;
const char* const sampleNames[] = {"RSS in KiB", "open files", "threads"};
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr qint64 slack[] = {1024 * 1024, 4, 2}; // their own notes grow; they find leaks themselves
#else
constexpr qint64 slack[] = {2048, 4, 2};
#endif

Sample TakeSample()
{
    const auto entriesOf = [](const char* directory) {
        return QDir(directory).entryList(QDir::AllEntries | QDir::System).size();
    };
    const qint64 pages = ContentOf("/proc/self/statm").split(' ').value(1).toLongLong();
    return {pages * sysconf(_SC_PAGESIZE) / 1024, entriesOf("/proc/self/fd"),
            entriesOf("/proc/self/task")};
}

qint64 Median(const std::vector<Sample>& samples, size_t begin, size_t end, size_t which)
{
    std::vector<qint64> values;
    for (size_t i = begin; i < end; ++i)
        values.push_back(samples[i][which]);
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void PrintMinute(const std::vector<Sample>& samples)
{
    QString line = QStringLiteral("%1").arg(samples.size() / samplesPerMinute, 6);
    for (size_t which = 0; which < 3; ++which)
        line += QStringLiteral("%1").arg(
            Median(samples, samples.size() - samplesPerMinute, samples.size(), which), 12);
    puts(qPrintable(line));
    fflush(stdout);
}

// Whether the last third was no higher than the second; the first is for warming up.
bool IsFlat(const std::vector<Sample>& samples, size_t which)
{
    const size_t third = samples.size() / 3;
    const qint64 second = Median(samples, third, 2 * third, which);
    const qint64 last = Median(samples, 2 * third, samples.size(), which);
    const bool isFlat = last <= second + slack[which];
    printf("%s: %lld, then %lld: %s\n", sampleNames[which], second, last,
           isFlat ? "flat" : "GROWS");
    return isFlat;
}

} // namespace

// soak MINUTES [SEED]
int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const auto minutes = std::max(1u, QCoreApplication::arguments().value(1).toUInt());
    randomness.seed(QCoreApplication::arguments().value(2).toUInt());

    const QTemporaryDir directory;
    const auto path = [&](const char* name) {
        return directory.filePath(name);
    };
    QStringList tree{"link->0/0"};
    for (int i = 0; i < 50; ++i)
        tree << QStringLiteral("%1/%2=%2").arg(i % 5).arg(i);
    MakeTree(path("source"), tree);
    WriteFile(path("part"), content);

    logger::ILogger* log = logger::l4cpp::Logger::Instance();
    log->Configure(logger::IMessage::DEBUG, logger::rollingFileOutput,
                   logger::patternFormat | logger::positionFormat, {}, "qt", {}, path("log"),
                   1000000, 3);
    logger::SetLogger(log);
    std::atomic<bool> isOver{false};
    std::thread chatter([&] {
        for (; !isOver; usleep(1000))
            QVLOG_FROM("main", INFO) << "a line of another thread";
    });

    loopback::Server server([](const loopback::Request& request) {
        return Faulty(request.Path() == "/file" ? content : "answer");
    });
    if (!server.Listen())
        qFatal("no port to listen on");
    QNetworkAccessManager managers[4];
    std::vector<std::unique_ptr<Worker>> workers;
    const auto add = [&](const char* name, const Worker::Job& job) {
        workers.push_back(std::make_unique<Worker>(name, job));
    };
    for (auto& manager : managers) {
        const QString number = QString::number(&manager - managers);
        add("requests", [&](Worker& worker) {
            return StartRequest(worker, manager, server.Url("/"), path("part"));
        });
        add("downloads", [&, target = path("target") + number](Worker& worker) {
            return StartDownload(worker, manager, server.Url("/file"), target);
        });
        add("copies and removals", [&, copy = path("copy") + number](Worker& worker) {
            return StartCopy(worker, path("source"), copy);
        });
    }

    puts("minute  RSS in KiB  open files     threads");
    std::vector<Sample> samples;
    QTimer sampling;
    QObject::connect(&sampling, &QTimer::timeout, &sampling, [&] {
        server.ForgetRequests();
        samples.push_back(TakeSample());
        if (samples.size() % samplesPerMinute == 0)
            PrintMinute(samples);
        for (const auto& worker : workers) {
            if (worker->IsStuck())
                qFatal("%s: a job does not end", worker->Name());
        }
        if (samples.size() == minutes * samplesPerMinute)
            QCoreApplication::quit();
    });
    sampling.start(sampleInterval);
    QCoreApplication::exec();

    isOver = true;
    chatter.join();
    for (const auto& worker : workers) {
        const auto& [done, failed, aborted] = worker->Counts();
        printf("%s: %d done, %d failed, %d aborted\n", worker->Name(), done, failed, aborted);
    }
    workers.clear();
    int growing = 0;
    for (size_t which = 0; which < 3; ++which)
        growing += !IsFlat(samples, which);
    return growing;
}
