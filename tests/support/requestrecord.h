#pragma once

#include <common/http/httprequest.h>

#include <QStringList>

/** Notes the outcome signals of a request in their order. */
class RequestRecord : public QObject
{
    Q_OBJECT

public:
    explicit RequestRecord(common::http::IHttpRequest* request);

    /** As "binary BODY", "text TEXT", "error CODE BODY", "proxy CODE" and "invalid CODE". */
    const QStringList& Signals() const { return signals_; }
    /** How many final signals came: requestFinished or requestError. */
    int Finals() const;
    /** The text that came with the last error. */
    const QString& ErrorText() const { return errorText_; }

private:
    QStringList signals_;
    QString errorText_;
};
