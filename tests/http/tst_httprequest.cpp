#include <common/http/httprequest.h>
#include <common/http/httprequestdatamap.h>
#include <common/http/httprequestmultipartformdata.h>
#include <common/tools/qcompressor.h>

#include "support/recordinglogger.h"
#include "support/requestrecord.h"
#include "support/scriptedserver.h"

#include <QtTest>

#include <memory>

using namespace common::http;
using loopback::Reply;

namespace {

using Replies = QList<Reply>;

const char* const attemptLimitLine =
    "7 http.request AskRetryIfPossible: Cannot retry request. The attempt count reached maximum.";
const char* const nextAttemptLine = "7 http.request AskRetryIfPossible: The next request attempt "
                                    "will be taken in '0' seconds.";

// Long enough for a signal that must not come to show up on loopback.
constexpr int quietPeriod = 300;

} // namespace

class TestHttpRequest : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<IHttpRequest> NewRequest(const QString& path = QString())
    {
        std::unique_ptr<IHttpRequest> request(CreateHttpRequest(&manager_, nullptr));
        request->SetUrl(server_.Url(path.isEmpty() ? path_ : path));
        request->SetAttemptIntervalOnNetworkProblem(0);
        return request;
    }

    ScriptedServer server_;
    QNetworkAccessManager manager_;
    QString path_;

