#include <common/http/filedownload.h>
#include <common/http/httprequestmultipartformdata.h>

#include "support/cases.h"
#include "support/recordinglogger.h"
#include "support/requestrecord.h"
#include "support/scriptedserver.h"
#include "support/tree.h"

using namespace common::http;
using loopback::Reply;

namespace {

const QByteArray content = QByteArray("0123456789").repeated(100);

// Of a body that ends early the network layer makes a success now and then.
enum End { Failure, Success, Either };

struct FaultCase
{
    const char* name;
    Reply reply;
    End end;
    End downloadEnd; // that one is verified
    int timeout = 60;
};

int OpenFiles()
{
    return QDir("/proc/self/fd").entryList(QDir::AllEntries | QDir::System).size();
}

} // namespace

// However an exchange goes wrong: it ends once, with the right bytes or none, and leaves nothing.
class TestHttpFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyFault_data()
    {
        const int size = content.size();
        const Reply tooLong = WrongLength(content, size + 10);
        const Reply cutChunks = With(Chunked(content), &Reply::cutAfter, size / 2);
        const auto reset = [](const Reply& reply) {
            return With(reply, &Reply::ending, Reply::Reset);
        };
        AddCases<FaultCase>({
            // Also for what is opened once and for all.
            {"none", Reply::Ok(content), Success, Success},
            {"closed at once", Reply::Dropped(), Failure, Failure},
            {"reset at once", reset(Reply::Dropped()), Failure, Failure},
            {"silence", Silent(), Failure, Failure, 1},
            {"closed before the body", Cut(content, 0), Either, Failure},
            {"closed in mid-body", Cut(content, size / 2), Either, Failure},
            {"reset in mid-body", reset(Cut(content, size / 2)), Either, Failure},
            {"reset before the last byte", reset(Cut(content, size - 1)), Either, Failure},
            {"closed amid the chunks", cutChunks, Either, Failure},
            {"silence after the body", With(tooLong, &Reply::ending, Reply::KeepAlive), Failure,
             Failure, 1},
            {"too long", tooLong, Either, Failure},
            {"too short", WrongLength(content, size - 10), Success, Failure},
            {"trickle", Drip(content, 50, 2), Success, Success},
            {"no gzip", Gzip(content), Success, Success},
        });
    }

    void everyFault()
    {
        const auto& row = CurrentCase<FaultCase>();
        const RecordingLogger quiet;
        const int openFiles = OpenFiles();
        Exchange(row);
        QTRY_VERIFY(OpenFiles() <= openFiles || QString(row.name) == "none");
    }

private:
    static void Exchange(const FaultCase& row)
    {
        ScriptedServer server;
        server.Script("/x", {row.reply});
        QNetworkAccessManager manager;
        const QTemporaryDir directory;
        HttpRequest request(&manager, nullptr);
        request.SetUrl(server.Url("/x"));
        request.SetTimeout(row.timeout);
        const auto parts = IHttpRequestMultiPartData::CreateMultiPartFormData();
        parts->AddPart(IHttpRequestPartData::CreateFilePartFormData(
            "file", QCoreApplication::applicationFilePath()));
        request.SetData(parts);
        const RequestRecord record(&request);
        FileDownload download(&manager, nullptr);
        download.SetUrl(server.Url("/x"));
        download.SetFileName(directory.filePath("target"));
        download.SetTimeout(row.timeout);
        download.SetExpectedMD5(QCryptographicHash::hash(content, QCryptographicHash::Md5).toHex());
        QSignalSpy complete(&download, &IFileDownload::complete);
        QSignalSpy failed(&download, &IFileDownload::failed);

        QVERIFY(request.Post() && download.Start());
        QTRY_VERIFY(record.Finals() && complete.size() + failed.size());
        QTest::qWait(50); // time for a second end
        QCOMPARE(record.Finals(), 1);
        const QString& first = record.Signals().first();
        const bool isSuccess = first.startsWith("binary");
        QVERIFY(row.end == Either || row.end == (isSuccess ? Success : Failure));
        QVERIFY(!isSuccess || QString("binary " + content).startsWith(first));
        QCOMPARE(complete.size(), row.downloadEnd == Success ? 1 : 0);
        QCOMPARE(failed.size(), row.downloadEnd == Success ? 0 : 1);
        QVERIFY(complete.isEmpty() || ContentOf(download.GetFileName()) == content);
    }
};

QTEST_GUILESS_MAIN(TestHttpFaults)
#include "tst_httpfaults.moc"
