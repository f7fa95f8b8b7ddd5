#include "client.h"

#include <common/http/filedownload.h>
#include <common/http/httprequest.h>
#include <common/http/httprequestdatamap.h>
#include <common/http/httprequestmultipartformdata.h>

#include <QNetworkProxy>

using common::http::CreateHttpRequest;

void Client::AskStatus()
{
    //! [request]
    using common::http::IHttpRequest;
    IHttpRequest* request = common::http::CreateHttpRequest(&manager, this);
    request->SetUrl(QUrl("https://service.test/status"));
    request->SetTimeout(30);
    request->SetAttemptCountOnNetworkProblem(3);
    connect(request, &IHttpRequest::requestFinished, this, &Client::ShowStatus);
    connect(request, &IHttpRequest::requestError, this, &Client::ShowError);
    if (!request->Get())
        ShowProblem("The status cannot be asked for.");
    //! [request]
}

void Client::SendForm()
{
    common::http::IHttpRequest* request = CreateHttpRequest(&manager, this);
    //! [form]
    auto form = common::http::IHttpRequestDataMap::CreateUrlencodedDataMap();
    form->SetParam("name", "Jane Roe");
    request->SetData(form);
    request->Get(); // ...?name=Jane%20Roe
    //! [form]
}

void Client::SendJson(const QJsonObject& object)
{
    common::http::IHttpRequest* request = CreateHttpRequest(&manager, this);
    //! [json]
    request->SetData(common::http::IHttpRequestSimpleData::CreateJsonData(object));
    request->Post();
    //! [json]
}

void Client::SendFile(const QString& path)
{
    common::http::IHttpRequest* request = CreateHttpRequest(&manager, this);
    //! [multipart]
    auto body = common::http::IHttpRequestMultiPartData::CreateMultiPartFormData();
    body->AddPart(common::http::IHttpRequestPartData::CreateTextPartFormData("comment", "holiday"));
    body->AddPart(common::http::IHttpRequestPartData::CreateFilePartFormData("file", path));
    request->SetData(body);
    request->Post();
    //! [multipart]
}

void Client::Trust(const QString& ca)
{
    common::http::IHttpRequest* request = CreateHttpRequest(&manager, this);
    //! [verification]
    request->SetPeerVerification(true);
    //! [verification]
    //! [authorities]
    const QList<QSslCertificate> authorities = QSslCertificate::fromPath(ca); // a PEM file
    if (authorities.isEmpty())
        return ShowProblem("The CA certificates cannot be read.");
    request->SetPeerVerification(true, authorities);
    //! [authorities]
    //! [proxy]
    manager.setProxy(QNetworkProxy(QNetworkProxy::HttpProxy, "proxy.test", 3128));
    //! [proxy]
}

void Client::Download(const QString& cache, const QString& digest)
{
    //! [download]
    using common::http::IFileDownload;
    IFileDownload* download = common::http::CreateFileDownload(&manager, this);
    download->SetUrl(QUrl("https://service.test/sounds.zip"));
    download->SetFileName(cache + "/sounds.zip.part"); // UseDownload() renames it
    download->SetExpectedSize(48213004);
    download->SetExpectedDigest(QCryptographicHash::Sha256, digest);
    download->SetRetryCount(3);
    connect(download, &IFileDownload::progress, this, &Client::ShowBytes);
    connect(download, &IFileDownload::complete, this, &Client::UseDownload);
    connect(download, &IFileDownload::failed, this, &Client::ShowError);
    download->Start();
    //! [download]
}
