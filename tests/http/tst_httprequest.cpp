#include <common/http/httprequest.h>
#include <common/http/httprequestdatamap.h>
#include <common/http/httprequestmultipartformdata.h>
#include <common/tools/qcompressor.h>

#include "support/cases.h"
#include "support/recordinglogger.h"
#include "support/requestrecord.h"
#include "support/scriptedserver.h"

#include <memory>

using namespace common::http;
using loopback::Reply;

namespace {

using Replies = QList<Reply>;

const QStringList body = {"binary body", "text body"};
const char* const attemptLimitLine =
    "7 http.request AskRetryIfPossible: Cannot retry request. The attempt count reached maximum.";
const char* const nextAttemptLine = "7 http.request AskRetryIfPossible: The next request attempt "
                                    "will be taken in '0' seconds.";

// Long enough for a signal that must not come to show up on loopback.
constexpr int quietPeriod = 300;

struct OutcomeCase
{
    const char* name;
    Replies script;
    int attempts;
    QStringList signalsSeen;
    QString logged = {};
    qint64 maxReplySize = 0;
    QString url = {}; // without a script
};

struct PendingCase
{
    const char* name;
    Reply first;
    bool timesOut = false;
};

struct WireCase
{
    const char* name;
    QString query;
    QString header; // has the value "identity"
    QByteArray accepted;
};

} // namespace

class TestHttpRequest : public QObject
{
    Q_OBJECT

private:
    // A path for each: a request that an earlier one left behind may still arrive.
    std::unique_ptr<HttpRequest> NewRequest(const Replies& script, const QString& query = QString())
    {
        path_ = "/" + QString::number(++number_);
        server_.Script(path_, script);
        auto request = std::make_unique<HttpRequest>(&manager_, nullptr);
        request->SetUrl(server_.Url(path_ + query));
        request->SetAttemptIntervalOnNetworkProblem(0);
        return request;
    }

    ScriptedServer server_;
    QNetworkAccessManager manager_;
    QString path_;
    int number_ = 0;

private Q_SLOTS:
    void defaults()
    {
        const HttpRequest request(&manager_, nullptr);
        QCOMPARE(request.GetAttemptCountOnNetworkProblem(), 1);
        QCOMPARE(request.GetAttemptIntervalOnNetworkProblem(), 20);
        QCOMPARE(request.findChild<QTimer*>()->interval(), 20000);

        // Clients connect by index through their own meta-object tools.
        const QMetaObject& meta = IHttpRequest::staticMetaObject;
        const int first = meta.methodOffset();
        QCOMPARE(meta.indexOfSignal("requestFinished(QString)"), first);
        QCOMPARE(meta.indexOfSignal("requestError(int,QString)"), first + 3);
        QCOMPARE(meta.indexOfSignal("uploadProgress(qint64,qint64)"), first + 7);
    }

