#include "common/http/httprequestdatamap.h"

#include <QByteArrayList>
#include <QJsonDocument>
#include <QUrl>

namespace common::http {

IHttpRequestDataMap::~IHttpRequestDataMap() = default;

QSharedPointer<IHttpRequestDataMap> IHttpRequestDataMap::CreateJsonDataMap()
{
    return QSharedPointer<IHttpRequestDataMap>(new HttpRequestJsonDataMap);
}

QSharedPointer<IHttpRequestDataMap> IHttpRequestDataMap::CreateUrlencodedDataMap()
{
    return QSharedPointer<IHttpRequestDataMap>(new HttpRequestUrlencodedDataMap);
}

HttpRequestDataMap::HttpRequestDataMap() = default;
HttpRequestDataMap::~HttpRequestDataMap() = default;

QString HttpRequestDataMap::GetParam(const QString& name) const
{
    return params_.value(name);
}

void HttpRequestDataMap::SetParam(const QString& name, const QString& value)
{
    params_.insert(name, value);
}

void HttpRequestDataMap::RemoveParam(const QString& name)
{
    params_.remove(name);
}

HttpRequestJsonDataMap::HttpRequestJsonDataMap() = default;
HttpRequestJsonDataMap::~HttpRequestJsonDataMap() = default;

QString HttpRequestJsonDataMap::ContentTypeHeader() const
{
    return QStringLiteral("application/json");
}

QByteArray HttpRequestJsonDataMap::GetBody() const
{
    QJsonObject object;
    for (auto it = Params().cbegin(); it != Params().cend(); ++it)
        object.insert(it.key(), it.value());
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

HttpRequestUrlencodedDataMap::HttpRequestUrlencodedDataMap() = default;
HttpRequestUrlencodedDataMap::~HttpRequestUrlencodedDataMap() = default;

QString HttpRequestUrlencodedDataMap::ContentTypeHeader() const
{
    return QStringLiteral("application/x-www-form-urlencoded");
}

QByteArray HttpRequestUrlencodedDataMap::GetBody() const
{
    QByteArrayList pairs;
    for (auto it = Params().cbegin(); it != Params().cend(); ++it)
        pairs << QUrl::toPercentEncoding(it.key()) + '=' + QUrl::toPercentEncoding(it.value());
    return pairs.join('&');
}

} // namespace common::http
