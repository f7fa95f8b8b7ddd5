#include <common/http/filedownload.h>

#include "support/cases.h"
#include "support/scriptedserver.h"
#include "support/tree.h"

#include <QTemporaryDir>

#include <memory>
#include <optional>

using namespace common::http;
using loopback::Reply;
using Policy = QNetworkRequest::RedirectPolicy;

namespace {

struct RedirectCase
{
    const char* name;
    std::optional<Policy> manager;
    std::optional<Policy> request;
    bool isFollowed;
};

} // namespace

class TestRedirects : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Qt's own default differs between versions.
    void whoDecides_data()
    {
        AddCases<RedirectCase>(
            {{"nobody", {}, {}, false},
             {"request", {}, QNetworkRequest::NoLessSafeRedirectPolicy, true},
             {"manager", QNetworkRequest::SameOriginRedirectPolicy, {}, true},
             {"request against manager", QNetworkRequest::SameOriginRedirectPolicy,
              QNetworkRequest::ManualRedirectPolicy, false}});
    }

    void whoDecides()
    {
        const auto& [name, ofManager, ofRequest, isFollowed] = CurrentCase<RedirectCase>();
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
