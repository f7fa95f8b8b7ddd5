#pragma once

#include <common/http/httprequest.h>

#include <QRegularExpression>

/** Notes the outcome signals of a request in their order. */
class RequestRecord : public QObject
{
public:
    explicit RequestRecord(const common::http::IHttpRequest* request)
    {
        using common::http::IHttpRequest;
        connect(request, &IHttpRequest::requestFinishedWithBinaryData, this,
                [this](const QByteArray& body) { Note("binary", QString::fromLatin1(body)); });
        connect(request, &IHttpRequest::requestFinished, this,
                [this](const QString& text) { Note("text", text); });
        connect(request, &IHttpRequest::requestError, this,
                [this](int code, const QString& text, const QByteArray& body) {
                    errorText_ = text;
                    Note("error " + QString::number(code), QString::fromLatin1(body));
                });
        connect(request, &IHttpRequest::proxyError, this,
                [this](int code) { Note("proxy", QString::number(code)); });
        connect(request, &IHttpRequest::invalidOperationError, this,
                [this](int code) { Note("invalid", QString::number(code)); });
    }

    /** As "binary BODY", "text TEXT", "error CODE BODY", "proxy CODE" and "invalid CODE". */
    const QStringList& Signals() const { return signals_; }
    /** How many final signals came: requestFinished or requestError. */
    int Finals() const { return signals_.filter(QRegularExpression("^(text|error) ")).size(); }
    /** The text that came with the last error. */
    const QString& ErrorText() const { return errorText_; }

private:
    void Note(const QString& kind, const QString& rest) { signals_ << kind + ' ' + rest; }

    QStringList signals_;
    QString errorText_;
};
