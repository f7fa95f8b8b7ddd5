#include <common/http/httprequestdatamap.h>
#include <common/http/httprequestmultipartformdata.h>

#include "support/recordinglogger.h"
#include "support/requestrecord.h"
#include "support/scriptedserver.h"
#include "support/tree.h"

#include <QtTest>

#include <functional>

using namespace common::http;

namespace {

const QByteArray formType = "application/x-www-form-urlencoded";
const QByteArray jsonType = "application/json";

QSharedPointer<IHttpRequestMultiPartData> PartsOf(const QStringList& paths)
{
    const auto parts = IHttpRequestMultiPartData::CreateMultiPartFormData();
    for (const QString& path : paths)
        parts->AddPart(IHttpRequestPartData::CreateFilePartFormData("f", path));
    return parts;
}

} // namespace

class TestRequestBodies : public QObject
{
    Q_OBJECT

private:
    // What the server received of it, and how that ended.
    std::pair<QList<loopback::Request>, QString>
    Posted(const QSharedPointer<IHttpRequestData>& data,
           const std::function<void()>& meanwhile = {})
    {
        server_.ForgetRequests();
        HttpRequest request(&manager_, nullptr);
        request.SetUrl(server_.Url("/x"));
        request.SetData(data);
        request.SetAttemptCountOnNetworkProblem(meanwhile ? 1 : 2);
        request.SetAttemptIntervalOnNetworkProblem(0);
        if (meanwhile)
            connect(&request, &IHttpRequest::uploadProgress, this, meanwhile);
        const RequestRecord record(&request);
        if (!request.Post())
            return {};
        [&] {
            QTRY_COMPARE(record.Finals(), 1);
        }();
        return {server_.Requests(), record.Signals().last()};
    }

    static constexpr qint64 largeSize = 16 << 20;

    ScriptedServer server_;
    QNetworkAccessManager manager_;
    const CurrentTree tree_;

private Q_SLOTS:
    void init() { server_.Script("/x", {loopback::Reply::Ok("body")}); }

    void simpleBody()
    {
        const auto form = IHttpRequestDataMap::CreateUrlencodedDataMap();
        const auto json = IHttpRequestDataMap::CreateJsonDataMap();
        for (const auto& map : {form, json}) {
            for (const char* name : {"b", "a", "Z", "e-._~", "removed"})
                map->SetParam(name, "old");
            map->SetParam("b", "x y");
            map->SetParam("a", "1&2=+/");
            map->SetParam("Z", QChar(0xE4));
            map->SetParam("e-._~", "");
            map->RemoveParam("removed");
        }
        const std::tuple<QSharedPointer<IHttpRequestData>, QByteArray, QByteArray> rows[] = {
            {IHttpRequestDataMap::CreateUrlencodedDataMap(), formType, ""},
            {form, formType, "Z=%C3%A4&a=1%262%3D%2B%2F&b=x%20y&e-._~="},
            {IHttpRequestDataMap::CreateJsonDataMap(), jsonType, "{}"},
            {json, jsonType, R"({"Z":"ä","a":"1&2=+/","b":"x y","e-._~":""})"},
            {IHttpRequestSimpleData::CreateJsonData({{"n", 5}, {"list", QJsonArray{true, "x"}}}),
             jsonType, R"({"list":[true,"x"],"n":5})"},
        };
        for (const auto& [data, type, body] : rows) {
            const auto received = Posted(data).first.value(0);
            QCOMPARE(received.method, QByteArray("POST"));
            QCOMPARE(received.Header("Content-Type"), type);
            QCOMPARE(received.body, body);
        }
        QCOMPARE(Posted({}).first.value(0).body, QByteArray());
    }

    void multiPartIsBuiltAnewForEachAttempt()
    {
        Posted({}); // opens what is opened once and for all
        const int before = EntriesOf("/proc/self/fd");
        const QByteArray content = QByteArray("\0\r\n--x", 6).repeated(20000);
        WriteFile("part", content);
        const auto parts = PartsOf({"part"});
        parts->AddPart(IHttpRequestPartData::CreateTextPartFormData("t\"t", QChar(0xE4)));
        server_.Script("/x", {loopback::Reply::Status(429, "Slow"), loopback::Reply::Ok("body")});
        const auto received = Posted(parts).first;
        QCOMPARE(received.size(), 2);
        for (const auto& each : received) {
            const QByteArray type = each.Header("Content-Type");
            const int at = type.indexOf("boundary=\"");
            QVERIFY(type.startsWith("multipart/form-data;") && at > 0);
            const QByteArray boundary = "--" + type.mid(at + 10).chopped(1);
            const QByteArray disposition = "\r\nContent-Disposition: form-data; name=";
            QCOMPARE(each.body, boundary + disposition + "\"f\"; filename=\"part\"\r\n\r\n" +
                                    content + "\r\n" + boundary +
                                    "\r\nContent-Type: text/plain; charset=UTF-8" + disposition +
                                    "\"t\"t\"\r\n\r\n\xC3\xA4\r\n" + boundary + "--\r\n");
        }
        QTRY_VERIFY(EntriesOf("/proc/self/fd") <= before);
    }

    void failedPartLeavesNothingOpen()
    {
        WriteFile("part", "x");
        const auto parts = PartsOf({"part", "/missing/a%1.txt", "/missing/too"});
        const int before = EntriesOf("/proc/self/fd");
        const RecordingLogger log;
        QVERIFY(!parts->MultiPart());
        QCOMPARE(EntriesOf("/proc/self/fd"), before);
        QCOMPARE(
            log.Lines(),
            QStringList({"3 http.form.part AppendTo: Failed to open file '/missing/a%1.txt'",
                         "3 http.form.multipart MultiPart: Failed to append part to multipart"}));
    }

    // The file of a part becomes another while it is sent, or has no size that holds.
    void changingFile()
    {
        MakeTree(".", {"large=", "fifo|"});
        QDir::addSearchPath("parts", tree_.path());
        const std::tuple<QString, qint64, QString> rows[] = {
            {"large", 0, "error 99 "},
            {"large", largeSize - 1, "error 99 "},
            {"large", largeSize + 1, "text body"},
            {"parts:large", largeSize, "text body"},
            {"/sys/kernel/fscaps", -1, "error 99 "}, // a size without bytes
            {"fifo", -1, ""}};
        for (const auto& row : rows) {
            const auto& [path, sizeLater, outcome] = row;
            const RecordingLogger log;
            QVERIFY(sizeLater < 0 || QFile::resize(path, largeSize));
            const auto posted = Posted(PartsOf({path}), [&row] {
                QFile::resize(std::get<0>(row), qMax<qint64>(std::get<1>(row), 0));
            });
            QCOMPARE(posted.second, outcome);
            QCOMPARE(log.Lines("File '" + path + "' became shorter while it was sent").size(),
                     outcome.startsWith("error") ? 1 : 0);
        }
    }
};

QTEST_GUILESS_MAIN(TestRequestBodies)
#include "tst_requestbodies.moc"
