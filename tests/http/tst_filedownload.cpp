#include <common/http/filedownload.h>

#include "support/recordinglogger.h"
#include "support/scriptedserver.h"
#include "support/tree.h"

#include <QtTest>

#include <memory>
#include <optional>

using namespace common::http;
using loopback::Reply;

namespace {

const QByteArray content = "0123456789";
const QString contentMd5 = "781E5E245D69B566979B86E28D23F2C7";
const QString contentSha256 = "84d89877f0d4041efb6bf91a16f0248f2fd573e6af05c19f96bedb9f882f7882";

// A download with its final signals.
struct Download : FileDownload
{
    using FileDownload::FileDownload;

    // Exactly one of them, and that soon.
    void Await()
    {
        QVERIFY(Start() || !failures.isEmpty());
        QTRY_VERIFY(completions.size() + failures.size() > 0);
        QTest::qWait(20);
        QCOMPARE(completions.size() + failures.size(), 1);
    }

    QSignalSpy completions{this, &IFileDownload::complete};
    QSignalSpy failures{this, &IFileDownload::failed};
};

} // namespace

class TestFileDownload : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<Download> NewDownload(const QString& name,
                                          QNetworkAccessManager* manager = nullptr)
    {
        auto download = std::make_unique<Download>(manager ? manager : &manager_, nullptr);
        download->SetUrl(server_.Url('/' + name));
        download->SetFileName(directory_.filePath(name));
        server_.Script('/' + name, {Reply::Ok(content)});
        return download;
    }

    ScriptedServer server_;
    QNetworkAccessManager manager_;
    QTemporaryDir directory_;

