#include "common/http/httprequestpartformdata.h"

#include "common/logger/log.h"

#include <QFile>
#include <QFileInfo>
#include <QHttpPart>

#include <memory>

namespace common::http {

namespace {

constexpr logger::ICategory logCategory{"http.form.part"};
constexpr char logSource[] = "src/libs/common/http/httprequestpartformdata";

} // namespace

IHttpRequestPartData::~IHttpRequestPartData() = default;

QSharedPointer<IHttpRequestPartData>
IHttpRequestPartData::CreateFilePartFormData(const QString& name, const QString& filePath)
{
    return QSharedPointer<IHttpRequestPartData>(new HttpRequestFilePartFormData(name, filePath));
}

QSharedPointer<IHttpRequestPartData>
IHttpRequestPartData::CreateTextPartFormData(const QString& name, const QString& text)
{
    return QSharedPointer<IHttpRequestPartData>(new HttpRequestTextPartFormData(name, text));
}

HttpRequestPartFormData::HttpRequestPartFormData(const QString& name, const QString& value)
    : name_(name), value_(value)
{
}

HttpRequestPartFormData::~HttpRequestPartFormData() = default;

HttpRequestFilePartFormData::HttpRequestFilePartFormData(const QString& name,
                                                         const QString& filePath)
    : HttpRequestPartFormData(name, filePath)
{
}

HttpRequestFilePartFormData::~HttpRequestFilePartFormData() = default;

bool HttpRequestFilePartFormData::AppendTo(QHttpMultiPart& multiPart) const
{
    auto file = std::make_unique<QFile>(Value());
    if (!file->open(QIODevice::ReadOnly)) {
        QVLOG(ERROR) << QStringLiteral("Failed to open file '%1'").arg(Value());
        return false;
    }

    QHttpPart part;
    part.setHeader(QNetworkRequest::ContentDispositionHeader, ContentDispositionHeader());
    part.setBodyDevice(file.get());
    file.release()->setParent(&multiPart);
    multiPart.append(part);
    return true;
}

QString HttpRequestFilePartFormData::ContentDispositionHeader() const
{
    return QLatin1String("form-data; name=\"") + Name() + QLatin1String("\"; filename=\"") +
           QFileInfo(Value()).fileName() + QLatin1Char('"');
}

HttpRequestTextPartFormData::HttpRequestTextPartFormData(const QString& name, const QString& text)
    : HttpRequestPartFormData(name, text)
{
}

HttpRequestTextPartFormData::~HttpRequestTextPartFormData() = default;

bool HttpRequestTextPartFormData::AppendTo(QHttpMultiPart& multiPart) const
{
    QHttpPart part;
    part.setHeader(QNetworkRequest::ContentTypeHeader, ContentTypeHeader());
    part.setHeader(QNetworkRequest::ContentDispositionHeader, ContentDispositionHeader());
    part.setBody(GetBody());
    multiPart.append(part);
    return true;
}

QString HttpRequestTextPartFormData::ContentDispositionHeader() const
{
    return QLatin1String("form-data; name=\"") + Name() + QLatin1Char('"');
}

QString HttpRequestTextPartFormData::ContentTypeHeader() const
{
    return QStringLiteral("text/plain; charset=UTF-8");
}

QByteArray HttpRequestTextPartFormData::GetBody() const
{
    return Value().toUtf8();
}

} // namespace common::http
