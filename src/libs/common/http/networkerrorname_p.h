#pragma once

namespace common::http {

/** The name of a QNetworkReply::NetworkError code for the log, "UnknownError" for any other. */
const char* NetworkErrorName(int code);

} // namespace common::http
