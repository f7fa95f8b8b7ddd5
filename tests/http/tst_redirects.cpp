#include <common/http/filedownload.h>

#include "support/scriptedserver.h"
#include "support/tree.h"

#include <QtTest>

#include <memory>
#include <optional>

using namespace common::http;
using loopback::Reply;
using Policy = QNetworkRequest::RedirectPolicy;

class TestRedirects : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Qt's own default differs between versions.
    void whoDecides()
    {
        Check({}, {}, false);
        Check({}, QNetworkRequest::NoLessSafeRedirectPolicy, true);
        Check(QNetworkRequest::SameOriginRedirectPolicy, {}, true);
        Check(QNetworkRequest::SameOriginRedirectPolicy, QNetworkRequest::ManualRedirectPolicy,
              false);
    }

private:
    static void Check(std::optional<Policy> ofManager, std::optional<Policy> ofRequest,
                      bool isFollowed)
    {
        ScriptedServer server;
        Reply moved = Reply::Status(302, "Found", "moved");
        moved.headers = {{"Location", server.Url("/there").toEncoded()}};
        server.Script("/", {moved});
        server.Script("/there", {Reply::Ok("there")});
        QNetworkAccessManager manager;
        if (ofManager)
            manager.setRedirectPolicy(*ofManager);
        const std::unique_ptr<IHttpRequest> request(CreateHttpRequest(&manager, nullptr));
        const std::unique_ptr<IFileDownload> download(CreateFileDownload(&manager, nullptr));
        request->SetUrl(server.Url("/"));
        download->SetUrl(server.Url("/"));
        const QTemporaryDir directory;
        download->SetFileName(directory.filePath("file"));
        if (ofRequest) {
            request->SetRedirectPolicy(*ofRequest);
            QVERIFY(download->SetRedirectPolicy(*ofRequest));
        }

        QSignalSpy finished(request.get(), &IHttpRequest::requestFinished);
        QSignalSpy complete(download.get(), &IFileDownload::complete);
        QVERIFY(request->Get() && download->Start());
        QTRY_VERIFY(!finished.isEmpty() && !complete.isEmpty());
        const QString expected = isFollowed ? "there" : "moved";
        QCOMPARE(finished[0][0].toString(), expected);
        QCOMPARE(ContentOf(download->GetFileName()), expected.toUtf8());
    }
};

QTEST_GUILESS_MAIN(TestRedirects)
#include "tst_redirects.moc"
