// The settings of a request: what it is told before it is sent. See httprequest.cpp for the rest.

#include "common/http/httprequest.h"

namespace common::http {

void HttpRequest::SetUrl(const QUrl& url)
{
    url_ = url;
}

QUrl HttpRequest::GetUrl() const
{
    return url_;
}

void HttpRequest::SetData(const QSharedPointer<IHttpRequestData>& data)
{
    data_ = data;
}

QSharedPointer<IHttpRequestData> HttpRequest::Data() const
{
    return data_;
}

void HttpRequest::SetRawHeader(const QString& name, const QString& value)
{
    rawHeaders_.insert(name, value);
}

QString HttpRequest::GetRawHeader(const QString& name) const
{
    return rawHeaders_.value(name);
}

void HttpRequest::SetAttribute(QNetworkRequest::Attribute attribute, const QVariant& value)
{
    attributes_.insert(attribute, value);
}

QVariant HttpRequest::GetAttribute(QNetworkRequest::Attribute attribute) const
{
    return attributes_.value(attribute);
}

void HttpRequest::SetAttemptCountOnNetworkProblem(int count)
{
    attemptCount_ = count;
}

int HttpRequest::GetAttemptCountOnNetworkProblem() const
{
    return attemptCount_;
}

int HttpRequest::GetAttemptIntervalOnNetworkProblem() const
{
    return attemptInterval_;
}

void HttpRequest::SetTimeout(int seconds)
{
    timeout_ = seconds;
}

int HttpRequest::GetTimeout() const
{
    return timeout_;
}

bool HttpRequest::IgnoreSSLErrors() const
{
    return ignoreSslErrors_;
}

void HttpRequest::SetIgnoreSSLErrors(bool ignore)
{
    ignoreSslErrors_ = ignore;
}

void HttpRequest::SetSslCertificate(const QSslCertificate& certificate, const QSslKey& key,
                                    const QList<QSslCertificate>& caCertificates)
{
    certificate_ = certificate;
    key_ = key;
    caCertificates_ = caCertificates;
}

} // namespace common::http
