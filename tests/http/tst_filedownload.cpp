#include <common/http/filedownload.h>

#include "support/cases.h"
#include "support/process.h"
#include "support/recordinglogger.h"
#include "support/scriptedserver.h"
#include "support/tree.h"

#include <memory>

using namespace common::http;
using loopback::Reply;

namespace {

const QByteArray content = "0123456789";
const QString contentMd5 = "781E5E245D69B566979B86E28D23F2C7";
const QString contentSha256 = "84d89877f0d4041efb6bf91a16f0248f2fd573e6af05c19f96bedb9f882f7882";

struct VerificationCase
{
    const char* name;
    qint64 size;
    QString md5;
    QString sha256;
    QString problem = {};
};

// A download with its final signals.
struct Transfer
{
    std::unique_ptr<IFileDownload> download;
    QSignalSpy complete{download.get(), &IFileDownload::complete};
    QSignalSpy failed{download.get(), &IFileDownload::failed};

    IFileDownload* operator->() const { return download.get(); }

    // Exactly one of them, and that soon.
    void Await()
    {
        QVERIFY(download->Start() || !failed.isEmpty());
        QTRY_VERIFY(complete.size() + failed.size() > 0);
        QTest::qWait(20);
        QCOMPARE(complete.size() + failed.size(), 1);
    }
};

} // namespace

