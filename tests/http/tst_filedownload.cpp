#include <common/http/filedownload.h>

#include "support/process.h"
#include "support/recordinglogger.h"
#include "support/scriptedserver.h"
#include "support/tree.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using namespace common::http;
using loopback::Reply;

namespace {

const QByteArray content = "0123456789";
const char* const contentMd5 = "781E5E245D69B566979B86E28D23F2C7";
const char* const contentSha256 =
    "84d89877f0d4041efb6bf91a16f0248f2fd573e6af05c19f96bedb9f882f7882";

} // namespace

class TestFileDownload : public QObject
{
    Q_OBJECT

private:
    struct Outcome
    {
        bool completed = false;
        QList<QVariant> failure;
    };

    std::unique_ptr<IFileDownload> NewDownload(const QString& fileName = "target")
    {
        std::unique_ptr<IFileDownload> download(CreateFileDownload(&manager_, nullptr));
        download->SetUrl(server_.Url("/file"));
        download->SetFileName(directory_.filePath(fileName));
        return download;
    }

    Outcome Await(IFileDownload& download, int timeout = 5000)
    {
        QSignalSpy complete(&download, &IFileDownload::complete);
        QSignalSpy failed(&download, &IFileDownload::failed);
        download.Start();
        [&] {
            QTRY_VERIFY_WITH_TIMEOUT(complete.size() + failed.size() > 0, timeout);
        }();
        QTest::qWait(20);
        if (complete.size() + failed.size() != 1)
            qFatal("not exactly one final signal");
        return {!complete.isEmpty(), failed.value(0)};
    }

    ScriptedServer server_;
    QNetworkAccessManager manager_;
    QTemporaryDir directory_;

private Q_SLOTS:
    // Must be the first: it looks at the first number of the process.
    void ids()
    {
        QCOMPARE(NewDownload()->ID(), 100000ull);
        QCOMPARE(FileDownload::CreateID(), 100001ull);
        QCOMPARE(NewDownload()->ID(), 100002ull);
    }

    void init() { server_.Script("/file", {Reply::Ok(content)}); }

    void defaultsAndForwarding()
    {
        const auto download = NewDownload();
        auto* request = download->findChild<IHttpRequest*>();
        QCOMPARE(download->GetExpectedSize(), -1);
        QCOMPARE(download->GetRetryCount(), 0u);
        QCOMPARE(request->GetTimeout(), 30);
        QVERIFY(request->IgnoreSSLErrors());
        download->SetTimeout(7);
        QCOMPARE(request->GetTimeout(), 7);
        QCOMPARE(download->GetUrl(), request->GetUrl());

        const RecordingLogger log;
        delete request;
        QSignalSpy failed(download.get(), &IFileDownload::failed);
        QVERIFY(!download->Start());
        QCOMPARE(failed.value(0).value(0).toInt(), 900100);
        download->SetUrl(QUrl());
        download->SetTimeout(1);
        download->SetIgnoreSSLErrors(false);
        download->Abort();
        QCOMPARE(log.Lines("2 http.download").size(), 5);
        QCOMPARE(download->GetTimeout(), 30);
        QVERIFY(download->GetUrl().isEmpty() && download->IgnoreSSLErrors());
    }

    void verification_data()
    {
        QTest::addColumn<qint64>("size");
        QTest::addColumn<QString>("digest");
        QTest::addColumn<QString>("failure");
        QTest::newRow("nothing expected") << -1ll << ""
                                          << "";
        QTest::newRow("size") << 10ll << ""
                              << "";
        QTest::newRow("digest, upper case") << 10ll << contentMd5 << "";
        QTest::newRow("digest, lower case") << -1ll << QString(contentMd5).toLower() << "";
        QTest::newRow("SHA-256") << -1ll << QString(contentSha256).toUpper() << "";
        QTest::newRow("wrong SHA-256")
            << -1ll << QString(64, '0')
            << "Checking download failed by checksum! Expected '" + QString(64, '0') +
                   "', downloaded '" + contentSha256 + "'";
        QTest::newRow("wrong size")
            << 0ll << contentMd5
            << "Checking download failed by size! Expected 0 bytes, downloaded 10 bytes.";
        QTest::newRow("wrong digest")
            << 10ll << "0123"
            << "Checking download failed by checksum! Expected '0123', downloaded "
               "'781e5e245d69b566979b86e28d23f2c7'";
    }

