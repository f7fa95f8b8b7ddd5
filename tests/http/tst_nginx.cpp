#include <common/http/filedownload.h>

#include "support/process.h"
#include "support/requestrecord.h"
#include "support/tree.h"

#include <QTcpSocket>
#include <QtTest>

using namespace common::http;

namespace {

enum Listener { SelfSigned, ClientsOnly, Tls12, Tls13, Elsewhere, Expired, listeners };

void Openssl(const QString& arguments)
{
    OutputOf("openssl", arguments.split(' '));
}

// A certificate for names, signed by the CA of the test.
void Certify(const QString& file, const QByteArray& names, const QString& days)
{
    WriteFile("names", "subjectAltName=" + names);
    Openssl("x509 -req -in csr -CA ca -CAkey cakey -CAcreateserial -extfile names -days " + days +
            " -out " + file);
}

} // namespace

// The client meets TLS that others wrote, with certificates as they are.
class TestNginx : public QObject
{
    Q_OBJECT

private:
    QUrl Url(Listener listener, const QString& host = "127.0.0.1") const
    {
        return QUrl(QString("https://%1:%2/text").arg(host).arg(ports_[listener].localPort()));
    }

    // How a request ends, verified by that authority or not verified: "success" or the error's text.
    QString Outcome(const QUrl& url, const QString& authority, bool isClient = false)
    {
        HttpRequest request(&manager_, nullptr);
        request.SetUrl(url);
        request.SetIgnoreSSLErrors(true);
        if (!authority.isEmpty())
            request.SetPeerVerification(true, QSslCertificate::fromPath(authority));
        if (isClient)
            request.SetSslCertificate(QSslCertificate(ContentOf("cert")),
                                      QSslKey(ContentOf("key"), QSsl::Rsa), {});
        const RequestRecord record(&request);
        request.Get();
        request.SetPeerVerification(false); // holds for later sends only
        const bool ended = QTest::qWaitFor([&] { return record.Finals() > 0; });
        return ended && record.Signals().value(1) == "text HTTP/1.1" ? "success"
                                                                     : record.ErrorText();
    }

    const CurrentTree tree_;
    QProcess server_;
    QNetworkAccessManager manager_;
    // A socket that shares its port and does not listen keeps others than the server off it.
    QTcpSocket ports_[listeners];

private Q_SLOTS:
    void initTestCase()
    {
        const QString selfSigned = "req -x509 -newkey rsa:2048 -nodes -days 1 ";
        Openssl(selfSigned + "-subj /CN=nobody -keyout key -out cert");
        Openssl(selfSigned + "-subj /CN=authority -keyout cakey -out ca");
        Openssl("req -new -subj /CN=server -key key -out csr");
        Certify("right", "DNS:localhost,IP:127.0.0.1", "1");
        Certify("elsewhere", "DNS:elsewhere.test,IP:127.0.0.2", "1");
        Certify("expired", "DNS:localhost,IP:127.0.0.1", "-1");
        const char* const certificates[listeners] = {
            "cert;",
            "cert; ssl_client_certificate cert; ssl_verify_client on;",
            "right; ssl_protocols TLSv1.2;",
            "right; ssl_protocols TLSv1.3;",
            "elsewhere;",
            "expired;"};
        QString config = "daemon off; master_process off; pid pid; events {} http { access_log "
                         "off; client_body_temp_path t1; proxy_temp_path t2; fastcgi_temp_path t3; "
                         "uwsgi_temp_path t4; scgi_temp_path t5; ssl_certificate_key key; ";
        for (int i = 0; i < listeners; ++i) {
            ports_[i].bind(QHostAddress::LocalHost, 0, QAbstractSocket::ShareAddress);
            config += QString("server { listen 127.0.0.1:%1 ssl http2; "
                              "return 200 $server_protocol; ssl_certificate %2 } ")
                          .arg(QString::number(ports_[i].localPort()), certificates[i]);
        }
        WriteFile("config", config.toUtf8() + "}");

        qputenv("PATH", qgetenv("PATH") + ":/usr/sbin");
        server_.setStandardErrorFile("errors");
        server_.start("nginx", {"-p", tree_.path(), "-e", "errors", "-c", "config"});
        QTRY_VERIFY([this] {
            QTcpSocket socket;
            socket.connectToHost("127.0.0.1", ports_[0].localPort());
            return socket.waitForConnected(100);
        }());
    }

    void clientCertificate()
    {
        QVERIFY(Outcome(Url(ClientsOnly), "") != "success");
        manager_.clearConnectionCache(); // a connection serves whoever has the same host
        QCOMPARE(Outcome(Url(ClientsOnly), "", true), QString("success"));
    }

    // Qt has connections to each host that were not verified, or by others, but they are not used.
    void verification()
    {
        const QString ip = "127.0.0.1";
        const QString unknown = "The issuer certificate of a locally";
        const QString otherHost = "The host name did not match";
        // The authority is a file of certificates, or that of the system.
        const std::tuple<Listener, QString, QString, QString> rows[] = {
            {Tls12, ip, "ca", "success"},
            {Tls13, "localhost", "ca", "success"},
            {Elsewhere, "localhost", "ca", otherHost},
            {Elsewhere, ip, "ca", otherHost},
            {Expired, ip, "ca", "The certificate has expired"},
            {SelfSigned, ip, "ca", "The certificate is self-signed"},
            {Tls12, ip, "cert", unknown},
            {Tls12, ip, "none", unknown},
        };
        for (const auto& [listener, host, authority, problem] : rows) {
            const QUrl url = Url(listener, host);
            QCOMPARE(Outcome(url, ""), QString("success"));
            for (int i = 0; i < 2; ++i) {
                const QString outcome = Outcome(url, authority);
                QVERIFY2(outcome.contains(problem), qPrintable(problem + ", not " + outcome));
                QVERIFY(problem == unknown ||
                        Outcome(url, authority == "ca" ? "cert" : "ca") != "success");
            }
            QCOMPARE(Outcome(url, ""), QString("success"));

            FileDownload download(&manager_, nullptr);
            download.SetUrl(url);
            download.SetFileName("target");
            QVERIFY(download.SetPeerVerification(true, QSslCertificate::fromPath(authority)));
            QSignalSpy complete(&download, &IFileDownload::complete);
            QSignalSpy failed(&download, &IFileDownload::failed);
            QVERIFY(download.Start());
            QTRY_COMPARE(complete.size() + failed.size(), 1);
            QCOMPARE(complete.isEmpty(), problem != "success");
        }
    }

    void toolVerifies()
    {
        const QString url = Url(SelfSigned).toString();
        QCOMPARE(OutputOf(QVTOOL_PATH, {"get", "--insecure", url}), QByteArray("HTTP/1.1"));
        QCOMPARE(QProcess::execute(QVTOOL_PATH, {"get", url}), 1);
    }
};

QTEST_GUILESS_MAIN(TestNginx)
#include "tst_nginx.moc"
