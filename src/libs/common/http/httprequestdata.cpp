#include "common/http/httprequestdata.h"

namespace common::http {

// Out of line, so that each class has its one vtable here.
IHttpRequestData::~IHttpRequestData() = default;
IHttpRequestSimpleData::~IHttpRequestSimpleData() = default;

} // namespace common::http