    void outcome_data()
    {
        QByteArray packed;
        tools::QCompressor::gzipCompress("unpacked", packed, 9);
        QByteArray damaged = packed;
        damaged[damaged.size() - 6] = static_cast<char>(~damaged[damaged.size() - 6]);
        const QString damagedLine = "4 http.request OnRequestFinished: Failed to decompress gzip, "
                                    "using uncompressed data!";
        const auto raw = [](const QByteArray& bytes) {
            return QStringList{"binary " + QString::fromLatin1(bytes),
                               "text " + QString::fromUtf8(bytes.constData())};
        };
        const auto status = [](int code, const char* reason) {
            return Reply::Status(code, reason, "why");
        };
        const auto accepted = [](const QString& line) {
            return "7 http.request OnRequestFinished: Accepted reply from server: " + line +
                   "; URL='%1', attempt='0'.";
        };
        const auto refused = [](const QString& line, const QString& error) {
            return "3 http.request OnRequestFinished: Accepted reply from server: " + line +
                   ";    " + error + ", URL='%1', attempt='0'.";
        };
        const QString early = "ProtocolFailure (Status 103 is no final reply)";
        const QString notFound =
            "ContentNotFoundError (Error transferring %1 - server replied: Not Found)";
        const QString dropped = "RemoteHostClosedError (Connection closed)";
        const QString longName(64, 'x'); // no name server is asked for that
        const Replies busyOnce = {status(429, "Slow Down"), Reply::Ok("body")};
        const QByteArray zero("ab\0cd", 5);
        const QByteArray most(1000, 'x');
        const QByteArray more(5000, 'x');
        QByteArray packedMost;
        QByteArray packedMore;
        tools::QCompressor::gzipCompress(most, packedMost, 9);
        tools::QCompressor::gzipCompress(most + 'x', packedMore, 9);
        Reply packedError = Gzip(packedMore);
        packedError.status = 500;

        AddCases<OutcomeCase>({
            {"success", {Reply::Ok("body")}, 3, body, accepted("200/OK")},
            {"204", {Reply::Status(204, "No Content")}, 3, {"binary ", "text "}},
            {"103", {status(103, "Early")}, 3, {"error 399 "}, refused("103/Early", early)},
            {"redirect is not followed", {status(302, "Found")}, 3, {"binary why", "text why"}},
            {"zero byte", {Reply::Ok(zero)}, 1, {raw(zero).first(), "text ab"}},
            {"chunked", {Chunked("body")}, 1, body},
            {"gzip", {Gzip(packed)}, 1, {"binary unpacked", "text unpacked"}},
            {"gzip damaged", {Gzip(damaged)}, 1, raw(damaged), damagedLine},
            {"gzip cut", {Gzip(packed.chopped(3))}, 1, raw(packed.chopped(3)), damagedLine},
            {"GZIP is not recognised", {Gzip(packed, "GZIP")}, 1, raw(packed)},
            {"length too short", {WrongLength("body and more", 4)}, 3, body},

            {"400", {status(400, "Bad")}, 3, {"invalid 302", "error 302 why"}, "ProtocolInvalidOp"},
            {"401", {status(401, "Who")}, 3, {"error 204 why"}, "AuthenticationRequiredError"},
            {"404",
             {status(404, "Not Found")},
             3,
             {"error 203 why"},
             refused("404/Not Found", notFound)},
            {"407", {status(407, "Proxy")}, 3, {"proxy 105", "error 105 why"}, "ProxyAuthentic"},
            {"429, no attempt left",
             {busyOnce[0]},
             1,
             {"error 299 why"},
             accepted("429/Slow Down")},
            {"429, attempt left", busyOnce, 2, body, nextAttemptLine},
            {"503", {status(503, "Busy")}, 3, {"error 403 why"}, "ServiceUnavailableError"},
            {"504", {status(504, "Gateway")}, 3, {"error 499 why"}, "UnknownServerError"},

            {"dropped", {Reply::Dropped()}, 0, {"error 2 "}, refused("0/", dropped)},
            {"all attempts dropped", {Reply::Dropped()}, 3, {"error 2 "}, attemptLimitLine},
            {"refused", {}, 1, {"error 1 "}, "", 0, "http://127.0.0.1:1/"},
            {"unknown host", {}, 1, {"error 3 "}, "", 0, "http://" + longName + ".invalid/"},
            {"unknown scheme", {}, 1, {"error 301 "}, "", 0, "nonsense://host/"},
            {"empty URL", {}, 1, {"error 301 "}},

            {"most bytes", {Reply::Ok(most)}, 3, raw(most), "", 1000},
            {"most, unpacked", {Gzip(packedMost)}, 3, raw(most), "", 1000},
            {"too many", {Drip(more.repeated(20), 600, 2)}, 3, {"error 299 "}, "", 1000},
            {"too many, local", {}, 3, {"error 299 "}, "", 1000, "data:," + more},
            {"too many, unpacked", {Gzip(packedMore)}, 3, {"error 299 "}, "", 1000},
            {"404, too many", {Reply::Status(404, "No", more)}, 3, {"error 203 " + most}, "", 1000},
            {"401, too many", {Reply::Status(401, "No", more)}, 3, {"error 204 " + most}, "", 1000},
            {"500, too many, unpacked", {packedError}, 3, {"error 401 " + most}, "", 1000},
        });
    }