private Q_SLOTS:
    // Must be the first: it looks at the first number of the process.
    void nothingToSendWith()
    {
        const RecordingLogger log;
        const auto download = NewDownload("x");
        QCOMPARE(download->ID(), 100000ull);
        QCOMPARE(FileDownload::CreateID(), 100001ull);
        delete download->findChild<IHttpRequest*>();
        download->Await();
        QCOMPARE(download->failures[0][0].toInt(), 900100);
        download->Abort();
        QCOMPARE(log.Lines("2 http.download").size(), 2);

        auto manager = std::make_unique<QNetworkAccessManager>();
        Download orphan(manager.get(), nullptr);
        orphan.SetFileName(directory_.filePath("x"));
        manager.reset();
        orphan.Await();
        QCOMPARE(orphan.failures[0][0].toInt(), 900101);
    }

    void verification()
    {
        const QString wrong(64, '0');
        const QString bySize = "size! Expected 0 bytes, downloaded 10 bytes.";
        const QString byDigest = "checksum! Expected '%1', downloaded '%2'";
        const std::tuple<int, QString, QString, QString> rows[] = {
            {-1, "", "", ""},
            {10, contentMd5, contentSha256.toUpper(), ""},
            {-1, contentMd5.toLower(), "", ""},
            {0, contentMd5, "", bySize},
            {10, "0123", "", byDigest.arg("0123", contentMd5.toLower())},
            {-1, contentMd5, wrong, byDigest.arg(wrong, contentSha256)},
        };
        for (const auto& [size, md5, sha256, problem] : rows) {
            const RecordingLogger log;
            const auto download = NewDownload("target");
            download->SetRetryCount(1);
            download->SetExpectedSize(size);
            download->SetExpectedMD5(md5);
            QVERIFY(download->SetExpectedDigest(QCryptographicHash::Sha256, sha256));
            download->Await();
            QCOMPARE(ContentOf(download->GetFileName()), content);
            QCOMPARE(download->completions.size(), problem.isEmpty() ? 1 : 0);
            if (problem.isEmpty())
                continue;
            QCOMPARE(download->failures[0],
                     QList<QVariant>({900103, "Download verification failed!"}));
            QCOMPARE(log.Lines("3 http.download"),
                     QStringList(
                         {"3 http.download CheckDownload: Checking download failed by " + problem,
                          "3 http.download Retry: Downloading failed. No more tries."}));
            QCOMPARE(log.Lines("http.download").first(),
                     QString("7 http.download Start: Trying to start download..."));
        }
    }

    // The next try comes after a pause, from the beginning; neither after an abort nor after a start.
    void nextTry()
    {
        const auto aborted = NewDownload("aborted");
        const auto restarted = NewDownload("restarted");
        const auto damaged = NewDownload("damaged");
        damaged->SetExpectedMD5(contentMd5);
        const RecordingLogger log;
        QElapsedTimer clock;
        clock.start();
        for (Download* each : {aborted.get(), restarted.get(), damaged.get()}) {
            const Reply bad = each == damaged.get() ? Reply::Ok("a longer, damaged body")
                                                    : Reply::Status(500, "Error");
            server_.Script(each->GetUrl().path(), {bad, Reply::Ok(content)});
            each->SetRetryCount(2);
            QVERIFY(each->Start());
        }
        QTRY_COMPARE(log.Lines("7 http.download Retry: Retrying download...").size(), 3);
        aborted->Abort();
        QVERIFY(restarted->Start());
        QTRY_COMPARE_WITH_TIMEOUT(damaged->completions.size(), 1, 10000);
        QVERIFY(clock.elapsed() >= 4700);
        QCOMPARE(ContentOf(damaged->GetFileName()), content);
        QTest::qWait(500); // time for another
        QCOMPARE(server_.RequestsFor("/aborted").size(), 1);
        QCOMPARE(server_.RequestsFor("/restarted").size(), 2);
        QCOMPARE(restarted->completions.size(), 1);
    }

    void abortIsSilent()
    {
        const RecordingLogger log;
        const auto download = NewDownload("target");
        server_.Script("/target", {Drip(QByteArray(1000, 'x'), 1, 50)});
        QSignalSpy progress(download.get(), &IFileDownload::progress);
        QVERIFY(download->Start());
        QTRY_VERIFY(!progress.isEmpty());
        QCOMPARE(progress[0][1].toInt(), 1000);
        QVERIFY(!download->isRunning() && !download->Start());
        QCOMPARE(log.Lines("2 "), QStringList("2 http.download Start: Can't start download: "
                                              "request already started!"));
        download->Abort();
        QTest::qWait(300);
        QVERIFY(download->completions.isEmpty() && download->failures.isEmpty());

        server_.Script("/target", {Reply::Ok(content)});
        download->Await();
        QCOMPARE(download->completions.size(), 1);
        QVERIFY(log.Lines().contains("7 http.download PrepareFile: closing previously open file '" +
                                     download->GetFileName() + "'"));
    }

    void target()
    {
        const auto deep = NewDownload("new/deep/target");
        deep->SetPermissions(QFile::ExeOwner);
        deep->Await();
        QVERIFY(deep->failures.isEmpty());
        const auto mode = QFileInfo(deep->GetFileName()).permissions();
        QVERIFY(mode.testFlag(QFile::ExeOwner) && mode.testFlag(QFile::ReadOwner));

        const RecordingLogger log;
        for (const char* name : {"new/deep", "new/deep/target/below/file"}) {
            const auto download = NewDownload(name);
            download->Await();
            QCOMPARE(download->failures[0], QList<QVariant>({900102, "Can't prepare file!"}));
        }
        const QStringList lines = log.Lines(" PrepareFile: ");
        const QString failed = "2 http.download PrepareFile: Failed to ";
        QCOMPARE(lines.size(), 3);
        QCOMPARE(lines[0], failed + "open file '" + directory_.filePath("new") + "'!");
        QVERIFY(lines[1].startsWith("3 http.download PrepareFile: I/O error: '"));
        QCOMPARE(lines[2], failed + "create directory '" + deep->GetFileName() + "/below'!");
    }

    // However a transfer breaks: it ends once, and no download is complete with other bytes.
    void brokenTransfer()
    {
        const auto reset = [](const Reply& reply) {
            return With(reply, &Reply::ending, Reply::Reset);
        };
        const Reply tooLong = WrongLength(content, 20);
        for (const Reply& reply :
             {Reply::Dropped(), reset(Reply::Dropped()), Silent(), Cut(content, 0), Cut(content, 5),
              reset(Cut(content, 5)), reset(Cut(content, 9)), tooLong, WrongLength(content, 5),
              With(Cut(content, 5), &Reply::chunked, true),
              With(tooLong, &Reply::ending, Reply::KeepAlive)}) {
            const auto download = NewDownload("broken");
            server_.Script("/broken", {reply});
            download->SetExpectedMD5(contentMd5);
            download->SetTimeout(1);
            download->Await();
            QCOMPARE(download->failures.size(), 1);
        }
    }

    // Followed only where somebody asks for it, whatever Qt's own default is.
    void redirects()
    {
        using Policy = QNetworkRequest::RedirectPolicy;
        const auto sameOrigin = QNetworkRequest::SameOriginRedirectPolicy;
        const std::tuple<std::optional<Policy>, std::optional<Policy>, QByteArray> rows[] = {
            {{}, {}, "moved"},
            {{}, QNetworkRequest::NoLessSafeRedirectPolicy, "there"},
            {sameOrigin, {}, "there"},
            {sameOrigin, QNetworkRequest::ManualRedirectPolicy, "moved"}};
        server_.Script("/there", {Reply::Ok("there")});
        for (const auto& [ofManager, ofRequest, expected] : rows) {
            QNetworkAccessManager manager;
            if (ofManager)
                manager.setRedirectPolicy(*ofManager);
            const auto download = NewDownload("moved", &manager);
            server_.Script("/moved", {With(Reply::Status(302, "Found", "moved"), &Reply::headers,
                                           {{"Location", "/there"}})});
            if (ofRequest)
                QVERIFY(download->SetRedirectPolicy(*ofRequest));
            download->Await();
            QCOMPARE(ContentOf(download->GetFileName()), expected);
        }
    }

    // More than fits into the reply's buffer, faster than progress is reported.
    void largeFile()
    {
        const QByteArray large = QByteArray("0123456789abcdef").repeated(4 * 1024 * 1024);
        const auto download = NewDownload("target");
        server_.Script("/target", {Reply::Ok(large)});
        download->SetExpectedSize(large.size());
        QSignalSpy progress(download.get(), &IFileDownload::progress);
        qint64 largestBuffer = 0;
        QVERIFY(download->Start());
        const auto* reply = download->findChild<IHttpRequest*>()->Reply();
        QVERIFY(reply->readBufferSize() < large.size()); // for an event loop that stands still
        connect(reply, &QNetworkReply::readyRead, this,
                [&] { largestBuffer = qMax(largestBuffer, reply->bytesAvailable()); });
        QTRY_COMPARE_WITH_TIMEOUT(download->completions.size(), 1, 30000);
        QCOMPARE(largestBuffer, 0); // drained in each readyRead before anybody else sees it
        QCOMPARE(progress.last(), QList<QVariant>({large.size(), large.size()}));
        QVERIFY(ContentOf(download->GetFileName()) == large);
    }
};

QTEST_GUILESS_MAIN(TestFileDownload)
#include "tst_filedownload.moc"