class TestFileDownload : public QObject
{
    Q_OBJECT

private:
    Transfer NewDownload(const QString& fileName = "target", const QString& path = "/file",
                         QNetworkAccessManager* manager = nullptr)
    {
        std::unique_ptr<IFileDownload> download(
            CreateFileDownload(manager ? manager : &manager_, nullptr));
        download->SetUrl(server_.Url(path));
        download->SetFileName(directory_.filePath(fileName));
        return {std::move(download)};
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

    void defaults()
    {
        const RecordingLogger log;
        Transfer download = NewDownload();
        const auto* request = download->findChild<IHttpRequest*>();
        QCOMPARE(download->GetExpectedSize(), -1);
        QCOMPARE(download->GetRetryCount(), 0u);
        QCOMPARE(request->GetTimeout(), 30);
        QVERIFY(request->IgnoreSSLErrors());
        delete request;
        download.Await();
        QCOMPARE(download.failed[0][0].toInt(), 900100);
        download->Abort();
        QCOMPARE(log.Lines("2 http.download").size(), 2);

        auto manager = std::make_unique<QNetworkAccessManager>();
        Transfer orphan = NewDownload("target", "/file", manager.get());
        manager.reset();
        orphan.Await();
        QCOMPARE(orphan.failed[0][0].toInt(), 900101);
    }

    void verification_data()
    {
        const QString bySize =
            "Checking download failed by size! Expected 0 bytes, downloaded 10 bytes.";
        const auto byDigest = [](const QString& expected, const QString& actual) {
            return "Checking download failed by checksum! Expected '" + expected +
                   "', downloaded '" + actual + "'";
        };
        const QString wrong(64, '0');
        AddCases<VerificationCase>({
            {"nothing expected", -1, "", ""},
            {"size", 10, "", ""},
            {"digests, upper case", 10, contentMd5, contentSha256.toUpper()},
            {"digest, lower case", -1, contentMd5.toLower(), ""},
            {"wrong size", 0, contentMd5, "", bySize},
            {"wrong digest", 10, "0123", "", byDigest("0123", contentMd5.toLower())},
            {"wrong SHA-256", -1, contentMd5, wrong, byDigest(wrong, contentSha256)},
        });
    }

    void verification()
    {
        const auto& row = CurrentCase<VerificationCase>();
        const RecordingLogger log;
        Transfer download = NewDownload();
        download->SetRetryCount(1);
        download->SetExpectedSize(row.size);
        download->SetExpectedMD5(row.md5);
        QVERIFY(download->SetExpectedDigest(QCryptographicHash::Sha256, row.sha256));
        download.Await();
        QCOMPARE(ContentOf(download->GetFileName()), content);
        QCOMPARE(download.complete.size(), row.problem.isEmpty() ? 1 : 0);
        if (row.problem.isEmpty())
            return;
        QCOMPARE(download.failed[0], QList<QVariant>({900103, "Download verification failed!"}));
        QCOMPARE(log.Lines("3 http.download"),
                 QStringList({"3 http.download CheckDownload: " + row.problem,
                              "3 http.download Retry: Downloading failed. No more tries."}));
        QCOMPARE(log.Lines("http.download").first(),
                 QString("7 http.download Start: Trying to start download..."));
        QVERIFY(log.Files().contains("src/libs/common/http/filedownload"));
    }

    // The next try comes after a pause, from the beginning; neither after an abort nor after a start.
    void nextTry()
    {
        server_.Script("/damaged", {Reply::Ok("a longer, damaged body"), Reply::Ok(content)});
        for (const char* path : {"/aborted", "/restarted"})
            server_.Script(path, {Reply::Status(500, "Error"), Reply::Ok(content)});
        Transfer aborted = NewDownload("aborted", "/aborted");
        Transfer restarted = NewDownload("restarted", "/restarted");
        Transfer damaged = NewDownload("damaged", "/damaged");
        damaged->SetExpectedMD5(contentMd5);
        const RecordingLogger log;
        QElapsedTimer clock;
        clock.start();
        for (Transfer* each : {&aborted, &restarted, &damaged}) {
            (*each)->SetRetryCount(2);
            QVERIFY((*each)->Start());
        }
        QTRY_COMPARE(log.Lines("7 http.download Retry: Retrying download...").size(), 3);
        aborted->Abort();
        QVERIFY(restarted->Start());
        QTRY_COMPARE_WITH_TIMEOUT(damaged.complete.size(), 1, 10000);
        QVERIFY(clock.elapsed() >= 4700);
        QCOMPARE(ContentOf(damaged->GetFileName()), content);
        QTest::qWait(500); // time for another
        QCOMPARE(server_.RequestsFor("/aborted").size(), 1);
        QCOMPARE(server_.RequestsFor("/restarted").size(), 2);
        QCOMPARE(restarted.complete.size(), 1);
    }

    void abortIsSilent()
    {
        server_.Script("/file", {Drip(QByteArray(1000, 'x'), 1, 50)});
        const RecordingLogger log;
        Transfer download = NewDownload();
        QSignalSpy progress(download.download.get(), &IFileDownload::progress);
        QVERIFY(download->Start());
        QTRY_VERIFY(!progress.isEmpty());
        QCOMPARE(progress[0][1].toInt(), 1000);
        QVERIFY(!download->isRunning());
        QVERIFY(!download->Start());
        QCOMPARE(log.Lines("2 "), QStringList("2 http.download Start: Can't start download: "
                                              "request already started!"));
        download->Abort();
        QTest::qWait(300);
        QVERIFY(download.complete.isEmpty() && download.failed.isEmpty());

        server_.Script("/file", {Reply::Ok(content)});
        download.Await();
        QCOMPARE(download.complete.size(), 1);
        QCOMPARE(log.Lines("7 http.download PrepareFile: closing previously open file '" +
                           download->GetFileName() + "'")
                     .size(),
                 1);
    }

    void target()
    {
        Transfer deep = NewDownload("new/deep/target");
        deep->SetPermissions(QFile::ExeOwner);
        deep.Await();
        QVERIFY(deep.failed.isEmpty());
        const auto mode = QFileInfo(deep->GetFileName()).permissions();
        QVERIFY(mode.testFlag(QFile::ExeOwner) && mode.testFlag(QFile::ReadOwner));

        const RecordingLogger log;
        Transfer directory = NewDownload("new/deep");
        Transfer belowFile = NewDownload("new/deep/target/below/file");
        for (Transfer* each : {&directory, &belowFile}) {
            each->Await();
            QCOMPARE(each->failed[0], QList<QVariant>({900102, "Can't prepare file!"}));
        }
        const QStringList lines = log.Lines(" PrepareFile: ");
        QCOMPARE(lines.size(), 3);
        QCOMPARE(lines[0], "2 http.download PrepareFile: Failed to open file '" +
                               directory_.filePath("new") + "'!");
        QVERIFY(lines[1].startsWith("3 http.download PrepareFile: I/O error: '"));
        QCOMPARE(lines[2], "2 http.download PrepareFile: Failed to create directory '" +
                               deep->GetFileName() + "/below'!");
    }

    // More than fits into the reply's buffer, faster than progress is reported.
    void largeFile()
    {
        const QByteArray large = QByteArray("0123456789abcdef").repeated(4 * 1024 * 1024);
        server_.Script("/file", {Reply::Ok(large)});
        Transfer download = NewDownload();
        download->SetExpectedSize(large.size());
        QSignalSpy progress(download.download.get(), &IFileDownload::progress);
        qint64 largestBuffer = 0;
        QVERIFY(download->Start());
        const auto* reply = download->findChild<IHttpRequest*>()->Reply();
        QVERIFY(reply->readBufferSize() < large.size()); // for an event loop that stands still
        connect(reply, &QNetworkReply::readyRead, this,
                [&] { largestBuffer = qMax(largestBuffer, reply->bytesAvailable()); });
        QTRY_COMPARE_WITH_TIMEOUT(download.complete.size(), 1, 30000);
        QCOMPARE(largestBuffer, 0); // drained in each readyRead before anybody else sees it
        QCOMPARE(progress.last(), QList<QVariant>({large.size(), large.size()}));
        const QByteArray sum = OutputOf("md5sum", {download->GetFileName()}).left(32);
        QCOMPARE(sum, QCryptographicHash::hash(large, QCryptographicHash::Md5).toHex());
    }
};

QTEST_GUILESS_MAIN(TestFileDownload)
#include "tst_filedownload.moc"