    // Twice, since a request may be sent again.
    void outcome()
    {
        const auto& row = CurrentCase<OutcomeCase>();
        const auto request = NewRequest(row.script);
        if (row.script.isEmpty())
            request->SetUrl(QUrl(row.url));
        request->SetAttemptCountOnNetworkProblem(row.attempts);
        for (int round = 0; round < 2; ++round) {
            server_.Script(path_, row.script);
            const RecordingLogger log;
            const RequestRecord record(request.get());
            QVERIFY(request->SetMaxReplySize(row.maxReplySize));
            QVERIFY(request->Get());
            request->SetMaxReplySize(0); // holds for later sends only
            QTRY_COMPARE(record.Finals(), 1);
            QTest::qWait(20);
            QCOMPARE(record.Signals(), row.signalsSeen);
            const QString logged = QString(row.logged).replace("%1", request->GetUrl().toString());
            QVERIFY2(!log.Lines(logged).isEmpty(), qPrintable(log.Lines().join('\n')));
            QVERIFY(row.maxReplySize == 0 || log.Lines().size() == 1); // nothing follows the abort
            request->Abort();
            QVERIFY(!request->isRunning() && request->Reply()); // a finished reply stays
        }
    }

    void networkProblemIsRetried()
    {
        RecordingLogger log;
        const auto request = NewRequest({Reply::Dropped()});
        request->SetAttemptCountOnNetworkProblem(2);
        request->SetAttemptIntervalOnNetworkProblem(-1); // at once, too
        log.SetListener([this](const QString& line) {
            if (line.endsWith("The next request attempt will be taken in '-1' seconds."))
                server_.Script(path_, {Reply::Ok("body")});
        });
        const RequestRecord record(request.get());
        QVERIFY(request->Get());
        QTRY_COMPARE(record.Signals(), body);
        QVERIFY(log.Lines().last().endsWith("attempt='1'."));
    }

    void getOnTheWire_data()
    {
        AddCases<WireCase>({{"plain", "", "X-A", "gzip"},
                            {"second ?", "?x=1", "X-A", "gzip"},
                            {"encoding replaced", "", "Accept-Encoding", "identity"},
                            {"in another case", "", "accept-encoding", "gzip"}});
    }

    void getOnTheWire()
    {
        const auto& row = CurrentCase<WireCase>();
        const RecordingLogger log;
        const auto form = IHttpRequestDataMap::CreateUrlencodedDataMap();
        form->SetParam("q", "a b");
        form->SetParam("r", "/");
        const auto request = NewRequest({Reply::Ok("body")}, row.query);
        request->SetData(form);
        request->SetRawHeader(row.header, "identity");
        request->SetAttribute(QNetworkRequest::User, "attribute");
        const RequestRecord record(request.get());
        QVERIFY(request->Get());
        QTRY_COMPARE(record.Finals(), 1);

        const QNetworkRequest sent = request->Reply()->request();
        QCOMPARE(sent.attribute(QNetworkRequest::User), QVariant("attribute"));
        const auto& received = server_.Requests().last();
        QCOMPARE(QString(received.target), path_ + row.query + "?q=a%20b&r=%2F");
        QCOMPARE(received.Header("Accept-Encoding"), row.accepted);
        QVERIFY(row.header != "X-A" || received.Header("X-A") == "identity");
        QVERIFY(!log.Lines("7 http.request SendGetRequest: Sending GET request to URL='" +
                           sent.url().toString() + "', attempt='0'.")
                     .isEmpty());
    }