    void verification()
    {
        QFETCH(qint64, size);
        QFETCH(QString, digest);
        QFETCH(QString, failure);
        const RecordingLogger log;
        const auto download = NewDownload();
        download->SetExpectedSize(size);
        if (digest.size() == 64)
            QVERIFY(download->SetExpectedDigest(QCryptographicHash::Sha256, digest));
        else
            download->SetExpectedMD5(digest);
        const Outcome outcome = Await(*download);
        QCOMPARE(outcome.completed, failure.isEmpty());
        QCOMPARE(ContentOf(download->GetFileName()), content);
        if (failure.isEmpty())
            return;
        QCOMPARE(outcome.failure, QList<QVariant>({900103, "Download verification failed!"}));
        QCOMPARE(log.Lines("3 http.download"),
                 QStringList({"3 http.download CheckDownload: " + failure,
                              "3 http.download Retry: Downloading failed. No more tries."}));
        QCOMPARE(log.Lines("http.download").first(),
                 QString("7 http.download Start: Trying to start download..."));
        QVERIFY(log.Files().contains("src/libs/common/http/filedownload"));
    }

    void failedTransfer_data()
    {
        QTest::addColumn<QList<Reply>>("script");
        QTest::addColumn<int>("code");
        QTest::newRow("error page") << QList<Reply>{Reply::Status(404, "Not Found", "page")} << 203;
        QTest::newRow("dropped") << QList<Reply>{Reply::Dropped()} << 2;
    }

    void failedTransfer()
    {
        QFETCH(QList<Reply>, script);
        QFETCH(int, code);
        server_.Script("/file", script);
        const auto download = NewDownload();
        download->SetRetryCount(1);
        const Outcome outcome = Await(*download);
        QVERIFY(!outcome.completed);
        QCOMPARE(outcome.failure.value(0).toInt(), code);
    }

    void secondTryStartsFromTheBeginning()
    {
        server_.Script("/file", {Reply::Ok("a longer, damaged body"), Reply::Ok(content)});
        const RecordingLogger log;
        const auto download = NewDownload();
        download->SetExpectedMD5(contentMd5);
        download->SetRetryCount(3);
        QElapsedTimer clock;
        clock.start();
        QVERIFY(Await(*download, 10000).completed);
        QVERIFY(clock.elapsed() >= 4700);
        QCOMPARE(ContentOf(download->GetFileName()), content);
        QCOMPARE(log.Lines("7 http.download Retry: Retrying download...").size(), 1);
        QCOMPARE(log.Lines("Trying to start download...").size(), 2);
    }

    // Neither an abort nor a manual start leaves the scheduled try behind.
    void scheduledTryIsCancelled()
    {
        server_.Script("/file", {Reply::Status(500, "Error"), Reply::Ok(content)});
        const auto aborted = NewDownload("aborted");
        const auto restarted = NewDownload("restarted");
        QSignalSpy complete(restarted.get(), &IFileDownload::complete);
        for (auto* download : {aborted.get(), restarted.get()}) {
            server_.Script("/file", {Reply::Status(500, "Error"), Reply::Ok(content)});
            const RecordingLogger log;
            download->SetRetryCount(9);
            QVERIFY(download->Start());
            QTRY_VERIFY(!log.Lines("Retrying download...").isEmpty());
        }
        aborted->Abort();
        QVERIFY(restarted->Start());
        QTRY_COMPARE(complete.size(), 1);
        const int hits = server_.Requests().size();
        QTest::qWait(5500);
        QCOMPARE(server_.Requests().size(), hits);
        QCOMPARE(complete.size(), 1);
    }

