#pragma once

#include "common/http/httprequestdata.h"

#include <QMap>

namespace common::http {

/**
 * A body built from name/value pairs.
 *
 * @code
 * auto form = common::http::IHttpRequestDataMap::CreateUrlencodedDataMap();
 * form->SetParam("name", "Jane Roe");
 * request->SetData(form);
 * request->Get(); // ...?name=Jane%20Roe
 * @endcode
 *
 * A GET appends them to its URL after a "?". If the URL has a fragment ("#..."), they are lost.
 *
 * Names are unique and case-sensitive. Every serialisation lists the pairs in ascending order of
 * their names (by UTF-16 code units).
 */
class QVCOMMON_EXPORT IHttpRequestDataMap : public IHttpRequestSimpleData
{
public:
    ~IHttpRequestDataMap() override;

    /** An empty map that is sent as one JSON object, all of whose values are strings. */
    static QSharedPointer<IHttpRequestDataMap> CreateJsonDataMap();
    /** An empty map that is sent URL-encoded: in the body of a POST, in the query of a GET. */
    static QSharedPointer<IHttpRequestDataMap> CreateUrlencodedDataMap();

    /** The value of @p name, or a null string if there is none. */
    virtual QString GetParam(const QString& name) const = 0;
    /** Adds the pair, or replaces the value of a name that is present. */
    virtual void SetParam(const QString& name, const QString& value) = 0;
    /** Removes the pair; a name that is absent changes nothing. */
    virtual void RemoveParam(const QString& name) = 0;
};

/** Holds the pairs; subclasses serialise them. */
class QVCOMMON_EXPORT HttpRequestDataMap : public IHttpRequestDataMap
{
public:
    HttpRequestDataMap();
    ~HttpRequestDataMap() override;

    QString GetParam(const QString& name) const override;
    void SetParam(const QString& name, const QString& value) override;
    void RemoveParam(const QString& name) override;

protected:
    /** All pairs, in ascending order of their names. */
    const QMap<QString, QString>& Params() const { return params_; }

private:
    QMap<QString, QString> params_;
};

/** The pairs as one compact JSON object, "application/json"; an empty map is "{}". */
class QVCOMMON_EXPORT HttpRequestJsonDataMap : public HttpRequestDataMap
{
public:
    HttpRequestJsonDataMap();
    ~HttpRequestJsonDataMap() override;

    QString ContentTypeHeader() const override;
    QByteArray GetBody() const override;
};

/**
 * The pairs as "application/x-www-form-urlencoded" text: UTF-8, everything but the unreserved
 * characters of RFC 3986 percent-encoded (a space is %20, never "+"), joined with "&".
 */
class QVCOMMON_EXPORT HttpRequestUrlencodedDataMap : public HttpRequestDataMap
{
public:
    HttpRequestUrlencodedDataMap();
    ~HttpRequestUrlencodedDataMap() override;

    QString ContentTypeHeader() const override;
    QByteArray GetBody() const override;
};

} // namespace common::http
