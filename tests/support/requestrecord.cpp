#include "support/requestrecord.h"

#include <QRegularExpression>

using common::http::IHttpRequest;

RequestRecord::RequestRecord(IHttpRequest* request)
{
    using ErrorSignal = void (IHttpRequest::*)(int, const QString&, const QByteArray&);
    connect(request, &IHttpRequest::requestFinishedWithBinaryData, this,
            [this](const QByteArray& body) {
                signals_ << QStringLiteral("binary ") + QString::fromLatin1(body);
            });
    connect(request, &IHttpRequest::requestFinished, this,
            [this](const QString& text) { signals_ << QStringLiteral("text ") + text; });
    connect(request, static_cast<ErrorSignal>(&IHttpRequest::requestError), this,
            [this](int code, const QString& text, const QByteArray& body) {
                errorText_ = text;
                signals_ << QStringLiteral("error %1 %2").arg(code).arg(QString::fromLatin1(body));
            });
    connect(request, &IHttpRequest::proxyError, this,
            [this](int code) { signals_ << QStringLiteral("proxy %1").arg(code); });
    connect(request, &IHttpRequest::invalidOperationError, this,
            [this](int code) { signals_ << QStringLiteral("invalid %1").arg(code); });
}

int RequestRecord::Finals() const
{
    static const QRegularExpression finals(QStringLiteral("^(text|error) "));
    return signals_.filter(finals).size();
}
