#include <common/http/filedownload.h>
#include <common/http/httprequest.h>
#include <common/http/httprequestdatamap.h>
#include <common/http/httprequestmultipartformdata.h>
#include <common/logger/l4cpp/logger.h>
#include <common/shell/shell.h>
#include <common/tools/cipher/aes.h>
#include <common/tools/jsonfile/jsonfile.h>
#include <qtsingleapplication/qtlocalpeer.h>

#include "support/recordinglogger.h"
#include "support/requestrecord.h"
#include "support/scriptedserver.h"
#include "support/tree.h"

#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

using loopback::Reply;
using namespace common;

// What other users, and the readers of a log, get to see.
class TestDisclosure : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir directory_;

    QString Path(const QString& name) const { return directory_.filePath(name); }

    static int ModeOf(const QString& path)
    {
        struct stat status = {};
        lstat(QFile::encodeName(path).constData(), &status);
        return static_cast<int>(status.st_mode & 07777);
    }

private Q_SLOTS:
    // With a umask that closes nothing.
    void modes()
    {
        const mode_t usual = umask(0);
        const QString others = Path("others");
        QVERIFY(QDir().mkdir(others));
        QCOMPARE(ModeOf(others), 0777);
        qputenv("XDG_RUNTIME_DIR", others.toUtf8());
        QVERIFY(!QtLocalPeer(nullptr, "modes").isClient());
        QVERIFY(QDir(others).isEmpty());
        QCOMPARE(ModeOf("/tmp/qtsingleapp-" + QString::number(getuid())), 0700);

        WriteFile(Path("private"), "secret");
        QFile::setPermissions(Path("private"), QFile::ReadOwner | QFile::WriteOwner);
        QVERIFY(Shell::Copy(Path("private"), Path("copied"), true));
        QCOMPARE(ModeOf(Path("copied")), 0600);

        logger::l4cpp::Logger log;
        log.Configure(logger::IMessage::INFO, logger::rollingFileOutput, logger::patternFormat, {},
                      {}, {}, Path("log"), 10, 1);
        QCOMPARE(ModeOf(Path("log")), 0644);
        umask(usual);
    }

    // Each secret is a name of its own; only those in an address may be found in the log.
    void secretsInTheLog()
    {
        RecordingLogger log;
        log.SetLevel(logger::IMessage::DEBUG);
        ScriptedServer server;
        Reply answer = Gzip("REPLYBODY");
        answer.headers << qMakePair(QByteArray("Set-Cookie"), QByteArray("session=REPLYHEADER"));
        Reply refusal = Reply::Status(401, "Unauthorized", "REFUSALBODY");
        refusal.headers << qMakePair(QByteArray("WWW-Authenticate"), QByteArray("Basic realm=x"));
        QNetworkAccessManager manager;

        const auto parts = http::IHttpRequestMultiPartData::CreateMultiPartFormData();
        parts->AddPart(http::IHttpRequestPartData::CreateTextPartFormData("PARTNAME", "PARTVALUE"));
        const auto form = http::IHttpRequestDataMap::CreateUrlencodedDataMap();
        const auto json = http::IHttpRequestDataMap::CreateJsonDataMap();
        form->SetParam("FORMNAME", "FORMVALUE");
        json->SetParam("JSONNAME", "JSONVALUE");
        const std::pair<QSharedPointer<http::IHttpRequestData>, Reply> exchanges[] = {
            {parts, answer}, {form, refusal}, {json, Reply::Dropped()}};
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

        for (const QString& path : {Path("new/settings"), Path("new/settings/below"), Path("")}) {
            const QJsonObject settings{{"FILENAME", "FILEVALUE"}};
            tools::JsonFile file(path, settings, "FILEKEY");
            file.Save();
            file.Load();
            tools::JsonFile(path, "WRONGKEY").Load();
            tools::JsonFile(path, settings, QString("LONGKEY").repeated(9)).Save();
        }
        const QString cipher = tools::cipher::AES::encryptPair("PAIRNAME", "PAIRVALUE");
        tools::cipher::AES::decryptPair("PAIRNAME", cipher);
        tools::cipher::AES::decrypt("CIPHERKEY", tools::cipher::AES::encrypt("CIPHERKEY", "PLAIN"));

        QVERIFY(!log.Lines().isEmpty());
        QCOMPARE(log.Lines("URLPASSWORD"), log.Lines("URL='"));
        const QRegularExpression secrets("[A-Z]+(BODY|HEADER|VALUE|NAME|KEY)|PLAIN|" +
                                         QRegularExpression::escape(cipher));
        QCOMPARE(log.Lines().filter(secrets), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestDisclosure)
#include "tst_disclosure.moc"
