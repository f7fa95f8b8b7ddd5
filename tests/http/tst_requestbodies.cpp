#include <common/http/httprequestdatamap.h>
#include <common/http/httprequestmultipartformdata.h>

#include "support/recordinglogger.h"
#include "support/requestrecord.h"
#include "support/scriptedserver.h"
#include "support/tree.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QtTest>

#include <memory>

#include <sys/stat.h>

using namespace common::http;

Q_DECLARE_METATYPE(QSharedPointer<IHttpRequestSimpleData>)

class TestRequestBodies : public QObject
{
    Q_OBJECT

private:
    // Posts the body, with a second attempt if the server wants one.
    void Post(const QSharedPointer<IHttpRequestData>& data)
    {
        const std::unique_ptr<IHttpRequest> request(CreateHttpRequest(&manager_, nullptr));
        request->SetUrl(server_.Url("/x"));
        request->SetData(data);
        request->SetAttemptCountOnNetworkProblem(2);
        request->SetAttemptIntervalOnNetworkProblem(0);
        const RequestRecord record(request.get());
        QVERIFY(request->Post());
        QTRY_COMPARE(record.Finals(), 1);
    }

    static constexpr qint64 largeSize = 16 << 20;

    ScriptedServer server_;
    QNetworkAccessManager manager_;
    QTemporaryDir directory_;

private Q_SLOTS:
    void init() { server_.Script("/x", {loopback::Reply::Ok("body")}); }

    void simpleBody_data()
    {
        QTest::addColumn<QSharedPointer<IHttpRequestSimpleData>>("data");
        QTest::addColumn<QByteArray>("contentType");
        QTest::addColumn<QByteArray>("body");
        const QSharedPointer<IHttpRequestDataMap> maps[] = {
            IHttpRequestDataMap::CreateUrlencodedDataMap(),
            IHttpRequestDataMap::CreateUrlencodedDataMap(),
            IHttpRequestDataMap::CreateJsonDataMap(), IHttpRequestDataMap::CreateJsonDataMap()};
        const auto row = [](const char* name, const QSharedPointer<IHttpRequestSimpleData>& data,
                            const QByteArray& type, const QByteArray& body) {
            QTest::newRow(name) << data << type << body;
        };
        for (const int filled : {1, 3}) {
            maps[filled]->SetParam("b", "x y");
            maps[filled]->SetParam("a", "1&2=+/");
            maps[filled]->SetParam("Z", QChar(0xE4));
            maps[filled]->SetParam("e-._~", "old");
            maps[filled]->SetParam("e-._~", "");
        }
        const QByteArray form = "application/x-www-form-urlencoded";
        const QByteArray json = "application/json";
        row("form, empty", maps[0], form, "");
        row("form", maps[1], form, "Z=%C3%A4&a=1%262%3D%2B%2F&b=x%20y&e-._~=");
        row("json map, empty", maps[2], json, "{}");
        row("json map", maps[3], json, R"({"Z":"ä","a":"1&2=+/","b":"x y","e-._~":""})");
        row("json object",
            IHttpRequestSimpleData::CreateJsonData({{"n", 5}, {"list", QJsonArray{true, "x"}}}),
            json, R"({"list":[true,"x"],"n":5})");
    }

    void simpleBody()
    {
        QFETCH(QSharedPointer<IHttpRequestSimpleData>, data);
        Post(data);
        const auto& received = server_.Requests().last();
        QCOMPARE(received.method, QByteArray("POST"));
        QTEST(received.Header("Content-Type"), "contentType");
        QTEST(received.body, "body");
    }

    void noBody()
    {
        Post({});
        QCOMPARE(server_.Requests().last().method, QByteArray("POST"));
        QCOMPARE(server_.Requests().last().body, QByteArray());
    }

    void params()
    {
        const auto map = IHttpRequestDataMap::CreateJsonDataMap();
        map->RemoveParam("absent");
        QVERIFY(map->GetParam("absent").isNull());
        map->SetParam("n", "5");
        QCOMPARE(map->GetParam("n"), QString("5"));
        QVERIFY(map->GetParam("N").isNull());
        map->RemoveParam("n");
        QCOMPARE(map->GetBody(), QByteArray("{}"));
    }

