#include "common/http/httprequestmultipartformdata.h"

#include "common/logger/log.h"

#include <memory>

namespace common::http {

namespace {

constexpr logger::ICategory logCategory{"http.form.multipart"};
constexpr char logSource[] = "src/libs/common/http/httprequestmultipartformdata";

} // namespace

IHttpRequestMultiPartData::~IHttpRequestMultiPartData() = default;

QSharedPointer<IHttpRequestMultiPartData> IHttpRequestMultiPartData::CreateMultiPartFormData()
{
    return QSharedPointer<IHttpRequestMultiPartData>(new HttpRequestMultiPartFormData);
}

HttpRequestMultiPartFormData::HttpRequestMultiPartFormData() = default;
HttpRequestMultiPartFormData::~HttpRequestMultiPartFormData() = default;

QHttpMultiPart* HttpRequestMultiPartFormData::MultiPart() const
{
    auto multiPart = std::make_unique<QHttpMultiPart>(QHttpMultiPart::FormDataType);
    const auto parts = parts_;
    for (const auto& part : parts) {
        if (!part || !part->AppendTo(*multiPart)) {
            QVLOG(ERROR) << "Failed to append part to multipart";
            return nullptr;
        }
    }
    return multiPart.release();
}

void HttpRequestMultiPartFormData::AddPart(const QSharedPointer<IHttpRequestPartData>& part)
{
    parts_ << part;
}

} // namespace common::http
