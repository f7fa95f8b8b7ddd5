#include "common/http/networkerror_p.h"

#include <QHash>
#include <QNetworkReply>

namespace common::http {

const char* NetworkErrorName(int code)
{
    // Not Qt's meta-enumeration: the names are part of the log format, and Qt adds its own.
    static const QHash<int, const char*> names = {
        {1, "ConnectionRefusedError"},
        {2, "RemoteHostClosedError"},
        {3, "HostNotFoundError"},
        {4, "TimeoutError"},
        {5, "OperationCanceledError"},
        {6, "SslHandshakeFailedError"},
        {7, "TemporaryNetworkFailureError"},
        {8, "NetworkSessionFailedError"},
        {9, "BackgroundRequestNotAllowedError"},
        {10, "TooManyRedirectsError"},
        {11, "InsecureRedirectError"},
        {99, "UnknownNetworkError"},
        {101, "ProxyConnectionRefusedError"},
        {102, "ProxyConnectionClosedError"},
        {103, "ProxyNotFoundError"},
        {104, "ProxyTimeoutError"},
        {105, "ProxyAuthenticationRequiredError"},
        {199, "UnknownProxyError"},
        {201, "ContentAccessDenied"},
        {202, "ContentOperationNotPermittedError"},
        {203, "ContentNotFoundError"},
        {204, "AuthenticationRequiredError"},
        {205, "ContentReSendError"},
        {206, "ContentConflictError"},
        {207, "ContentGoneError"},
        {299, "UnknownContentError"},
        {301, "ProtocolUnknownError"},
        {302, "ProtocolInvalidOperationError"},
        {399, "ProtocolFailure"},
        {401, "InternalServerError"},
        {402, "OperationNotImplementedError"},
        {403, "ServiceUnavailableError"},
        {499, "UnknownServerError"},
    };
    return names.value(code, "UnknownError");
}

int ErrorOfStatus(int status)
{
    static const QHash<int, int> codes = {{400, 302}, {401, 204}, {403, 201}, {404, 203},
                                          {405, 202}, {407, 105}, {409, 206}, {410, 207},
                                          {418, 302}, {500, 401}, {501, 402}, {503, 403}};
    return codes.value(status, status < 500 ? QNetworkReply::UnknownContentError
                                            : QNetworkReply::UnknownServerError);
}

bool IsNetworkProblem(int code)
{
    return (code > QNetworkReply::NoError &&
            code <= QNetworkReply::BackgroundRequestNotAllowedError) ||
           code == QNetworkReply::UnknownNetworkError;
}

bool IsProxyProblem(int code)
{
    return (code >= QNetworkReply::ProxyConnectionRefusedError &&
            code <= QNetworkReply::ProxyAuthenticationRequiredError) ||
           code == QNetworkReply::UnknownProxyError;
}

} // namespace common::http
