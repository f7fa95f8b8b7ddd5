#include "common/http/httprequestjsondata.h"

#include <QJsonDocument>

namespace common::http {

QSharedPointer<IHttpRequestSimpleData>
IHttpRequestSimpleData::CreateJsonData(const QJsonObject& object)
{
    return QSharedPointer<IHttpRequestSimpleData>(new HttpRequestJsonData(object));
}

HttpRequestJsonData::HttpRequestJsonData(const QJsonObject& object) : object_(object)
{
}

HttpRequestJsonData::~HttpRequestJsonData() = default;

QString HttpRequestJsonData::ContentTypeHeader() const
{
    return QStringLiteral("application/json");
}

QByteArray HttpRequestJsonData::GetBody() const
{
    return QJsonDocument(object_).toJson(QJsonDocument::Compact);
}

} // namespace common::http