    void abortIsSilent()
    {
        server_.Script("/file", {Drip(QByteArray(1000, 'x'), 1, 50)});
        const RecordingLogger log;
        const auto download = NewDownload();
        QSignalSpy complete(download.get(), &IFileDownload::complete);
        QSignalSpy failed(download.get(), &IFileDownload::failed);
        QSignalSpy progress(download.get(), &IFileDownload::progress);
        QVERIFY(download->Start());
        QTRY_VERIFY(!progress.isEmpty());
        QVERIFY(!download->isRunning());
        QVERIFY(!download->Start());
        QCOMPARE(log.Lines("2 ").size(), 1);
        QVERIFY(log.Lines("2 ").first().endsWith("Can't start download: request already started!"));
        download->Abort();
        QTest::qWait(300);
        QVERIFY(complete.isEmpty() && failed.isEmpty());

        server_.Script("/file", {Reply::Ok(content)});
        QVERIFY(Await(*download).completed);
        QCOMPARE(log.Lines("7 http.download PrepareFile: closing previously open file '" +
                           download->GetFileName() + "'")
                     .size(),
                 1);
    }

    void target()
    {
        const auto deep = NewDownload("new/deep/target");
        deep->SetPermissions(QFile::ExeOwner);
        QVERIFY(Await(*deep).completed);
        QVERIFY(QFileInfo(deep->GetFileName()).isExecutable());
        QVERIFY(QFileInfo(deep->GetFileName()).permissions() & QFile::ReadOwner);

        const RecordingLogger log;
        const auto directory = NewDownload("new/deep");
        Outcome outcome = Await(*directory);
        QCOMPARE(outcome.failure, QList<QVariant>({900102, "Can't prepare file!"}));
        QCOMPARE(log.Lines(" PrepareFile: ").first(),
                 "2 http.download PrepareFile: Failed to open file '" + directory_.filePath("new") +
                     "'!");
        QVERIFY(log.Lines("3 http.download PrepareFile: I/O error: '").size() == 1);

        const auto belowFile = NewDownload("new/deep/target/below/file");
        outcome = Await(*belowFile);
        QCOMPARE(outcome.failure.value(0).toInt(), 900102);
        QCOMPARE(log.Lines(" PrepareFile: ").last(),
                 "2 http.download PrepareFile: Failed to create directory '" + deep->GetFileName() +
                     "/below'!");
    }

    // More than fits into the reply's buffer, faster than progress is reported.
    void largeFile()
    {
        const QByteArray large = QByteArray("0123456789abcdef").repeated(4 * 1024 * 1024);
        server_.Script("/file", {Reply::Ok(large)});
        const auto download = NewDownload();
        download->SetExpectedSize(large.size());
        QSignalSpy progress(download.get(), &IFileDownload::progress);
        QSignalSpy complete(download.get(), &IFileDownload::complete);
        qint64 largestBuffer = 0;
        QVERIFY(download->Start());
        const auto* reply = download->findChild<IHttpRequest*>()->Reply();
        connect(reply, &QNetworkReply::readyRead, this,
                [&] { largestBuffer = qMax(largestBuffer, reply->bytesAvailable()); });
        QTRY_COMPARE_WITH_TIMEOUT(complete.size(), 1, 30000);
        QCOMPARE(largestBuffer, 0); // drained in each readyRead before anybody else sees it
        QCOMPARE(progress.last(), QList<QVariant>({large.size(), large.size()}));
        const QByteArray sum = OutputOf("md5sum", {download->GetFileName()}).left(32);
        QCOMPARE(sum, QCryptographicHash::hash(large, QCryptographicHash::Md5).toHex());
    }
};

QTEST_GUILESS_MAIN(TestFileDownload)
#include "tst_filedownload.moc"