    void multiPartIsBuiltAnewForEachAttempt()
    {
        QTemporaryFile file;
        QVERIFY(file.open());
        const QByteArray content = QByteArray("\0\r\n--x", 6).repeated(20000);
        QCOMPARE(file.write(content), content.size());
        QVERIFY(file.flush());
        const auto body = IHttpRequestMultiPartData::CreateMultiPartFormData();
        body->AddPart(IHttpRequestPartData::CreateTextPartFormData("t\"t", QChar(0xE4)));
        body->AddPart(IHttpRequestPartData::CreateFilePartFormData("f", file.fileName()));
        server_.Script("/x", {loopback::Reply::Status(429, "Slow"), loopback::Reply::Ok("body")});
        const int before = server_.Requests().size();
        Post(body);

        const auto received = server_.Requests().mid(before);
        QCOMPARE(received.size(), 2);
        for (const auto& each : received) {
            const QByteArray type = each.Header("Content-Type");
            const int at = type.indexOf("boundary=\"");
            QVERIFY(type.startsWith("multipart/form-data;") && at > 0);
            const QByteArray boundary = "--" + type.mid(at + 10).chopped(1);
            const QByteArray name = QFileInfo(file).fileName().toUtf8();
            QCOMPARE(each.body,
                     boundary + "\r\nContent-Type: text/plain; charset=UTF-8\r\n" +
                         "Content-Disposition: form-data; name=\"t\"t\"\r\n\r\n\xC3\xA4\r\n" +
                         boundary + "\r\nContent-Disposition: form-data; name=\"f\"; filename=\"" +
                         name + "\"\r\n\r\n" + content + "\r\n" + boundary + "--\r\n");
        }
    }

    void failedPartLeavesNothingOpen()
    {
        QTemporaryFile file;
        QVERIFY(file.open());
        const auto body = IHttpRequestMultiPartData::CreateMultiPartFormData();
        QScopedPointer<QHttpMultiPart> empty(body->MultiPart());
        QVERIFY(empty);
        body->AddPart(IHttpRequestPartData::CreateFilePartFormData("a", file.fileName()));
        body->AddPart(IHttpRequestPartData::CreateFilePartFormData("b", "/missing/a%1.txt"));
        body->AddPart(IHttpRequestPartData::CreateFilePartFormData("c", "/missing/too"));

        const auto openFiles = [] {
            return QDir("/proc/self/fd").entryList(QDir::AllEntries | QDir::System).size();
        };
        const int before = openFiles();
        const RecordingLogger log;
        QVERIFY(!body->MultiPart());
        QCOMPARE(openFiles(), before);
        QCOMPARE(
            log.Lines(),
            QStringList({"3 http.form.part AppendTo: Failed to open file '/missing/a%1.txt'",
                         "3 http.form.multipart MultiPart: Failed to append part to multipart"}));
        QCOMPARE(log.Files(), QStringList({"src/libs/common/http/httprequestpartformdata",
                                           "src/libs/common/http/httprequestmultipartformdata"}));
    }

    void changingFile_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<qint64>("sizeLater");
        QTest::addColumn<QString>("outcome");
        const QString large = directory_.filePath("large");
        const QString fifo = directory_.filePath("fifo");
        QCOMPARE(mkfifo(qPrintable(fifo), 0600), 0);
        WriteFile(large, "");
        QDir::addSearchPath("parts", directory_.path());
        QTest::newRow("emptied") << large << Q_INT64_C(0) << "error 99 ";
        QTest::newRow("cut") << large << largeSize - 1 << "error 99 ";
        QTest::newRow("grown") << large << largeSize + 1 << "text body";
        QTest::newRow("search path") << "parts:large" << largeSize << "text body";
        QTest::newRow("size without bytes") << "/sys/kernel/fscaps" << Q_INT64_C(-1) << "error 99 ";
        QTest::newRow("FIFO") << fifo << Q_INT64_C(-1) << "";
    }

    // The file of a part becomes another while it is sent.
    void changingFile()
    {
        QFETCH(QString, path);
        QFETCH(qint64, sizeLater);
        QFETCH(QString, outcome);
        if (sizeLater >= 0)
            QVERIFY(QFile::resize(path, largeSize));
        const auto body = IHttpRequestMultiPartData::CreateMultiPartFormData();
        body->AddPart(IHttpRequestPartData::CreateFilePartFormData("f", path));
        const std::unique_ptr<IHttpRequest> request(CreateHttpRequest(&manager_, nullptr));
        request->SetUrl(server_.Url("/x"));
        request->SetData(body);
        connect(request.get(), &IHttpRequest::uploadProgress, this, [&] {
            if (sizeLater >= 0)
                QFile::resize(path, sizeLater);
        });
        const RequestRecord record(request.get());
        const RecordingLogger log;
        QCOMPARE(request->Post(), !outcome.isEmpty());
        QTRY_COMPARE(record.Finals(), outcome.isEmpty() ? 0 : 1);
        QCOMPARE(record.Finals() ? record.Signals().last() : QString(), outcome);
        QCOMPARE(log.Lines("File '" + path + "' became shorter while it was sent").size(),
                 outcome.startsWith("error") ? 1 : 0);
    }
};

QTEST_GUILESS_MAIN(TestRequestBodies)
#include "tst_requestbodies.moc"