    void sendThatCannotStart()
    {
        const RecordingLogger log;
        const auto request = NewRequest({});
        const RequestRecord record(request.get());
        request->SetData(IHttpRequestDataMap::CreateJsonDataMap());
        QVERIFY(!request->Get());
        const auto parts = IHttpRequestMultiPartData::CreateMultiPartFormData();
        parts->AddPart({});
        request->SetData(parts);
        QVERIFY(!request->Post());
        QVERIFY(!request->Send(static_cast<IHttpRequest::HTTPRequestMethod>(7)));
        const QString url = "URL='" + request->GetUrl().toString() + "'";
        const QString failed = "3 http.request SendRequest: Failed to send request to " + url;
        QCOMPARE(log.Lines(),
                 QStringList(
                     {"3 http.request SendGetRequest: Failed to send GET request to " + url +
                          ". Invalid request parameters type",
                      failed, "3 http.form.multipart MultiPart: Failed to append part to multipart",
                      "3 http.request SendPostRequest: Failed to create multipart/form-data "
                      "POST request to " +
                          url + ".",
                      failed, failed}));
        QTest::qWait(quietPeriod);
        QCOMPARE(record.Signals(), QStringList());
    }

    void managerGoesFirst()
    {
        const RecordingLogger log;
        auto manager = std::make_unique<QNetworkAccessManager>();
        HttpRequest request(manager.get(), nullptr);
        request.SetUrl(server_.Url("/silent"));
        request.SetTimeout(1);
        QVERIFY(request.Get());
        manager.reset();
        QVERIFY(!request.isRunning() && !request.Reply());
        QVERIFY(!request.Get());
        QCOMPARE(log.Lines(), QStringList("2 http.request SendRequest: Failed to  SendRequest(): "
                                          "HttpRequestManager is NULL!"));
    }

    // Silence is what ends an attempt; a reply that comes slowly may last longer than that.
    void timeout()
    {
        const RecordingLogger log;
        const auto slow = NewRequest({Drip(QByteArray(50, 'x'), 1, 50)});
        const auto silent = NewRequest({Silent()});
        const RequestRecord slowRecord(slow.get());
        const RequestRecord record(silent.get());
        slow->SetTimeout(2);
        silent->SetTimeout(1);
        silent->SetAttemptCountOnNetworkProblem(2);
        QVERIFY(slow->Get() && silent->Get());
        QTRY_COMPARE(record.Signals(), QStringList("error 4 "));
        QCOMPARE(record.ErrorText(), QString("Request timed out"));
        const QString line = "3 http.request OnRequestTimeout: Request to URL='" +
                             silent->GetUrl().toString() + "' timed out! attempt='%1'.";
        QCOMPARE(log.Lines().filter(QRegularExpression("Timeout|AskRetry")),
                 QStringList({line.arg(0), nextAttemptLine, line.arg(1), attemptLimitLine}));
        QTRY_COMPARE(slowRecord.Signals().value(1), "text " + QString(50, 'x'));
    }

    // Nothing comes after it, whatever the moment; nor is anything sent again.
    void abort()
    {
        const Replies scripts[] = {{Reply::Ok("body")},
                                   {Silent()},
                                   {Drip(QByteArray(60, 'x'), 1, 50)},
                                   {Reply::Status(429, "Slow")},
                                   {}}; // a local reply
        std::vector<std::unique_ptr<HttpRequest>> requests;
        std::vector<std::unique_ptr<RequestRecord>> records;
        QList<int> hits;
        for (int i = 0; i < 5; ++i) {
            auto request = NewRequest(scripts[i]);
            if (scripts[i].isEmpty())
                request->SetUrl(QUrl("data:,body"));
            request->SetAttemptCountOnNetworkProblem(2);
            request->SetAttemptIntervalOnNetworkProblem(1);
            request->SetTimeout(1);
            records.push_back(std::make_unique<RequestRecord>(request.get()));
            QSignalSpy received(request.get(), &IHttpRequest::downloadProgress);
            QVERIFY(request->Get());
            QTRY_VERIFY(i == 0 || i == 4 || !server_.RequestsFor(path_).isEmpty());
            QTRY_VERIFY(i != 2 || !received.isEmpty());
            QTRY_VERIFY(i != 3 || !request->isRunning());
            request->Abort();
            QVERIFY(!request->isRunning());
            hits << qMax(1, server_.RequestsFor(path_).size());
            requests.push_back(std::move(request));
        }
        QTest::qWait(1200);
        for (int i = 0; i < 5; ++i) {
            QCOMPARE(records[i]->Signals(), QStringList());
            QVERIFY(server_.RequestsFor(requests[i]->GetUrl().path()).size() <= hits[i]);
        }
    }

