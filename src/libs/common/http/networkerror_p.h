#pragma once

namespace common::http {

/** The name of a QNetworkReply::NetworkError code for the log, "UnknownError" for any other. */
const char* NetworkErrorName(int code);

/** Whether a request that ended with this code may succeed when it is sent again. */
bool IsNetworkProblem(int code);

/** The code that Qt gives an HTTP error status. */
int ErrorOfStatus(int status);

/** Whether the proxy is to blame. */
bool IsProxyProblem(int code);

} // namespace common::http
