#include <common/http/httprequestdatamap.h>
#include <common/http/httprequestmultipartformdata.h>

#include "support/recordinglogger.h"

#include <QDir>
#include <QTemporaryFile>
#include <QtTest>

using namespace common::http;

Q_DECLARE_METATYPE(QSharedPointer<IHttpRequestSimpleData>)

class TestRequestBodies : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void simpleBody_data()
    {
        QTest::addColumn<QSharedPointer<IHttpRequestSimpleData>>("data");
        QTest::addColumn<QString>("contentType");
        QTest::addColumn<QByteArray>("body");
        const QSharedPointer<IHttpRequestDataMap> maps[] = {
            IHttpRequestDataMap::CreateUrlencodedDataMap(),
            IHttpRequestDataMap::CreateUrlencodedDataMap(),
            IHttpRequestDataMap::CreateJsonDataMap(), IHttpRequestDataMap::CreateJsonDataMap()};
        const auto row = [](const char* name, const QSharedPointer<IHttpRequestSimpleData>& data,
                            const QString& type, const QByteArray& body) {
            QTest::newRow(name) << data << type << body;
        };
        for (const int filled : {1, 3}) {
            maps[filled]->SetParam("b", "x y");
            maps[filled]->SetParam("a", "1&2=+/");
            maps[filled]->SetParam("Z", QChar(0xE4));
            maps[filled]->SetParam("e-._~", "old");
            maps[filled]->SetParam("e-._~", "");
        }
        const QString form = "application/x-www-form-urlencoded";
        const QString json = "application/json";
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
        QTEST(data->ContentTypeHeader(), "contentType");
        QTEST(data->GetBody(), "body");
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

    void dispositions()
    {
        const auto text = IHttpRequestPartData::CreateTextPartFormData("a\"b", "x");
        QCOMPARE(text->ContentDispositionHeader(), QString("form-data; name=\"a\"b\""));
        const auto file = IHttpRequestPartData::CreateFilePartFormData("f", "/tmp/dir/a%1.png");
        QCOMPARE(file->ContentDispositionHeader(),
                 QString("form-data; name=\"f\"; filename=\"a%1.png\""));
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
};

QTEST_GUILESS_MAIN(TestRequestBodies)
#include "tst_requestbodies.moc"
