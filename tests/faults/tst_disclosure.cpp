#include <common/http/filedownload.h>
#include <common/http/httprequest.h>
#include <common/http/httprequestdatamap.h>
#include <common/http/httprequestmultipartformdata.h>
#include <common/tools/cipher/aes.h>
#include <common/tools/jsonfile/jsonfile.h>

#include "support/recordinglogger.h"
#include "support/requestrecord.h"
#include "support/scriptedserver.h"
#include "support/tree.h"

#include <QtTest>

using loopback::Reply;
using namespace common;

// What the readers of a log get to see.
class TestDisclosure : public QObject
{
    Q_OBJECT

private:
    const CurrentTree tree_;

private Q_SLOTS:
    // Each secret is a name of its own; only those in an address may be found in the log.
    void secretsInTheLog()
    {
        RecordingLogger log;
        log.SetLevel(logger::IMessage::DEBUG);
        ScriptedServer server;
        const Reply refusal = Reply::Status(401, "Unauthorized", "REFUSALBODY");
        QNetworkAccessManager manager;
        const auto parts = http::IHttpRequestMultiPartData::CreateMultiPartFormData();
        parts->AddPart(http::IHttpRequestPartData::CreateTextPartFormData("PARTNAME", "PARTVALUE"));
        const auto form = http::IHttpRequestDataMap::CreateUrlencodedDataMap();
        form->SetParam("FORMNAME", "FORMVALUE");
        const std::pair<QSharedPointer<http::IHttpRequestData>, Reply> exchanges[] = {
            {parts, Gzip("REPLYBODY")},
            {form, With(refusal, &Reply::headers, {{"WWW-Authenticate", "REPLYHEADER"}})}};
        for (const auto& [body, reply] : exchanges) {
            server.Script("/x", {reply});
            http::HttpRequest request(&manager, nullptr);
            QUrl url = server.Url("/x");
            url.setUserInfo("user:URLPASSWORD");
            request.SetUrl(url);
            request.SetData(body);
            request.SetRawHeader("Authorization", "Bearer HEADERVALUE");
            const RequestRecord record(&request);
            QVERIFY(request.Post());
            QTRY_COMPARE(record.Finals(), 1);
        }

        for (const QString path : {"new/settings", "new/settings/below", "."}) {
            const QJsonObject settings{{"FILENAME", "FILEVALUE"}};
            tools::JsonFile(path, settings, "FILEKEY").Save();
            tools::JsonFile(path, "WRONGKEY").Load();
            tools::JsonFile(path, settings, QString("LONGKEY").repeated(9)).Save();
        }
        const QString cipher = tools::cipher::AES::encryptPair("PAIRNAME", "PAIRVALUE");
        tools::cipher::AES::decryptPair("WRONGNAME", cipher);

        QVERIFY(!log.Lines("http").isEmpty() && !log.Lines("json").isEmpty());
        QCOMPARE(log.Lines("URLPASSWORD"), log.Lines("URL='"));
        const QRegularExpression secrets("[A-Z]+(BODY|HEADER|VALUE|NAME|KEY)|" +
                                         QRegularExpression::escape(cipher));
        QCOMPARE(log.Lines().filter(secrets), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestDisclosure)
#include "tst_disclosure.moc"
