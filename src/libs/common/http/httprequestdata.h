#pragma once

#include "common/qvcommon_export.h"

#include <QByteArray>
#include <QJsonObject>
#include <QObject>
#include <QSharedPointer>
#include <QString>

namespace common::http {

/**
 * The root of every request body (see IHttpRequest::SetData()).
 *
 * Bodies come from the factory functions of the interfaces, which return them in a QSharedPointer;
 * the last pointer frees the body, so never delete one or give it a QObject parent. A body may be
 * changed after it was given to a request: it is serialised anew at each send. Use it on the
 * request's thread.
 */
class QVCOMMON_EXPORT IHttpRequestData : public QObject
{
public:
    ~IHttpRequestData() override;
};

/**
 * A body that is one byte string with one content type.
 *
 * @code
 * request->SetData(common::http::IHttpRequestSimpleData::CreateJsonData(object));
 * request->Post();
 * @endcode
 */
class QVCOMMON_EXPORT IHttpRequestSimpleData : public IHttpRequestData
{
public:
    ~IHttpRequestSimpleData() override;

    /** A body that is @p object (copied) as compact JSON (RFC 8259), "application/json". */
    static QSharedPointer<IHttpRequestSimpleData> CreateJsonData(const QJsonObject& object);

    /** The value of the request's Content-Type header. */
    virtual QString ContentTypeHeader() const = 0;
    /** The serialised body. */
    virtual QByteArray GetBody() const = 0;
};

/** One JSON object given whole; made by IHttpRequestSimpleData::CreateJsonData(). */
class QVCOMMON_EXPORT HttpRequestJsonData : public IHttpRequestSimpleData
{
public:
    /** The object is copied. */
    explicit HttpRequestJsonData(const QJsonObject& object);
    ~HttpRequestJsonData() override;

    QString ContentTypeHeader() const override;
    QByteArray GetBody() const override;

private:
    QJsonObject object_;
};

} // namespace common::http
