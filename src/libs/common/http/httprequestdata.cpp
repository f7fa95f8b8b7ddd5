#include "common/http/httprequestdata.h"

#include <QJsonDocument>

namespace common::http {

// Out of line, so that each class has its one vtable here.
IHttpRequestData::~IHttpRequestData() = default;
IHttpRequestSimpleData::~IHttpRequestSimpleData() = default;
HttpRequestJsonData::~HttpRequestJsonData() = default;

QSharedPointer<IHttpRequestSimpleData>
IHttpRequestSimpleData::CreateJsonData(const QJsonObject& object)
{
    return QSharedPointer<IHttpRequestSimpleData>(new HttpRequestJsonData(object));
}

HttpRequestJsonData::HttpRequestJsonData(const QJsonObject& object) : object_(object)
{
}

QString HttpRequestJsonData::ContentTypeHeader() const
{
    return QStringLiteral("application/json");
}

QByteArray HttpRequestJsonData::GetBody() const
{
    return QJsonDocument(object_).toJson(QJsonDocument::Compact);
}

} // namespace common::http
