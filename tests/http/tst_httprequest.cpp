#include <common/http/httprequest.h>
#include <common/http/httprequestdatamap.h>
#include <common/http/httprequestmultipartformdata.h>

#include "support/cases.h"
#include "support/process.h"
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

QByteArray Packed(const QByteArray& bytes)
{
    return OutputOf("gzip", {"-c"}, bytes);
}

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
    void outcome_data()
    {
        const QByteArray packed = Packed("unpacked");
        QByteArray damaged = packed;
        damaged[damaged.size() - 6] = static_cast<char>(~damaged[damaged.size() - 6]);
        const QString damagedLine = "4 http.request OnRequestFinished: Failed to decompress gzip, "
                                    "using uncompressed data!";
        const QString finished = "OnRequestFinished: Accepted reply from server: ";
        const QString accepted = "7 http.request " + finished + "%2; URL='%1', attempt='0'.";
        const QString refused = "3 http.request " + finished + "%2, URL='%1', attempt='0'.";
        const QString early = "103/Early;    ProtocolFailure (Status 103 is no final reply)";
        const QString notFound = "404/Not Found;    ContentNotFoundError (Error transferring %1 - "
                                 "server replied: Not Found)";
        const QString dropped = "0/;    RemoteHostClosedError (Connection closed)";
        const auto raw = [](const QByteArray& bytes) {
            return QStringList{"binary " + QString::fromLatin1(bytes),
                               "text " + QString::fromUtf8(bytes.constData())};
        };
        const auto status = [](int code, const char* reason) {
            return Reply::Status(code, reason, "why");
        };
        const Reply slowDown = status(429, "Slow Down");
        const QByteArray zero("ab\0cd", 5);
        const QByteArray most(1000, 'x');
        const QByteArray more(5000, 'x');
        const Reply packedError = With(Gzip(Packed(more)), &Reply::status, 500);

        AddCases<OutcomeCase>({
            {"success", {Reply::Ok("body")}, 3, body, accepted.arg("%1", "200/OK")},
            {"103", {status(103, "Early")}, 3, {"error 399 "}, refused.arg("%1", early)},
            {"redirect is not followed", {status(302, "Found")}, 3, {"binary why", "text why"}},
            {"zero byte", {Reply::Ok(zero)}, 1, {raw(zero).first(), "text ab"}},
            {"chunked", {With(Reply::Ok("body"), &Reply::chunked, true)}, 1, body},
            {"gzip", {Gzip(packed)}, 1, {"binary unpacked", "text unpacked"}},
            {"gzip damaged", {Gzip(damaged)}, 1, raw(damaged), damagedLine},
            {"GZIP is not recognised", {Gzip(packed, "GZIP")}, 1, raw(packed)},

            {"400", {status(400, "Bad")}, 3, {"invalid 302", "error 302 why"}, "ProtocolInvalidOp"},
            {"404", {status(404, "Not Found")}, 3, {"error 203 why"}, refused.arg("%1", notFound)},
            {"407", {status(407, "Proxy")}, 3, {"proxy 105", "error 105 why"}, "ProxyAuthentic"},
            {"429", {slowDown}, 1, {"error 299 why"}, accepted.arg("%1", "429/Slow Down")},
            {"429, attempt left", {slowDown, Reply::Ok("body")}, 2, body, nextAttemptLine},
            {"503", {status(503, "Busy")}, 3, {"error 403 why"}, "ServiceUnavailableError"},
            {"504", {status(504, "Gateway")}, 3, {"error 499 why"}, "UnknownServerError"},

            {"dropped", {Reply::Dropped()}, 0, {"error 2 "}, refused.arg("%1", dropped)},
            {"all attempts dropped", {Reply::Dropped()}, 3, {"error 2 "}, attemptLimitLine},
            {"refused", {}, 1, {"error 1 "}, "", 0, "http://127.0.0.1:1/"},
            {"unknown scheme", {}, 1, {"error 301 "}, "", 0, "nonsense://host/"},
            {"empty URL", {}, 1, {"error 301 "}},

            {"most bytes", {Reply::Ok(most)}, 3, raw(most), "", 1000},
            {"most, unpacked", {Gzip(Packed(most))}, 3, raw(most), "", 1000},
            {"too many", {Drip(more.repeated(20), 600, 2)}, 3, {"error 299 "}, "", 1000},
            {"too many, local", {}, 3, {"error 299 "}, "", 1000, "data:," + more},
            {"too many, unpacked", {Gzip(Packed(most + 'x'))}, 3, {"error 299 "}, "", 1000},
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
            QCOMPARE(request->Reply()->readBufferSize() == row.maxReplySize + 1,
                     row.maxReplySize > 0);
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

    void getOnTheWire()
    {
        const RecordingLogger log;
        const auto form = IHttpRequestDataMap::CreateUrlencodedDataMap();
        form->SetParam("q", "a b");
        form->SetParam("r", "/");
        const std::array<const char*, 3> rows[] = {
            {"", "X-A", "gzip"}, {"?x=1", "Accept-Encoding", "a"}, {"", "accept-encoding", "gzip"}};
        for (const auto& [query, header, acceptEncoding] : rows) {
            const auto request = NewRequest({Reply::Ok("body")}, query);
            request->SetData(form);
            request->SetRawHeader(header, "a");
            request->SetAttribute(QNetworkRequest::User, "attribute");
            const RequestRecord record(request.get());
            QVERIFY(request->Get());
            QTRY_COMPARE(record.Finals(), 1);
            const QNetworkRequest sent = request->Reply()->request();
            QCOMPARE(sent.attribute(QNetworkRequest::User), QVariant("attribute"));
            const auto& received = server_.Requests().last();
            QCOMPARE(QString(received.target), path_ + query + "?q=a%20b&r=%2F");
            QCOMPARE(received.Header("Accept-Encoding"), QByteArray(acceptEncoding));
            QVERIFY(received.Header(header).contains("a") || header[0] == 'a');
            QVERIFY(log.Lines().contains("7 http.request SendGetRequest: Sending GET request to "
                                         "URL='" +
                                         sent.url().toString() + "', attempt='0'."));
        }
    }

    void sendThatCannotStart()
    {
        const RecordingLogger log;
        auto manager = std::make_unique<QNetworkAccessManager>();
        HttpRequest request(manager.get(), nullptr);
        request.SetUrl(server_.Url("/silent"));
        const RequestRecord record(&request);
        request.SetData(IHttpRequestDataMap::CreateJsonDataMap());
        QVERIFY(!request.Get());
        const auto parts = IHttpRequestMultiPartData::CreateMultiPartFormData();
        parts->AddPart({});
        request.SetData(parts);
        QVERIFY(!request.Post());
        QVERIFY(!request.Send(static_cast<IHttpRequest::HTTPRequestMethod>(7)));
        request.SetData({});
        QVERIFY(request.Get());
        manager.reset();
        QVERIFY(!request.isRunning() && !request.Reply() && !request.Get());
        const QString url = "URL='" + request.GetUrl().toString() + "'";
        const QString failed = "3 http.request SendRequest: Failed to send request to " + url;
        QCOMPARE(
            log.Lines(),
            QStringList({"3 http.request SendGetRequest: Failed to send GET request to " + url +
                         ". Invalid request parameters type"})
                << failed << "3 http.form.multipart MultiPart: Failed to append part to multipart"
                << "3 http.request SendPostRequest: Failed to create multipart/form-data POST "
                   "request to " +
                       url + "."
                << failed << failed
                << "2 http.request SendRequest: Failed to  SendRequest(): HttpRequestManager is "
                   "NULL!");
        QTest::qWait(quietPeriod);
        QCOMPARE(record.Signals(), QStringList());
    }

    void staleReplyIsRejected()
    {
        const RecordingLogger log;
        const auto request = NewRequest({Silent()});
        request->OnRequestFinished();
        QVERIFY(request->Get());
        connect(manager_.get(QNetworkRequest(QUrl("data:,other"))), &QNetworkReply::finished,
                request.get(), &HttpRequest::OnRequestFinished);
        const QString prefix = " http.request OnRequestFinished: Cannot process ";
        QTRY_COMPARE(log.Lines(), QStringList({'3' + prefix + "QNetworkReply = NULL",
                                               '2' + prefix + "unknown QNetworkReply"}));
        QVERIFY(request->isRunning());
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
        silent->SetAttemptIntervalOnNetworkProblem(-1); // at once, too
        QVERIFY(slow->Get() && silent->Get());
        QTRY_COMPARE(record.Signals(), QStringList("error 4 "));
        QCOMPARE(record.ErrorText(), QString("Request timed out"));
        const QString line = "3 http.request OnRequestTimeout: Request to URL='" +
                             silent->GetUrl().toString() + "' timed out! attempt='%1'.";
        QCOMPARE(log.Lines().filter(QRegularExpression("Timeout|AskRetry")),
                 QStringList({line.arg(0), QString(nextAttemptLine).replace("'0'", "'-1'"),
                              line.arg(1), attemptLimitLine}));
        QTRY_COMPARE(slowRecord.Signals().value(1), "text " + QString(50, 'x'));
    }

    // Nothing comes after it, whatever the moment; nor is anything sent again.
    void abort()
    {
        const Replies scripts[] = {{}, // a local reply
                                   {Reply::Ok("body")},
                                   {Silent()},
                                   {Drip(QByteArray(60, 'x'), 1, 50)},
                                   {Reply::Status(429, "Slow")}};
        std::vector<std::unique_ptr<HttpRequest>> requests;
        std::vector<std::unique_ptr<RequestRecord>> records;
        for (const Replies& script : scripts) {
            const auto& request = requests.emplace_back(NewRequest(script));
            if (script.isEmpty())
                request->SetUrl(QUrl("data:,body"));
            request->SetAttemptCountOnNetworkProblem(2);
            request->SetAttemptIntervalOnNetworkProblem(1);
            request->SetTimeout(1);
            records.push_back(std::make_unique<RequestRecord>(request.get()));
            QSignalSpy received(request.get(), &IHttpRequest::downloadProgress);
            QVERIFY(request->Get());
            const auto nr = requests.size();
            QTRY_VERIFY(nr <= 2 || !server_.RequestsFor(path_).isEmpty());
            QTRY_VERIFY(nr != 4 || !received.isEmpty());
            QTRY_VERIFY(nr != 5 || !request->isRunning());
            request->Abort();
            QVERIFY(!request->isRunning());
        }
        const int hits = server_.Requests().size();
        QTest::qWait(1200);
        QCOMPARE(server_.Requests().size(), hits);
        for (const auto& record : records)
            QCOMPARE(record->Signals(), QStringList());
    }

    void newSendReplacesEverythingPending()
    {
        const Reply large = Drip(QByteArray(5000, 'x'), 900, 150);
        for (const Reply& first :
             {Reply::Status(429, "Slow Down"), With(large, &Reply::status, 429), Silent()}) {
            const RecordingLogger log;
            const auto request = NewRequest({first, Drip("body", 1, 50)});
            request->SetMaxReplySize(1000);
            request->SetTimeout(60);
            request->SetAttemptCountOnNetworkProblem(2);
            request->SetAttemptIntervalOnNetworkProblem(1000);
            const RequestRecord record(request.get());
            QVERIFY(request->Get());
            QTRY_COMPARE(server_.RequestsFor(path_).size(), 1);
            if (first.silent)
                request->OnRequestTimeout();
            QTRY_VERIFY(!log.Lines("will be taken in '1000' seconds.").isEmpty());
            for (const QTimer* silence : manager_.findChildren<QTimer*>()) // of its reply
                QVERIFY(!silence->isActive());
            QVERIFY(request->Get());
            QTRY_COMPARE(server_.RequestsFor(path_).size(), 2);
            request->SetAttemptIntervalOnNetworkProblem(0); // if it is still pending, it comes now
            QTRY_COMPARE(record.Signals(), body);
            QCOMPARE(server_.RequestsFor(path_).size(), 2);
        }
    }

    // An observer of the reply sends anew from inside the abort that ends the attempt.
    void sendFromInsideAbort()
    {
        server_.Script("/other", {Drip("body", 1, 50)});
        const auto request = NewRequest({Silent()});
        const RequestRecord record(request.get());
        for (const bool timesOut : {true, false}) {
            QVERIFY(request->Get());
            connect(request->Reply(), &QNetworkReply::finished, this, [&] {
                request->SetUrl(server_.Url("/other"));
                QVERIFY(request->Get());
            });
            if (timesOut)
                request->OnRequestTimeout();
            else
                QVERIFY(request->Get());
            QTRY_COMPARE(record.Finals(), timesOut ? 1 : 2);
        }
        QTest::qWait(quietPeriod);
        QCOMPARE(record.Signals(), body + body);
    }

    // One observer sends anew from inside the abort, the next deletes the request.
    void deletionFromInsideAbort()
    {
        for (const int sends : {2, 1}) {
            QPointer<HttpRequest> request = NewRequest({Silent()}).release();
            QVERIFY(request->Get());
            int ends = 0;
            connect(&manager_, &QNetworkAccessManager::finished, request, [&] {
                if (++ends < sends)
                    request->Get();
                else
                    delete request;
            });
            if (sends == 1)
                request->OnRequestTimeout();
            else
                QVERIFY(!request->Get());
            QVERIFY(!request && ends == sends);
        }
    }
};

QTEST_GUILESS_MAIN(TestHttpRequest)
#include "tst_httprequest.moc"
