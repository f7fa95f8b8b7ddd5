#include <common/http/filedownload.h>

#include "support/cases.h"
#include "support/process.h"
#include "support/requestrecord.h"
#include "support/tree.h"

#include <QProcess>
#include <QTcpSocket>

#include <memory>

using namespace common::http;

namespace {

enum Listener { SelfSigned, ClientsOnly, Tls12, Tls13, Elsewhere, Expired, listeners };

struct VerificationCase
{
    const char* name;
    Listener listener;
    QString host;
    QString authority;    // a file of certificates, or the system's
    QString problem = {}; // or nothing if it succeeds
};

// A port that only the server takes: a socket that shares it and does not listen keeps others off.
struct HeldPort
{
    QTcpSocket socket;
    HeldPort() { socket.bind(QHostAddress::LocalHost, 0, QAbstractSocket::ShareAddress); }
};

// Switches off what was asked for.
class Careless : public HttpRequest
{
public:
    using HttpRequest::HttpRequest;

protected:
    void SetSslConfiguration(QNetworkRequest& request) override
    {
        HttpRequest::SetSslConfiguration(request);
        QSslConfiguration configuration = request.sslConfiguration();
        configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
        request.setSslConfiguration(configuration);
    }
};

} // namespace

// The client meets TLS that others wrote, with certificates as they are.
class TestNginx : public QObject
{
    Q_OBJECT

private:
    QString Path(const QString& name) const { return directory_.filePath(name); }

    QUrl Url(Listener listener, const QString& host = "127.0.0.1") const
    {
        return QUrl(
            QString("https://%1:%2/text").arg(host).arg(ports_[listener].socket.localPort()));
    }

    // A certificate for a name and an address, signed by the CA of the test.
    void Certify(const QString& file, const QString& names, const QString& days)
    {
        WriteFile(Path("names"), "subjectAltName=" + names.toUtf8());
        OutputOf("openssl",
                 {"x509", "-req", "-in", Path("csr"), "-days", days, "-CA", Path("ca"), "-CAkey",
                  Path("cakey"), "-CAcreateserial", "-extfile", Path("names"), "-out", Path(file)});
    }

    QList<QSslCertificate> Authority(const QString& name) const
    {
        return name.isEmpty() ? QList<QSslCertificate>() : QSslCertificate::fromPath(Path(name));
    }

    // How it ends: "success" or the text of the error.
    static QString Outcome(IHttpRequest& request)
    {
        const RequestRecord record(&request);
        request.Get();
        request.SetPeerVerification(false); // holds for later sends only
        [&] {
            QTRY_COMPARE(record.Finals(), 1);
        }();
        return record.Signals().value(1) == "text HTTP/1.1" ? "success" : record.ErrorText();
    }

    // Verified by that authority, or not verified.
    template <typename Request = HttpRequest>
    QString Outcome(const QUrl& url, const QString& authority)
    {
        Request request(&manager_, nullptr);
        request.SetUrl(url);
        request.SetIgnoreSSLErrors(true);
        if (!authority.isNull())
            request.SetPeerVerification(true, Authority(authority));
        return Outcome(request);
    }

    QTemporaryDir directory_;
    QProcess server_;
    QNetworkAccessManager manager_;
    HeldPort ports_[listeners];

private Q_SLOTS:
    void initTestCase()
    {
        for (const QString name : {"", "ca"})
            OutputOf("openssl", {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "1",
                                 "-subj", "/CN=nobody" + name, "-keyout", Path(name + "key"),
                                 "-out", Path(name.isEmpty() ? "cert" : name)});
        OutputOf("openssl",
                 {"req", "-new", "-subj", "/CN=server", "-key", Path("key"), "-out", Path("csr")});
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
        for (int i = 0; i < listeners; ++i)
            config += QString("server { listen 127.0.0.1:%1 ssl http2; "
                              "return 200 $server_protocol; ssl_certificate %2 } ")
                          .arg(QString::number(ports_[i].socket.localPort()), certificates[i]);
        WriteFile(Path("config"), config.toUtf8() + "}");

        qputenv("PATH", qgetenv("PATH") + ":/usr/sbin");
        server_.setStandardErrorFile(Path("errors"));
        server_.start("nginx", {"-p", directory_.path(), "-e", "errors", "-c", "config"});
        QTRY_VERIFY([this] {
            QTcpSocket socket;
            socket.connectToHost("127.0.0.1", ports_[0].socket.localPort());
            return socket.waitForConnected(100);
        }());
    }

    void cleanupTestCase()
    {
        server_.kill();
        QVERIFY(server_.waitForFinished());
    }

    void clientCertificate()
    {
        HttpRequest request(&manager_, nullptr);
        request.SetUrl(Url(ClientsOnly));
        QVERIFY(Outcome(request) != "success");
        manager_.clearConnectionCache(); // a connection serves whoever has the same host
        request.SetSslCertificate(QSslCertificate(ContentOf(Path("cert"))),
                                  QSslKey(ContentOf(Path("key")), QSsl::Rsa), {});
        QCOMPARE(Outcome(request), QString("success"));
    }

    void verification_data()
    {
        const QString ip = "127.0.0.1";
        const QString otherHost = "The host name did not match";
        const QString unknown = "The issuer certificate of a locally";
        AddCases<VerificationCase>({
            {"TLS 1.2", Tls12, ip, "ca"},
            {"TLS 1.3", Tls13, ip, "ca"},
            {"by name", Tls13, "localhost", "ca"},
            {"another host", Elsewhere, "localhost", "ca", otherHost},
            {"another address", Elsewhere, ip, "ca", otherHost},
            {"expired", Expired, ip, "ca", "The certificate has expired"},
            {"self-signed", SelfSigned, ip, "ca", "The certificate is self-signed"},
            {"unknown CA", Tls12, ip, "cert", unknown},
            {"not the system's", Tls12, ip, "", unknown},
        });
    }

    // Qt has connections to each host that were not verified, or by others, but they are not used.
    void verification()
    {
        const auto& row = CurrentCase<VerificationCase>();
        const QUrl url = Url(row.listener, row.host);
        QCOMPARE(Outcome(url, QString()), QString("success"));
        QCOMPARE(Outcome<Careless>(url, row.authority), QString("success"));
        for (int i = 0; i < 2; ++i) {
            const QString outcome = Outcome(url, row.authority);
            QCOMPARE(outcome == "success", row.problem.isEmpty());
            QVERIFY2(outcome.contains(row.problem), qPrintable(outcome));
            QVERIFY(Outcome(url, row.authority == "ca" ? "cert" : "ca") != "success" ||
                    row.problem.contains("issuer"));
        }
        QCOMPARE(Outcome(url, QString()), QString("success"));

        const std::unique_ptr<IFileDownload> download(CreateFileDownload(&manager_, nullptr));
        download->SetUrl(url);
        download->SetFileName(Path("target"));
        QVERIFY(download->SetPeerVerification(true, Authority(row.authority)));
        QSignalSpy complete(download.get(), &IFileDownload::complete);
        QSignalSpy failed(download.get(), &IFileDownload::failed);
        QVERIFY(download->Start());
        QTRY_COMPARE(complete.size() + failed.size(), 1);
        QCOMPARE(complete.isEmpty(), !row.problem.isEmpty());
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
