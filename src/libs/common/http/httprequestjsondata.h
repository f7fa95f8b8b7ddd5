#pragma once

#include "common/http/httprequestdata.h"

namespace common::http {

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
