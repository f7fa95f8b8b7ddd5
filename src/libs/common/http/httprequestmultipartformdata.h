#pragma once

#include "common/http/httprequestdata.h"
#include "common/http/httprequestpartformdata.h"

#include <QHttpMultiPart>
#include <QList>
#include <QPointer>

namespace common::http {

/**
 * A multipart/form-data body (RFC 7578).
 *
 * @code
 * auto body = common::http::IHttpRequestMultiPartData::CreateMultiPartFormData();
 * body->AddPart(common::http::IHttpRequestPartData::CreateTextPartFormData("comment", "holiday"));
 * body->AddPart(common::http::IHttpRequestPartData::CreateFilePartFormData("file", path));
 * request->SetData(body);
 * request->Post();
 * @endcode
 */
class QVCOMMON_EXPORT IHttpRequestMultiPartData : public IHttpRequestData
{
public:
    ~IHttpRequestMultiPartData() override;

    /** A body without parts. */
    static QSharedPointer<IHttpRequestMultiPartData> CreateMultiPartFormData();

    /**
     * Builds the body afresh, opening the files of its parts.
     *
     * @return a new object owned by the caller; null if a part failed (logged). Without parts it
     *         is an empty multipart, not null.
     */
    virtual QHttpMultiPart* MultiPart() const = 0;
    /** Adds a part behind those that are there. */
    virtual void AddPart(const QSharedPointer<IHttpRequestPartData>& part) = 0;
};

/** An ordered list of parts. */
class QVCOMMON_EXPORT HttpRequestMultiPartFormData : public IHttpRequestMultiPartData
{
public:
    HttpRequestMultiPartFormData();
    ~HttpRequestMultiPartFormData() override;

    QHttpMultiPart* MultiPart() const override;
    void AddPart(const QSharedPointer<IHttpRequestPartData>& part) override;

private:
    QPointer<QHttpMultiPart> multiPart_; // unused, holds its place in the layout
    QList<QSharedPointer<IHttpRequestPartData>> parts_;
};

} // namespace common::http
