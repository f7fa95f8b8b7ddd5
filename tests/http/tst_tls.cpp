#include <common/http/httprequest.h>

#include "support/process.h"
#include "support/recordinglogger.h"
#include "support/requestrecord.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using namespace common::http;

// The requests meet a server that nobody vouches for: "openssl s_server", which serves a file
// that holds a whole reply.
class TestTls : public QObject
{
    Q_OBJECT

private:
    QByteArray Content(const QString& name) const
    {
        QFile file(directory_.filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    // The address of the file at a server started with these arguments in addition.
    QUrl Serve(QProcess& server, const QStringList& arguments) const
    {
        server.setWorkingDirectory(directory_.path());
        server.start("openssl", QStringList({"s_server", "-accept", "127.0.0.1:0", "-cert", "cert",
                                             "-key", "key", "-HTTP"}) +
                                    arguments);
        static const QRegularExpression accepting("ACCEPT 127\\.0\\.0\\.1:([0-9]+)");
        QByteArray said;
        while (!accepting.match(said).hasMatch() && server.waitForReadyRead())
            said += server.readAllStandardOutput();
        return QUrl("https://127.0.0.1:" + accepting.match(said).captured(1) + "/body");
    }

    QTemporaryDir directory_;

private Q_SLOTS:
    void initTestCase()
    {
        OutputOf("openssl", {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "1", "-subj",
                             "/CN=nobody", "-keyout", directory_.filePath("key"), "-out",
                             directory_.filePath("cert")});
        QFile file(directory_.filePath("body"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("HTTP/1.0 200 OK\r\nContent-Length: 6\r\n\r\nsecret");
    }

    void outcome_data()
    {
        QTest::addColumn<QStringList>("serverArguments");
        QTest::addColumn<bool>("ignoreErrors");
        QTest::addColumn<bool>("withCertificate");
        QTest::addColumn<bool>("success");
        const QStringList demanding = {"-Verify", "1"};
        QTest::newRow("self-signed") << QStringList() << false << false << true;
        QTest::newRow("self-signed, errors ignored") << QStringList() << true << false << true;
        QTest::newRow("client certificate demanded") << demanding << false << false << false;
        QTest::newRow("client certificate given") << demanding << false << true << true;
    }

    void outcome()
    {
        QFETCH(QStringList, serverArguments);
        QFETCH(bool, ignoreErrors);
        QFETCH(bool, withCertificate);
        QFETCH(bool, success);
        QProcess server;
        QNetworkAccessManager manager;
        const std::unique_ptr<IHttpRequest> request(CreateHttpRequest(&manager, nullptr));
        request->SetUrl(Serve(server, serverArguments));
        request->SetIgnoreSSLErrors(ignoreErrors);
        if (withCertificate) {
            request->SetSslCertificate(QSslCertificate(Content("cert")),
                                       QSslKey(Content("key"), QSsl::Rsa), {});
        }
        const RequestRecord record(request.get());
        const RecordingLogger log;
        QVERIFY(request->Get());
        QTRY_COMPARE(record.Finals(), 1);
        QCOMPARE(record.Signals().contains("text secret"), success);
        QCOMPARE(!log.Lines("4 http.request OnSslErrors: Ignoring SSL errors!").isEmpty(),
                 ignoreErrors);
        server.kill();
        server.waitForFinished();
    }
};

QTEST_GUILESS_MAIN(TestTls)
#include "tst_tls.moc"