    void staleReplyIsRejected()
    {
        const RecordingLogger log;
        const auto request = NewRequest({Silent()});
        const RequestRecord record(request.get());
        request->OnRequestFinished();
        QVERIFY(request->Get());
        const std::unique_ptr<QNetworkReply> stranger(
            manager_.get(QNetworkRequest(QUrl("data:text/plain,other"))));
        connect(stranger.get(), &QNetworkReply::finished, request.get(),
                &HttpRequest::OnRequestFinished);
        QTRY_COMPARE(
            log.Lines(),
            QStringList(
                {"3 http.request OnRequestFinished: Cannot process QNetworkReply = NULL",
                 "2 http.request OnRequestFinished: Cannot process unknown QNetworkReply"}));
        QVERIFY(request->isRunning());
        QCOMPARE(record.Signals(), QStringList());
    }

    void newSendReplacesEverythingPending_data()
    {
        Reply large = Drip(QByteArray(5000, 'x'), 900, 150);
        large.status = 429;
        AddCases<PendingCase>({{"429", Reply::Status(429, "Slow Down")},
                               {"429, too large", large},
                               {"timed out", Silent(), true}});
    }

    void newSendReplacesEverythingPending()
    {
        const auto& row = CurrentCase<PendingCase>();
        const auto request = NewRequest({row.first, Drip("body", 1, 50)});
        request->SetMaxReplySize(1000);
        request->SetTimeout(60);
        request->SetAttemptCountOnNetworkProblem(2);
        request->SetAttemptIntervalOnNetworkProblem(1000);
        const RequestRecord record(request.get());
        const RecordingLogger log;
        QVERIFY(request->Get());
        QTRY_COMPARE(server_.RequestsFor(path_).size(), 1);
        if (row.timesOut)
            request->OnRequestTimeout();
        QTRY_VERIFY(!log.Lines("will be taken in '1000' seconds.").isEmpty());
        if (request->Reply()) {
            for (const QTimer* silence : request->Reply()->findChildren<QTimer*>())
                QVERIFY(!silence->isActive());
        }
        QVERIFY(request->Get());
        QTRY_COMPARE(server_.RequestsFor(path_).size(), 2);
        request->SetAttemptIntervalOnNetworkProblem(0); // if it is still pending, it comes now
        QTRY_COMPARE(record.Signals(), body);
        QCOMPARE(server_.RequestsFor(path_).size(), 2);
    }

    // An observer of the reply sends anew from inside the abort that ends the attempt.
    void sendFromInsideAbort()
    {
        server_.Script("/other", {Drip("body", 1, 50)});
        const auto request = NewRequest({Silent()});
        const RequestRecord record(request.get());
        const auto sendAnewInAbort = [&] {
            QVERIFY(request->Get());
            connect(request->Reply(), &QNetworkReply::finished, this, [&] {
                request->SetUrl(server_.Url("/other"));
                QVERIFY(request->Get());
            });
        };
        sendAnewInAbort();
        request->OnRequestTimeout();
        QTRY_COMPARE(record.Signals(), body);

        sendAnewInAbort();
        QVERIFY(request->Get());
        QTRY_COMPARE(record.Finals(), 2);
        QTest::qWait(quietPeriod);
        QCOMPARE(record.Finals(), 2);
    }

    // One observer sends anew from inside the abort, the next deletes the request.
    void deletionFromInsideAbort()
    {
        auto* request = NewRequest({Silent()}).release();
        QVERIFY(request->Get());
        int ends = 0;
        connect(&manager_, &QNetworkAccessManager::finished, request, [&] {
            if (++ends == 1)
                request->Get();
            else
                delete request;
        });
        QVERIFY(!request->Get());
        QCOMPARE(ends, 2);

        auto* silent = NewRequest({Silent()}).release();
        QVERIFY(silent->Get());
        connect(silent->Reply(), &QNetworkReply::finished, this, [silent] { delete silent; });
        silent->OnRequestTimeout();
    }
};

QTEST_GUILESS_MAIN(TestHttpRequest)
#include "tst_httprequest.moc"