private Q_SLOTS:
    // A path for each test: a request that an earlier one left behind may still arrive.
    void init()
    {
        static int number = 0;
        path_ = "/" + QString::number(++number);
        server_.Script(path_, {Reply::Ok("body")});
    }

    void defaults()
    {
        const HttpRequest request(&manager_, nullptr);
        QCOMPARE(request.GetAttemptCountOnNetworkProblem(), 1);
        QCOMPARE(request.GetAttemptIntervalOnNetworkProblem(), 20);
        QCOMPARE(request.findChild<QTimer*>()->interval(), 20000);
        QCOMPARE(request.GetTimeout(), 0);
        QVERIFY(!request.isRunning() && !request.Reply() && !request.IgnoreSSLErrors());

        // Clients connect by index through their own meta-object tools.
        const QMetaObject& meta = IHttpRequest::staticMetaObject;
        const int first = meta.methodOffset();
        QCOMPARE(meta.indexOfSignal("requestFinished(QString)"), first);
        QCOMPARE(meta.indexOfSignal("requestError(int,QString)"), first + 3);
        QCOMPARE(meta.indexOfSignal("uploadProgress(qint64,qint64)"), first + 7);
    }

    void outcome_data()
    {
        QTest::addColumn<Replies>("script");
        QTest::addColumn<int>("attempts");
        QTest::addColumn<QStringList>("signalsSeen");
        QTest::addColumn<QString>("logged");
        QByteArray packed;
        tools::QCompressor::gzipCompress("unpacked", packed, 9);
        QByteArray damaged = packed;
        damaged[damaged.size() - 6] = static_cast<char>(~damaged[damaged.size() - 6]);
        const auto raw = [](const QByteArray& bytes) {
            return QStringList{"binary " + QString::fromLatin1(bytes), "text " + QString(bytes)};
        };
        const QByteArray zero("ab\0cd", 5);
        const QString damagedLine = "4 http.request OnRequestFinished: Failed to decompress gzip, "
                                    "using uncompressed data!";
        const QStringList body = {"binary body", "text body"};
        const auto status = [](int code, const char* reason) {
            return Reply::Status(code, reason, "why");
        };
        const auto row = [](const char* name, const Replies& script, int attempts,
                            const QStringList& signalsSeen, const QString& logged = QString()) {
            QTest::newRow(name) << script << attempts << signalsSeen << logged;
        };

        row("success", {Reply::Ok("body")}, 3, body,
            "7 http.request OnRequestFinished: Accepted reply from server: 200/OK; "
            "URL='%1', attempt='0'.");
        row("204", {Reply::Status(204, "No Content")}, 3, {"binary ", "text "});
        row("103 and no more", {status(103, "Early Hints")}, 3, {"error 399 "},
            "3 http.request OnRequestFinished: Accepted reply from server: 103/Early Hints;    "
            "ProtocolFailure (Status 103 is no final reply), URL='%1', attempt='0'.");
        row("redirect is not followed", {status(302, "Found")}, 3, {"binary why", "text why"});
        row("zero byte", {Reply::Ok(zero)}, 1, {"binary " + QString::fromLatin1(zero), "text ab"});
        row("chunked", {Chunked("body")}, 1, body);
        row("gzip", {Gzip(packed)}, 1, {"binary unpacked", "text unpacked"});
        row("gzip damaged", {Gzip(damaged)}, 1, raw(damaged), damagedLine);
        row("gzip cut", {Gzip(packed.chopped(3))}, 1, raw(packed.chopped(3)), damagedLine);
        row("GZIP is not recognised", {Gzip(packed, "GZIP")}, 1, raw(packed));
        row("length too short", {WrongLength("body and more", 4)}, 3, body);

        row("400", {status(400, "Bad")}, 3, {"invalid 302", "error 302 why"}, "ProtocolInvalidOp");
        row("401", {status(401, "Who")}, 3, {"error 204 why"}, "AuthenticationRequiredError");
        row("404", {status(404, "Not Found")}, 3, {"error 203 why"},
            "3 http.request OnRequestFinished: Accepted reply from server: 404/Not Found;    "
            "ContentNotFoundError (Error transferring %1 - server replied: Not Found), URL='%1', "
            "attempt='0'.");
        row("407", {status(407, "Proxy")}, 3, {"proxy 105", "error 105 why"},
            "ProxyAuthentication");
        row("429, no attempt left", {status(429, "Slow Down")}, 1, {"error 299 why"},
            "7 http.request OnRequestFinished: Accepted reply from server: 429/Slow Down; "
            "URL='%1', attempt='0'.");
        row("429, attempt left", {status(429, "Slow Down"), Reply::Ok("body")}, 2, body,
            nextAttemptLine);
        row("503", {status(503, "Busy")}, 3, {"error 403 why"}, "ServiceUnavailableError");
        row("504", {status(504, "Gateway")}, 3, {"error 499 why"}, "UnknownServerError");
        row("dropped, no attempt left", {Reply::Dropped()}, 0, {"error 2 "},
            "Accepted reply from server: 0/;    RemoteHostClosedError (Connection closed), URL=");
        row("all attempts dropped", {Reply::Dropped()}, 3, {"error 2 "}, attemptLimitLine);
    }

    void outcome()
    {
        QFETCH(Replies, script);
        QFETCH(int, attempts);
        QFETCH(QString, logged);
        server_.Script(path_, script);
        const RecordingLogger log;
        const auto request = NewRequest();
        request->SetAttemptCountOnNetworkProblem(attempts);
        const RequestRecord record(request.get());
        QVERIFY(request->Get());
        QTRY_COMPARE(record.Finals(), 1);
        QTest::qWait(20);
        QTEST(record.Signals(), "signalsSeen");
        logged.replace("%1", request->GetUrl().toString());
        QVERIFY2(!log.Lines(logged).isEmpty(), qPrintable(log.Lines().join('\n')));
        QVERIFY(!request->isRunning());
    }

    void replySize_data()
    {
        QTest::addColumn<Reply>("reply");
        QTest::addColumn<QStringList>("signalsSeen");
        const QByteArray most(1000, 'x');
        const QByteArray more(5000, 'x');
        QByteArray packed;
        tools::QCompressor::gzipCompress(most + 'x', packed, 9);
        Reply packedError = Gzip(packed);
        packedError.status = 500;
        QTest::newRow("most") << Reply::Ok(most) << QStringList{"binary " + most, "text " + most};
        QTest::newRow("data URL") << Reply::Ok(more) << QStringList("error 299 ");
        QTest::newRow("drip") << Drip(more.repeated(20), 600, 20) << QStringList("error 299 ");
        QTest::newRow("unpacked") << Gzip(packed) << QStringList("error 299 ");
        QTest::newRow("404") << Reply::Status(404, "No", more) << QStringList("error 203 " + most);
        QTest::newRow("401") << Reply::Status(401, "Who", more) << QStringList("error 204 " + most);
        QTest::newRow("unpacked 500") << packedError << QStringList("error 401 " + most);
    }

    void replySize()
    {
        QFETCH(Reply, reply);
        server_.Script(path_, {reply});
        const RecordingLogger log;
        const auto request = NewRequest();
        request->SetAttemptCountOnNetworkProblem(3);
        QVERIFY(request->SetMaxReplySize(1000));
        if (QString(QTest::currentDataTag()) == "data URL")
            request->SetUrl(QUrl("data:," + reply.body));
        const RequestRecord record(request.get());
        QVERIFY(request->Get());
        request->SetMaxReplySize(0); // holds for later sends only
        QTRY_COMPARE(record.Finals(), 1);
        QTEST(record.Signals(), "signalsSeen");
        QCOMPARE(log.Lines().size(), 1);
        QVERIFY(!request->isRunning());
    }

    void networkProblemIsRetried()
    {
        server_.Script(path_, {Reply::Dropped()});
        const RecordingLogger log;
        const auto request = NewRequest();
        request->SetAttemptCountOnNetworkProblem(2);
        request->SetAttemptIntervalOnNetworkProblem(1000);
        const RequestRecord record(request.get());
        QVERIFY(request->Get());
        QTRY_VERIFY(!log.Lines("will be taken in '1000' seconds.").isEmpty());
        server_.Script(path_, {Reply::Ok("body")});
        request->SetAttemptIntervalOnNetworkProblem(0); // the pause begins anew
        QTRY_COMPARE(record.Signals(), QStringList({"binary body", "text body"}));
        QVERIFY(!log.Lines("URL='" + request->GetUrl().toString() + "', attempt='1'.").isEmpty());
    }

    void unreachable_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<int>("code");
        QTest::newRow("refused port") << "http://127.0.0.1:1/" << 1;
        QTest::newRow("unknown host")
            << "http://" + QString(64, 'x') + ".invalid/" << 3; // no name server is asked
        QTest::newRow("unknown scheme") << "nonsense://host/" << 301;
        QTest::newRow("empty") << "" << 301;
    }

    void unreachable()
    {
        QFETCH(QString, url);
        QFETCH(int, code);
        const auto request = NewRequest();
        request->SetUrl(QUrl(url));
        const RequestRecord record(request.get());
        QVERIFY(request->Get());
        QTRY_COMPARE(record.Finals(), 1);
        QCOMPARE(record.Signals(), QStringList(QString("error %1 ").arg(code)));
    }

    void getOnTheWire_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<QString>("header"); // has the value "identity"
        QTest::addColumn<QByteArray>("accepted");
        QTest::newRow("plain") << "" << QByteArray("?q=a%20b&r=%2F") << "X-A" << QByteArray("gzip");
        QTest::newRow("second ?") << "?x=1" << QByteArray("?x=1?q=a%20b&r=%2F") << "X-A"
                                  << QByteArray("gzip");
        QTest::newRow("encoding replaced")
            << "" << QByteArray("?q=a%20b&r=%2F") << "Accept-Encoding" << QByteArray("identity");
        QTest::newRow("in another case")
            << "" << QByteArray("?q=a%20b&r=%2F") << "accept-encoding" << QByteArray("gzip");
    }

    void getOnTheWire()
    {
        QFETCH(QString, query);
        QFETCH(QString, header);
        const RecordingLogger log;
        const auto form = IHttpRequestDataMap::CreateUrlencodedDataMap();
        form->SetParam("q", "a b");
        form->SetParam("r", "/");
        const auto request = NewRequest(path_ + query);
        request->SetData(form);
        request->SetRawHeader(header, "identity");
        const RequestRecord record(request.get());
        QVERIFY(request->Get());
        QTRY_COMPARE(record.Finals(), 1);

        const auto& received = server_.Requests().last();
        QTEST(received.target.mid(path_.size()), "target");
        QTEST(received.Header("Accept-Encoding"), "accepted");
        QVERIFY(header != "X-A" || received.Header(header.toUtf8()) == "identity");
        QVERIFY(!log.Lines("7 http.request SendGetRequest: Sending GET request to URL='" +
                           request->Reply()->url().toString() + "', attempt='0'.")
                     .isEmpty());
    }

    void sendThatCannotStart()
    {
        const RecordingLogger log;
        const auto request = NewRequest();
        const RequestRecord record(request.get());
        const QString url = request->GetUrl().toString();
        request->SetData(IHttpRequestDataMap::CreateJsonDataMap());
        QVERIFY(!request->Get());
        const auto body = IHttpRequestMultiPartData::CreateMultiPartFormData();
        body->AddPart(IHttpRequestPartData::CreateFilePartFormData("f", "/missing"));
        request->SetData(body);
        QVERIFY(!request->Post());
        QVERIFY(!request->Send(static_cast<IHttpRequest::HTTPRequestMethod>(7)));
        const QString failed =
            "3 http.request SendRequest: Failed to send request to URL='" + url + "'";
        QCOMPARE(
            log.Lines(),
            QStringList({"3 http.request SendGetRequest: Failed to send GET request to URL='" +
                             url + "'. Invalid request parameters type",
                         failed, "3 http.form.part AppendTo: Failed to open file '/missing'",
                         "3 http.form.multipart MultiPart: Failed to append part to multipart",
                         "3 http.request SendPostRequest: Failed to create multipart/form-data "
                         "POST request to URL='" +
                             url + "'.",
                         failed, failed}));
        QTest::qWait(quietPeriod);
        QCOMPARE(record.Signals(), QStringList());
    }

    void managerGoesFirst()
    {
        const RecordingLogger log;
        auto manager = std::make_unique<QNetworkAccessManager>();
        server_.Script(path_, {Silent()});
        HttpRequest request(manager.get(), nullptr);
        request.SetUrl(server_.Url(path_));
        request.SetTimeout(1);
        QVERIFY(request.Get());
        manager.reset();
        QVERIFY(!request.isRunning() && !request.Reply());
        QVERIFY(!request.Get());
        QCOMPARE(log.Lines(), QStringList("2 http.request SendRequest: Failed to  SendRequest(): "
                                          "HttpRequestManager is NULL!"));
    }

    void timeout()
    {
        server_.Script(path_, {Silent()});
        const RecordingLogger log;
        const auto request = NewRequest();
        request->SetTimeout(1);
        request->SetAttemptCountOnNetworkProblem(2);
        const RequestRecord record(request.get());
        QVERIFY(request->Get());
        QTRY_COMPARE(record.Finals(), 1);
        QCOMPARE(record.Signals(), QStringList("error 4 "));
        QCOMPARE(record.ErrorText(), QString("Request timed out"));
        const QString line = "3 http.request OnRequestTimeout: Request to URL='" +
                             request->GetUrl().toString() + "' timed out! attempt='%1'.";
        QCOMPARE(log.Lines(),
                 QStringList({line.arg(0), nextAttemptLine, line.arg(1), attemptLimitLine}));
    }

    void slowDripIsNoSilence()
    {
        server_.Script(path_, {Drip(QByteArray(50, 'x'), 1, 50)});
        const auto request = NewRequest();
        request->SetTimeout(2);
        const RequestRecord record(request.get());
        QVERIFY(request->Get());
        QTRY_COMPARE(record.Signals().value(1), "text " + QString(50, 'x'));
    }

    void abort_data()
    {
        QTest::addColumn<Replies>("script");
        QTest::addColumn<QString>("moment");
        QTest::newRow("before the reply") << Replies{Silent()} << "asked";
        QTest::newRow("before anything is sent") << Replies{Reply::Ok("body")} << "";
        QTest::newRow("amid the body") << Replies{Drip(QByteArray(60, 'x'), 1, 50)} << "receiving";
        QTest::newRow("retry pending") << Replies{Reply::Status(429, "Slow")} << "waiting";
    }

    void abort()
    {
        QFETCH(Replies, script);
        QFETCH(QString, moment);
        server_.Script(path_, script);
        const auto request = NewRequest();
        request->SetAttemptCountOnNetworkProblem(2);
        request->SetAttemptIntervalOnNetworkProblem(1);
        request->SetTimeout(1);
        const RequestRecord record(request.get());
        bool receiving = false;
        connect(request.get(), &IHttpRequest::downloadProgress, this, [&] { receiving = true; });
        QVERIFY(request->Get());
        QTRY_VERIFY(moment.isEmpty() || !server_.RequestsFor(path_).isEmpty());
        QTRY_VERIFY(moment != "receiving" || receiving);
        QTRY_VERIFY(moment != "waiting" || !request->isRunning());
        QCOMPARE(record.Signals(), QStringList());
        request->Abort();
        QVERIFY(!request->isRunning());
        const int hits = server_.RequestsFor(path_).size();
        QTest::qWait(1200);
        QCOMPARE(record.Signals(), QStringList());
        QVERIFY(server_.RequestsFor(path_).size() <= hits + (moment.isEmpty() ? 1 : 0));
    }

    void abortKeepsPendingLocalReplyFromReporting()
    {
        const auto request = NewRequest();
        request->SetUrl(QUrl("data:text/plain,body"));
        const RequestRecord record(request.get());
        QVERIFY(request->Get());
        request->Abort();
        QTest::qWait(quietPeriod);
        QCOMPARE(record.Signals(), QStringList());
        QVERIFY(request->Get());
        QTRY_COMPARE(record.Signals(), QStringList({"binary body", "text body"}));
        request->Abort();
        QVERIFY(request->Reply()); // a finished reply stays
    }

    void staleReplyIsRejected()
    {
        server_.Script(path_, {Silent()});
        const RecordingLogger log;
        HttpRequest request(&manager_, nullptr);
        request.SetUrl(server_.Url(path_));
        const RequestRecord record(&request);
        request.OnRequestFinished();
        QVERIFY(request.Get());
        std::unique_ptr<QNetworkReply> stranger(
            manager_.get(QNetworkRequest(QUrl("data:text/plain,other"))));
        connect(stranger.get(), &QNetworkReply::finished, &request,
                &HttpRequest::OnRequestFinished);
        QTRY_COMPARE(
            log.Lines(),
            QStringList({"3 http.request OnRequestFinished: Cannot process QNetworkReply = "
                         "NULL",
                         "2 http.request OnRequestFinished: Cannot process unknown "
                         "QNetworkReply"}));
        QVERIFY(request.isRunning());
        QCOMPARE(record.Signals(), QStringList());
    }

    void attributesAreThoseOfTheRequest()
    {
        Reply moved = Reply::Status(302, "Found");
        moved.headers = {{"Location", server_.Url("/moved").toEncoded()}};
        server_.Script(path_, {moved});
        server_.Script("/moved", {Reply::Ok("moved")});
        const auto request = NewRequest();
        request->SetAttribute(QNetworkRequest::RedirectPolicyAttribute,
                              QNetworkRequest::NoLessSafeRedirectPolicy);
        const RequestRecord record(request.get());
        QVERIFY(request->Get());
        QTRY_COMPARE(record.Signals(), QStringList({"binary moved", "text moved"}));
    }

    void newSendReplacesEverythingPending()
    {
        Reply slow = Drip(QByteArray(5000, 'x'), 900, 150);
        slow.status = 429;
        server_.Script(path_, {slow, Drip("body", 1, 50)});
        const auto request = NewRequest();
        request->SetMaxReplySize(1000);
        request->SetTimeout(60);
        request->SetAttemptCountOnNetworkProblem(2);
        request->SetAttemptIntervalOnNetworkProblem(1000);
        const RequestRecord record(request.get());
        const RecordingLogger log;
        QVERIFY(request->Get());
        QTRY_VERIFY(!log.Lines("will be taken in '1000' seconds.").isEmpty());
        for (const QTimer* silence : request->Reply()->findChildren<QTimer*>())
            QVERIFY(!silence->isActive());
        QVERIFY(request->Get());
        request->SetAttemptIntervalOnNetworkProblem(0); // if it is still pending, it comes now
        QTRY_COMPARE(record.Signals(), QStringList({"binary body", "text body"}));
        QCOMPARE(server_.RequestsFor(path_).size(), 2);
    }

    // An observer of the reply sends anew from inside the abort that ends the attempt.
    void sendFromInsideAbort()
    {
        server_.Script(path_, {Silent()});
        const auto request = NewRequest();
        request->SetTimeout(1);
        const RequestRecord record(request.get());
        const auto resendOnAbort = [&] {
            connect(request->Reply(), &QNetworkReply::finished, this, [&] {
                server_.Script("/other", {Drip("body", 1, 50)});
                request->SetUrl(server_.Url("/other"));
                QVERIFY(request->Get());
            });
        };
        QVERIFY(request->Get());
        resendOnAbort();
        QTRY_COMPARE(record.Signals(), QStringList({"binary body", "text body"}));

        QVERIFY(request->Get());
        resendOnAbort();
        QVERIFY(request->Get());
        QTRY_COMPARE(record.Finals(), 2);
        QTest::qWait(quietPeriod);
        QCOMPARE(record.Finals(), 2);
    }

    // One observer sends anew from inside the abort, the next deletes the request.
    void deletionFromInsideSecondAbort()
    {
        server_.Script(path_, {Silent()});
        auto* request = NewRequest().release();
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
    }
};

QTEST_GUILESS_MAIN(TestHttpRequest)
#include "tst_httprequest.moc"
