// The steps of the demo that talk to its server. See demo.cpp for the rest.

#include "demo.h"

#include "text.h"

#include <common/http/filedownload.h>
#include <common/http/httprequestdatamap.h>
#include <common/http/httprequestmultipartformdata.h>
#include <common/tools/string/converter.h>

#include <QEventLoop>
#include <QFile>

namespace qvtool {

using namespace common::http;

IHttpRequest* Demo::NewRequest(const QString& path)
{
    IHttpRequest* request = CreateHttpRequest(&manager_, this);
    request->SetUrl(server_->Url(path));
    request->SetTimeout(5);
    return request;
}

Demo::Outcome Demo::Await(IHttpRequest* request, IHttpRequest::HTTPRequestMethod method)
{
    using ErrorSignal = void (IHttpRequest::*)(int, const QString&, const QByteArray&);
    Outcome outcome;
    QEventLoop loop;
    connect(request, &IHttpRequest::requestFinishedWithBinaryData, &loop,
            [&](const QByteArray& body) {
                outcome.success = true;
                outcome.body = body;
                loop.quit();
            });
    connect(request, static_cast<ErrorSignal>(&IHttpRequest::requestError), &loop,
            [&](int code, const QString& message) {
                Say(QStringLiteral("error %1: %2").arg(QString::number(code), message));
                loop.quit();
            });
    if (request->Send(method))
        loop.exec();
    request->deleteLater();
    return outcome;
}

bool Demo::GetWithForm()
{
    const auto form = IHttpRequestDataMap::CreateUrlencodedDataMap();
    form->SetParam(QStringLiteral("name"), QStringLiteral("Zoë & Co"));
    form->SetParam(QStringLiteral("line"), QStringLiteral("2"));
    IHttpRequest* request = NewRequest(QStringLiteral("/query"));
    request->SetData(form);

    const Outcome outcome = Await(request, IHttpRequest::GET);
    Say(QStringLiteral("the server got the query %1").arg(QString::fromUtf8(outcome.body)));
    return outcome.success && outcome.body == "line=2&name=Zo%C3%AB%20%26%20Co";
}

bool Demo::PostJson()
{
    IHttpRequest* request = NewRequest(QStringLiteral("/echo"));
    request->SetData(IHttpRequestSimpleData::CreateJsonData(
        {{QStringLiteral("caller"), QStringLiteral("Zoë")}, {QStringLiteral("line"), 2}}));

    const Outcome outcome = Await(request, IHttpRequest::POST);
    Say(QStringLiteral("echoed: %1").arg(QString::fromUtf8(outcome.body)));
    return outcome.success && outcome.body == R"({"caller":"Zoë","line":2})";
}

bool Demo::PostMultiPart()
{
    const QByteArray content = file_.left(100000);
    QFile file(directory_->filePath(QStringLiteral("photo.png")));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        return false;
    file.close();

    const auto body = IHttpRequestMultiPartData::CreateMultiPartFormData();
    body->AddPart(IHttpRequestPartData::CreateTextPartFormData(QStringLiteral("comment"),
                                                               QStringLiteral("from the demo")));
    body->AddPart(
        IHttpRequestPartData::CreateFilePartFormData(QStringLiteral("file"), file.fileName()));
    IHttpRequest* request = NewRequest(QStringLiteral("/echo"));
    request->SetData(body);

    const Outcome outcome = Await(request, IHttpRequest::POST);
    Say(QStringLiteral("echoed: %1 bytes, a text and a file of %2 bytes among them")
            .arg(QString::number(outcome.body.size()), QString::number(content.size())));
    return outcome.success && outcome.body.contains("\r\n\r\nfrom the demo\r\n") &&
           outcome.body.contains(R"(form-data; name="file"; filename="photo.png")") &&
           outcome.body.contains("\r\n\r\n" + content + "\r\n");
}

bool Demo::GetCompressed()
{
    IHttpRequest* request = NewRequest(QStringLiteral("/gzip"));
    qint64 onTheWire = 0;
    connect(request, &IHttpRequest::downloadProgress, this,
            [&](qint64 received, qint64) { onTheWire = received; });

    const Outcome outcome = Await(request, IHttpRequest::GET);
    Say(QStringLiteral("%1 bytes came over the wire, decoded %2")
            .arg(QString::number(onTheWire), QString::number(outcome.body.size())));
    return outcome.success && outcome.body == DemoServer::LongText();
}

bool Demo::SurviveDroppedConnection()
{
    IHttpRequest* request = NewRequest(QStringLiteral("/flaky"));
    request->SetAttemptCountOnNetworkProblem(3);
    request->SetAttemptIntervalOnNetworkProblem(1);

    const Outcome outcome = Await(request, IHttpRequest::GET);
    Say(QStringLiteral("sent again after a second: \"%1\"").arg(QString::fromUtf8(outcome.body)));
    return outcome.success && outcome.body == "here at last" && server_->Hits("/flaky") > 1;
}

bool Demo::DownloadVerified()
{
    const QString target = directory_->filePath(QStringLiteral("downloads/update.bin"));
    const QString md5 = tools::string::converter::ToMD5(file_);
    QEventLoop loop;
    bool completed = false;

    IFileDownload* download = CreateFileDownload(&manager_, this);
    download->SetUrl(server_->Url(QStringLiteral("/file")));
    download->SetFileName(target);
    download->SetExpectedSize(file_.size());
    download->SetExpectedMD5(md5);
    download->SetRetryCount(2);
    connect(download, &IFileDownload::progress, &loop, [&](qint64 received, qint64 total) {
        progress_.Update(received, total);
        if (received == total)
            progress_.Finish();
    });
    progress_.Start();
    connect(download, &IFileDownload::failed, &loop, &QEventLoop::quit);
    connect(download, &IFileDownload::complete, &loop, [&] {
        completed = true;
        loop.quit();
    });
    if (download->Start())
        loop.exec();
    download->deleteLater();

    if (completed)
        Say(QStringLiteral("%1 bytes, MD5 %2, as announced")
                .arg(QString::number(QFile(target).size()), md5));
    return completed && server_->Hits("/file") == 2;
}

} // namespace qvtool
