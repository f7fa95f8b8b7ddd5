#include <common/http/filedownload.h>

#include "support/process.h"
#include "support/recordinglogger.h"
#include "support/requestrecord.h"
#include "support/tree.h"

#include <QFile>
#include <QProcess>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using namespace common::http;

namespace {

const QByteArray text = QByteArray("What a server sends, again and again. ").repeated(20'000);

// A port that only the server takes: a socket that shares it and does not listen keeps others off.
struct HeldPort
{
    QTcpSocket socket;
    operator quint16() const { return socket.localPort(); }
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

// The client meets a server that others wrote.
class TestNginx : public QObject
{
    Q_OBJECT

private:
    void Start()
    {
        server_.setStandardErrorFile(directory_.filePath("errors"));
        server_.start("nginx", {"-p", directory_.path(), "-e", "errors", "-c", "config"});
        QTRY_VERIFY([this] {
            QTcpSocket socket;
            socket.connectToHost("127.0.0.1", port_);
            return socket.waitForConnected(100);
        }());
    }

    void Kill()
    {
        server_.kill();
        QVERIFY(server_.waitForFinished());
    }

    QUrl Url(const QString& path, int listener = 0) const
    {
        return QUrl(QString("%1://127.0.0.1:%2%3")
                        .arg(listener == 0 ? "http" : "https")
                        .arg(listener == 0 ? port_ : tlsPorts_[listener - 1].operator quint16())
                        .arg(path));
    }

    // A certificate "name" for those alternative names, signed by the CA of the test.
    void Certify(const QString& name, const QString& names, const QString& days = "1")
    {
        WriteFile(directory_.filePath("names"), "subjectAltName=" + names.toUtf8());
        OutputOf("openssl", {"x509", "-req", "-in", directory_.filePath("csr"), "-days", days,
                             "-CA", directory_.filePath("ca"), "-CAkey",
                             directory_.filePath("cakey"), "-CAcreateserial", "-extfile",
                             directory_.filePath("names"), "-out", directory_.filePath(name)});
    }

    QList<QSslCertificate> Authority(const QString& name) const
    {
        return name.isEmpty() ? QList<QSslCertificate>()
                              : QSslCertificate::fromPath(directory_.filePath(name));
    }

    // How a request ends that is verified by that authority, or not verified.
    template <typename Request = HttpRequest>
    QString Outcome(const QUrl& url, const QString& authority)
    {
        const auto request = NewRequest<Request>(url);
        request->SetIgnoreSSLErrors(true);
        if (!authority.isNull())
            request->SetPeerVerification(true, Authority(authority));
        const RequestRecord record(request.get());
        request->Get();
        request->SetPeerVerification(false); // holds for later sends only
        [&] {
            QTRY_COMPARE(record.Finals(), 1);
        }();
        return record.Signals().value(1) == "text " + text ? "success" : record.ErrorText();
    }

    template <typename Request = HttpRequest>
    std::unique_ptr<IHttpRequest> NewRequest(const QUrl& url)
    {
        std::unique_ptr<IHttpRequest> request(new Request(&manager_, nullptr));
        request->SetUrl(url);
        request->SetTimeout(5);
        return request;
    }

    QTemporaryDir directory_;
    QProcess server_;
    QNetworkAccessManager manager_;
    HeldPort port_;
    HeldPort tlsPorts_[6];

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("PATH", qgetenv("PATH") + ":/usr/sbin");
        for (const QString name : {"", "ca"})
            OutputOf("openssl",
                     {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "1", "-subj",
                      "/CN=nobody" + name, "-keyout", directory_.filePath(name + "key"), "-out",
                      directory_.filePath(name.isEmpty() ? "cert" : name)});
        OutputOf("openssl", {"req", "-new", "-subj", "/CN=server", "-key",
                             directory_.filePath("key"), "-out", directory_.filePath("csr")});
        Certify("right", "DNS:localhost,IP:127.0.0.1");
        Certify("elsewhere", "DNS:elsewhere.test,IP:127.0.0.2");
        Certify("expired", "DNS:localhost,IP:127.0.0.1", "-1");
        WriteFile(directory_.filePath("text.txt"), text);
        const QString tls = "server { listen 127.0.0.1:%1 ssl; ssl_certificate %2; "
                            "ssl_certificate_key key; ssl_protocols %3; root " +
                            directory_.path() + "; %4 } ";
        const QString all = "TLSv1.2 TLSv1.3";
        const QString config =
            "daemon off; master_process off; pid pid; events {} http { access_log off; "
            "client_body_temp_path t1; proxy_temp_path t2; fastcgi_temp_path t3; "
            "uwsgi_temp_path t4; scgi_temp_path t5; "
            "types { text/plain txt; } limit_req_zone $uri zone=one:1m rate=1r/m; "
            "limit_req_status 429; "
            "server { listen 127.0.0.1:" +
            QString::number(port_) + "; root " + directory_.path() + "; location /gzip/ { alias " +
            directory_.path() +
            "/; gzip on; gzip_types text/plain; } "
            "location /limited/ { alias " +
            directory_.path() +
            "/; limit_req zone=one; } "
            "location /slow/ { alias " +
            directory_.path() + "/; limit_rate 300k; } } " +
            tls.arg(tlsPorts_[0]).arg("cert", all, "") +
            tls.arg(tlsPorts_[1])
                .arg("cert", all, "ssl_client_certificate cert; ssl_verify_client on;") +
            tls.arg(tlsPorts_[2]).arg("right", "TLSv1.2", "") +
            tls.arg(tlsPorts_[3]).arg("right", "TLSv1.3", "") +
            tls.arg(tlsPorts_[4]).arg("elsewhere", all, "") +
            tls.arg(tlsPorts_[5]).arg("expired", all, "") + "}";
        WriteFile(directory_.filePath("config"), config.toUtf8());
        Start();
    }

    void cleanupTestCase() { Kill(); }

    void reply_data()
    {
        QTest::addColumn<QUrl>("url");
        QTest::addColumn<bool>("ignoreErrors");
        QTest::addColumn<bool>("withCertificate");
        QTest::addColumn<bool>("success");
        QTest::newRow("plain") << Url("/text.txt") << false << false << true;
        QTest::newRow("gzip") << Url("/gzip/text.txt") << false << false << true;
        QTest::newRow("self-signed") << Url("/text.txt", 1) << false << false << true;
        QTest::newRow("self-signed, errors ignored")
            << Url("/text.txt", 1) << true << false << true;
        QTest::newRow("client certificate demanded")
            << Url("/text.txt", 2) << false << false << false;
        QTest::newRow("client certificate given") << Url("/text.txt", 2) << false << true << true;
    }

    void reply()
    {
        QFETCH(QUrl, url);
        QFETCH(bool, ignoreErrors);
        QFETCH(bool, withCertificate);
        QFETCH(bool, success);
        const auto request = NewRequest(url);
        request->SetIgnoreSSLErrors(ignoreErrors);
        if (withCertificate) {
            request->SetSslCertificate(QSslCertificate(ContentOf(directory_.filePath("cert"))),
                                       QSslKey(ContentOf(directory_.filePath("key")), QSsl::Rsa),
                                       {});
        }
        manager_.clearConnectionCache(); // a connection serves whoever has the same host
        const RequestRecord record(request.get());
        const RecordingLogger log;
        QVERIFY(request->Get());
        QTRY_COMPARE(record.Finals(), 1);
        QCOMPARE(record.Signals().contains("text " + text), success);
        QCOMPARE(!log.Lines("4 http.request OnSslErrors: Ignoring SSL errors!").isEmpty(),
                 ignoreErrors);
    }

    void verification_data()
    {
        QTest::addColumn<int>("listener");
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("authority");
        QTest::addColumn<QString>("problem");
        const QString ip = "127.0.0.1";
        QTest::newRow("TLS 1.2") << 3 << ip << "ca"
                                 << "";
        QTest::newRow("TLS 1.3") << 4 << ip << "ca"
                                 << "";
        QTest::newRow("by name") << 4 << "localhost"
                                 << "ca"
                                 << "";
        QTest::newRow("another host") << 5 << "localhost"
                                      << "ca"
                                      << "The host name did not match";
        QTest::newRow("another address") << 5 << ip << "ca"
                                         << "The host name did not match";
        QTest::newRow("expired") << 6 << ip << "ca"
                                 << "The certificate has expired";
        QTest::newRow("self-signed") << 1 << ip << "ca"
                                     << "The certificate is self-signed";
        QTest::newRow("unknown CA") << 3 << ip << "cert"
                                    << "The issuer certificate of a locally";
        QTest::newRow("not the system's") << 3 << ip << ""
                                          << "The issuer certificate of a locally";
    }

    // Qt has connections to each host that were not verified, or by others, but they are not used.
    void verification()
    {
        QFETCH(int, listener);
        QFETCH(QString, host);
        QFETCH(QString, authority);
        QFETCH(QString, problem);
        QUrl url = Url("/text.txt", listener);
        url.setHost(host);
        QCOMPARE(Outcome(url, QString()), QString("success"));
        QCOMPARE(Outcome<Careless>(url, authority), QString("success"));
        for (int i = 0; i < 2; ++i) {
            const QString outcome = Outcome(url, authority);
            QCOMPARE(outcome == "success", problem.isEmpty());
            QVERIFY2(outcome.contains(problem), qPrintable(outcome));
            QVERIFY(Outcome(url, authority == "ca" ? "cert" : "ca") != "success" ||
                    problem.contains("issuer"));
        }
        QCOMPARE(Outcome(url, QString()), QString("success"));

        const std::unique_ptr<IFileDownload> download(CreateFileDownload(&manager_, nullptr));
        download->SetUrl(url);
        download->SetFileName(directory_.filePath("target"));
        QVERIFY(download->SetPeerVerification(true, Authority(authority)));
        QSignalSpy complete(download.get(), &IFileDownload::complete);
        QSignalSpy failed(download.get(), &IFileDownload::failed);
        QVERIFY(download->Start());
        QTRY_COMPARE(complete.size() + failed.size(), 1);
        QCOMPARE(!complete.isEmpty(), problem.isEmpty());
    }

    void toolVerifies()
    {
        const QString url = Url("/text.txt", 1).toString();
        QCOMPARE(OutputOf(QVTOOL_PATH, {"get", "--insecure", url}), text);
        QCOMPARE(QProcess::execute(QVTOOL_PATH, {"get", url}), 1);
    }

    void tooManyRequests()
    {
        const auto first = NewRequest(Url("/limited/text.txt"));
        const auto hasty = NewRequest(Url("/limited/text.txt"));
        const auto patient = NewRequest(Url("/limited/text.txt"));
        patient->SetAttemptCountOnNetworkProblem(1'000'000);
        patient->SetAttemptIntervalOnNetworkProblem(0);
        const RequestRecord records[] = {RequestRecord(first.get()), RequestRecord(hasty.get()),
                                         RequestRecord(patient.get())};
        for (int i = 0; i < 2; ++i) {
            QVERIFY((i == 0 ? first : hasty)->Get());
            QTRY_COMPARE(records[i].Finals(), 1);
        }
        QCOMPARE(records[0].Signals().last(), "text " + text);
        QVERIFY(records[1].Signals().last().startsWith("error 299 "));

        const RecordingLogger log;
        QVERIFY(patient->Get());
        QTRY_VERIFY(!log.Lines("Accepted reply from server: 429/").isEmpty());
        Kill(); // the next one knows nothing of the minute that is to pass
        Start();
        QTRY_COMPARE(records[2].Signals().value(1), "text " + text);
    }

    // The next try finds the server again, and begins anew.
    void killedWhileItSends()
    {
        const std::unique_ptr<IFileDownload> download(CreateFileDownload(&manager_, nullptr));
        download->SetUrl(Url("/slow/text.txt"));
        download->SetFileName(directory_.filePath("target"));
        download->SetRetryCount(2);
        download->SetExpectedSize(text.size());
        QSignalSpy complete(download.get(), &IFileDownload::complete);
        QSignalSpy failed(download.get(), &IFileDownload::failed);
        QSignalSpy progress(download.get(), &IFileDownload::progress);
        QVERIFY(download->Start());
        QTRY_VERIFY(progress.size() > 1);
        Kill();
        Start();
        QTRY_COMPARE_WITH_TIMEOUT(complete.size(), 1, 30'000);
        QVERIFY(failed.isEmpty());
        QCOMPARE(ContentOf(download->GetFileName()), text);
    }
};

QTEST_GUILESS_MAIN(TestNginx)
#include "tst_nginx.moc"
