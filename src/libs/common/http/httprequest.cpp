#include "common/http/httprequest.h"

#include "common/http/httprequestdatamap.h"
#include "common/http/httprequestmultipartformdata.h"
#include "common/http/networkerror_p.h"
#include "common/http/peertrust_p.h"
#include "common/http/requeststate_p.h"
#include "common/logger/log.h"
#include "common/tools/gunzip_p.h"

#include <QCoreApplication>
#include <QSslConfiguration>

#include <limits>
#include <memory>
#include <utility>

namespace common::http {

namespace {

constexpr logger::ICategory logCategory{"http.request"};
constexpr char logSource[] = "src/libs/common/http/httprequest";

constexpr int defaultAttemptCount = 1;
constexpr int defaultAttemptInterval = 20;
constexpr char finishedSlot[] = "OnRequestFinished";
constexpr int success = 200;
constexpr int badRequest = 400;      // RFC 9110, section 15: the first error status
constexpr int tooManyRequests = 429; // RFC 6585, section 4

const auto acceptEncoding = QStringLiteral("Accept-Encoding");

// A timer with a negative interval would be active but never fire.
int Milliseconds(int seconds)
{
    return qBound(0, seconds, std::numeric_limits<int>::max() / 1000) * 1000;
}

int HttpStatus(const QNetworkReply& reply)
{
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

// Whether redirects are followed if nobody has decided about it: in Qt 6 they would be.
bool FollowsUnasked(const QNetworkAccessManager& manager)
{
    static const auto unasked = QNetworkAccessManager().redirectPolicy();
    return unasked != QNetworkRequest::ManualRedirectPolicy && manager.redirectPolicy() == unasked;
}

QString HttpReason(const QNetworkReply& reply)
{
    return reply.attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString();
}

} // namespace

// What a reply amounts to.
struct HttpRequest::Outcome
{
    int code;
    QString text;
    QByteArray body;
};

#define REQUEST_LOG(priority) QVLOG(priority) << LogPrefix()
#define REQUEST_LOG_FROM(function, priority) QVLOG_FROM(function, priority) << LogPrefix()

IHttpRequest::~IHttpRequest() = default;

bool IHttpRequest::SetMaxReplySize(qint64 bytes)
{
    RequestState* state = RequestState::Of(*this);
    if (state)
        state->maxReplySize = bytes > 0 ? qMin(bytes, state->maxSize) : state->maxSize;
    return state != nullptr;
}

bool IHttpRequest::SetPeerVerification(bool verify, const QList<QSslCertificate>& authorities)
{
    RequestState* state = RequestState::Of(*this);
    if (!state)
        return false;
    state->verifiesPeer = verify;
    state->authorities = authorities;
    return true;
}

void IHttpRequest::SetRedirectPolicy(QNetworkRequest::RedirectPolicy policy)
{
    SetAttribute(QNetworkRequest::RedirectPolicyAttribute, policy);
}

IHttpRequest* CreateHttpRequest(QNetworkAccessManager* manager, QObject* parent)
{
    return new HttpRequest(manager, parent);
}

HttpRequest::HttpRequest(QNetworkAccessManager* manager, QObject* parent)
    : IHttpRequest(parent), manager_(manager), resendTimer_(new QTimer(this))
{
    new RequestState(this);
    SetAttemptCountOnNetworkProblem(defaultAttemptCount);
    SetAttemptIntervalOnNetworkProblem(defaultAttemptInterval);
    resendTimer_->setSingleShot(true);
    connect(resendTimer_, &QTimer::timeout, this, &HttpRequest::Resend);
}

HttpRequest::~HttpRequest()
{
    Abort();
    ReleaseReply();
}

RequestState& HttpRequest::State() const
{
    return *RequestState::Of(*this);
}

void HttpRequest::SetUrl(const QUrl& url)
{
    url_ = url;
}

QUrl HttpRequest::GetUrl() const
{
    return url_;
}

void HttpRequest::SetData(const QSharedPointer<IHttpRequestData>& data)
{
    data_ = data;
}

QSharedPointer<IHttpRequestData> HttpRequest::Data() const
{
    return data_;
}

void HttpRequest::SetRawHeader(const QString& name, const QString& value)
{
    rawHeaders_.insert(name, value);
}

QString HttpRequest::GetRawHeader(const QString& name) const
{
    return rawHeaders_.value(name);
}

void HttpRequest::SetAttribute(QNetworkRequest::Attribute attribute, const QVariant& value)
{
    attributes_.insert(attribute, value);
}

QVariant HttpRequest::GetAttribute(QNetworkRequest::Attribute attribute) const
{
    return attributes_.value(attribute);
}

void HttpRequest::SetAttemptCountOnNetworkProblem(int count)
{
    attemptCount_ = count;
}

int HttpRequest::GetAttemptCountOnNetworkProblem() const
{
    return attemptCount_;
}

void HttpRequest::SetAttemptIntervalOnNetworkProblem(int seconds)
{
    attemptInterval_ = seconds;
    if (resendTimer_)
        resendTimer_->setInterval(Milliseconds(seconds));
}

int HttpRequest::GetAttemptIntervalOnNetworkProblem() const
{
    return attemptInterval_;
}

void HttpRequest::SetTimeout(int seconds)
{
    timeout_ = seconds;
}

int HttpRequest::GetTimeout() const
{
    return timeout_;
}

bool HttpRequest::IgnoreSSLErrors() const
{
    return ignoreSslErrors_;
}

void HttpRequest::SetIgnoreSSLErrors(bool ignore)
{
    ignoreSslErrors_ = ignore;
}

void HttpRequest::SetSslCertificate(const QSslCertificate& certificate, const QSslKey& key,
                                    const QList<QSslCertificate>& caCertificates)
{
    certificate_ = certificate;
    key_ = key;
    caCertificates_ = caCertificates;
}

QNetworkReply* HttpRequest::Reply() const
{
    return reply_;
}

bool HttpRequest::isRunning() const
{
    return reply_ && reply_->isRunning();
}

bool HttpRequest::Send(HTTPRequestMethod method)
{
    attempt_ = 0;
    return SendRequest(method);
}

bool HttpRequest::Post()
{
    return Send(POST);
}

bool HttpRequest::Get()
{
    return Send(GET);
}

void HttpRequest::Resend()
{
    ++attempt_;
    SendRequest(method_);
}

void HttpRequest::Abort()
{
    if (resendTimer_)
        resendTimer_->stop();

    if (isRunning())
        ReleaseReply(); // whoever hears of it may delete this object
    else if (reply_)
        State().held->Silence(); // a reply may be done before its finished() is delivered
}

bool HttpRequest::SendRequest(HTTPRequestMethod method)
{
    method_ = method;
    const QPointer<HttpRequest> self(this);
    if (reply_)
        Abort();
    if (self)
        ReleaseReply();
    if (!self)
        return false; // somebody has answered the abort with a deletion
    if (resendTimer_)
        resendTimer_->stop(); // a pending re-send would cut off the new transfer later

    if (!manager_) {
        REQUEST_LOG(CRIT) << "Failed to  SendRequest(): HttpRequestManager is NULL!";
        return false;
    }

    QNetworkReply* reply = nullptr;
    if (method == GET)
        reply = SendGetRequest();
    else if (method == POST)
        reply = SendPostRequest();
    if (!reply) {
        REQUEST_LOG(ERROR)
            << QStringLiteral("Failed to send request to URL='%1'").arg(GetUrl().toString());
        return false;
    }

    HoldReply(reply);
    return true;
}

void HttpRequest::HoldReply(QNetworkReply* reply)
{
    auto held =
        std::make_unique<HeldReply>(reply, this, State().verifiesPeer, State().maxReplySize);
    if (GetTimeout() > 0) {
        const QTimer& timer = held->MakeTimer(Milliseconds(GetTimeout()));
        connect(&timer, &QTimer::timeout, this, &HttpRequest::OnRequestTimeout);
        connect(this, &HttpRequest::progress, &timer, QOverload<>::of(&QTimer::start));
    }

    connect(reply, &QNetworkReply::finished, this, &HttpRequest::OnRequestFinished);
    connect(reply, &QNetworkReply::readyRead, this, &HttpRequest::CheckSize);
    connect(reply, &QNetworkReply::sslErrors, this, &HttpRequest::OnSslErrors);
    connect(reply, &QNetworkReply::downloadProgress, this, &HttpRequest::downloadProgress);
    connect(reply, &QNetworkReply::uploadProgress, this, &HttpRequest::uploadProgress);
    connect(reply, &QNetworkReply::downloadProgress, this, &HttpRequest::progress);
    connect(reply, &QNetworkReply::uploadProgress, this, &HttpRequest::progress);
    reply_ = reply;
    State().held = std::move(held);
}

// The reply is not held any more when it is aborted: who hears of that may send anew.
void HttpRequest::ReleaseReply()
{
    reply_.clear();
    const std::unique_ptr<HeldReply> released = std::move(State().held);
}

QNetworkRequest HttpRequest::BuildRequest()
{
    QNetworkRequest request(GetUrl());
    SetSslConfiguration(request);
    if (State().verifiesPeer)
        SeparateVerified(request);
    for (auto it = rawHeaders_.cbegin(); it != rawHeaders_.cend(); ++it)
        request.setRawHeader(it.key().toUtf8(), it.value().toUtf8());
    if (!rawHeaders_.contains(acceptEncoding))
        request.setRawHeader(acceptEncoding.toUtf8(), "gzip");
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false); // as ever
    if (FollowsUnasked(*manager_))
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                             QNetworkRequest::ManualRedirectPolicy);
    for (auto it = attributes_.cbegin(); it != attributes_.cend(); ++it)
        request.setAttribute(it.key(), it.value());
    return request;
}

// Peers are not verified by default, deliberately; IHttpRequest warns of it.
void HttpRequest::SetSslConfiguration(QNetworkRequest& request)
{
    QSslConfiguration configuration = request.sslConfiguration();
    configuration.setLocalCertificate(certificate_);
    configuration.setPrivateKey(key_);
    const RequestState& state = State();
    const bool ownAuthorities = state.verifiesPeer && !state.authorities.isEmpty();
    const auto& authorities = ownAuthorities ? state.authorities : caCertificates_;
    if (!state.verifiesPeer || !authorities.isEmpty())
        configuration.setCaCertificates(authorities);
    configuration.setProtocol(state.verifiesPeer ? QSsl::TlsV1_2OrLater : QSsl::AnyProtocol);
    configuration.setPeerVerifyMode(state.verifiesPeer ? QSslSocket::VerifyPeer
                                                       : QSslSocket::VerifyNone);
    request.setSslConfiguration(configuration);
}

QNetworkReply* HttpRequest::SendGetRequest()
{
    QNetworkRequest request = BuildRequest();
    if (!data_)
        return manager_->get(request);

    const auto* form = dynamic_cast<const HttpRequestUrlencodedDataMap*>(data_.data());
    if (!form) {
        REQUEST_LOG(ERROR) << QStringLiteral("Failed to send GET request to URL='%1'. "
                                             "Invalid request parameters type")
                                  .arg(GetUrl().toString());
        return nullptr;
    }

    // Appended even to a URL that has a query already: that is the service's convention.
    const QString query = QString::fromUtf8(form->GetBody());
    if (!query.isEmpty())
        request.setUrl(QUrl(GetUrl().toString() + QLatin1Char('?') + query));
    REQUEST_LOG(DEBUG) << QStringLiteral("Sending GET request to URL='%1', attempt='%2'.")
                              .arg(request.url().toString(), QString::number(attempt_));
    return manager_->get(request);
}

QNetworkReply* HttpRequest::SendPostRequest()
{
    QNetworkRequest request = BuildRequest();
    if (!data_)
        return manager_->post(request, QByteArray());

    if (const auto* simple = dynamic_cast<const IHttpRequestSimpleData*>(data_.data())) {
        request.setHeader(QNetworkRequest::ContentTypeHeader, simple->ContentTypeHeader());
        REQUEST_LOG(DEBUG) << QStringLiteral("Sending POST request to URL='%1', attempt='%2'.")
                                  .arg(request.url().toString(), QString::number(attempt_));
        return manager_->post(request, simple->GetBody());
    }
    if (const auto* multi = dynamic_cast<const IHttpRequestMultiPartData*>(data_.data()))
        return PostMultiPart(request, *multi);
    return nullptr;
}

QNetworkReply* HttpRequest::PostMultiPart(const QNetworkRequest& request,
                                          const IHttpRequestMultiPartData& data)
{
    std::unique_ptr<QHttpMultiPart> multiPart(data.MultiPart());
    if (!multiPart) {
        REQUEST_LOG_FROM("SendPostRequest", ERROR)
            << QStringLiteral("Failed to create multipart/form-data POST request "
                              "to URL='%1'.")
                   .arg(GetUrl().toString());
        return nullptr;
    }

    REQUEST_LOG_FROM("SendPostRequest", DEBUG)
        << QStringLiteral("Sending multipart/form-data POST request to URL='%1', "
                          "attempt='%2'.")
               .arg(request.url().toString(), QString::number(attempt_));
    QNetworkReply* reply = manager_->post(request, multiPart.get());
    if (reply)
        multiPart.release()->setParent(reply);
    return reply;
}

bool HttpRequest::AskRetryIfPossible()
{
    if (attempt_ + 1 >= attemptCount_) {
        REQUEST_LOG(DEBUG) << "Cannot retry request. The attempt count reached maximum.";
        return false;
    }
    if (!resendTimer_) {
        REQUEST_LOG(ERROR) << "Cannot retry request. Resend timer is NULL.";
        return false;
    }
    REQUEST_LOG(DEBUG) << QStringLiteral("The next request attempt will be taken in '%1' seconds.")
                              .arg(attemptInterval_);
    resendTimer_->start();
    return true;
}

void HttpRequest::OnRequestTimeout()
{
    REQUEST_LOG(ERROR) << QStringLiteral("Request to URL='%1' timed out! attempt='%2'.")
                              .arg(GetUrl().toString(), QString::number(attempt_));
    const QPointer<HttpRequest> self(this);
    Abort();
    if (!self || isRunning())
        return; // somebody has answered the abort with a deletion, or a new send
    if (!AskRetryIfPossible())
        Q_EMIT requestError(QNetworkReply::TimeoutError, QStringLiteral("Request timed out"),
                            QByteArray());
}

void HttpRequest::OnSslErrors(const QList<QSslError>& errors)
{
    HeldReply* held = State().held.get();
    if (held && held->verified) {
        for (const QSslError& error : errors)
            held->problems << error.errorString();
        return;
    }
    if (!ignoreSslErrors_)
        return;
    REQUEST_LOG(WARN) << "Ignoring SSL errors!";
    if (auto* reply = qobject_cast<QNetworkReply*>(sender()))
        reply->ignoreSslErrors();
}

void HttpRequest::OnRequestFinished()
{
    if (sender() && qobject_cast<QNetworkReply*>(sender()) != reply_) {
        REQUEST_LOG(CRIT) << "Cannot process unknown QNetworkReply";
        return;
    }
    if (!reply_) {
        REQUEST_LOG(ERROR) << "Cannot process QNetworkReply = NULL";
        return;
    }

    if (State().held->beginning)
        State().held->Silence(); // more progress may follow the abort
    if (HttpStatus(*reply_) == tooManyRequests) {
        LogAcceptedReply();
        if (AskRetryIfPossible())
            return;
    }

    const Outcome outcome = TakeOutcome();
    if (outcome.code == QNetworkReply::NoError)
        ReportSuccess(outcome.body);
    else
        ReportFailure(outcome);
}

void HttpRequest::CheckSize()
{
    HeldReply& held = *State().held;
    if (reply_->bytesAvailable() <= held.maxSize)
        return;
    held.beginning = HttpStatus(*reply_) < badRequest
                         ? QByteArray()
                         : reply_->read(held.maxSize); // cannot be read later
    const bool finishes = reply_->isRunning();         // finished() of a local reply is on its way
    const QPointer<QNetworkReply> aborted(reply_);
    reply_->abort();
    if (finishes && aborted) // Qt would complain about what is still on its way
        QCoreApplication::removePostedEvents(aborted, QEvent::MetaCall);
}

HttpRequest::Outcome HttpRequest::TakeOutcome()
{
    Outcome outcome = {reply_->error(), reply_->errorString(), QByteArray()};
    const int status = HttpStatus(*reply_);
    const bool complete = TakeBody(outcome.body);
    if (!complete && status < badRequest)
        return {QNetworkReply::UnknownContentError,
                QStringLiteral("The reply is larger than %1 bytes").arg(State().held->maxSize),
                QByteArray()};
    if (!complete && outcome.code == QNetworkReply::OperationCanceledError) {
        outcome.code = ErrorOfStatus(status);
        outcome.text = QStringLiteral("Error transferring %1 - server replied: %2")
                           .arg(reply_->url().toString(), HttpReason(*reply_));
    }
    if (outcome.code == QNetworkReply::NoError && status > 0 && status < success) {
        outcome.code = QNetworkReply::ProtocolFailure;
        outcome.text = QStringLiteral("Status %1 is no final reply").arg(status);
    }
    if (outcome.code == QNetworkReply::SslHandshakeFailedError && !State().held->problems.isEmpty())
        outcome.text += QStringLiteral(": ") + State().held->problems.join(QStringLiteral("; "));
    return outcome;
}

// Whether it is all of the body.
bool HttpRequest::TakeBody(QByteArray& body)
{
    const auto maxSize = static_cast<int>(State().held->maxSize);
    auto& beginning = State().held->beginning;
    const bool complete = !beginning && reply_->bytesAvailable() <= maxSize;
    body = complete    ? reply_->readAll()
           : beginning ? std::exchange(*beginning, QByteArray())
                       : reply_->read(maxSize);
    if (!complete || reply_->rawHeader("Content-Encoding") != "gzip")
        return complete;

    QByteArray decoded;
    const tools::GunzipResult result = tools::Gunzip(body, decoded, maxSize);
    if (result == tools::GunzipResult::Damaged)
        REQUEST_LOG_FROM(finishedSlot, WARN)
            << "Failed to decompress gzip, using uncompressed data!";
    else
        body = decoded;
    return result != tools::GunzipResult::TooLarge;
}

void HttpRequest::LogAcceptedReply() const
{
    REQUEST_LOG_FROM(finishedSlot, DEBUG)
        << "Accepted reply from server: "
        << QStringLiteral("%1/%2; URL='%3', attempt='%4'.")
               .arg(QString::number(HttpStatus(*reply_)), HttpReason(*reply_),
                    reply_->url().toString(), QString::number(attempt_));
}

void HttpRequest::ReportSuccess(const QByteArray& body)
{
    LogAcceptedReply();
    const QPointer<HttpRequest> self(this); // a slot may delete it
    Q_EMIT requestFinishedWithBinaryData(body);
    if (self)
        Q_EMIT requestFinished(QString::fromUtf8(body.constData())); // up to a zero byte
}

void HttpRequest::ReportFailure(const Outcome& outcome)
{
    const auto& [code, text, body] = outcome;
    REQUEST_LOG_FROM(finishedSlot, ERROR)
        << "Accepted reply from server: "
        << QStringLiteral("%1/%2;    %3 (%4), URL='%5', attempt='%6'.")
               .arg(QString::number(HttpStatus(*reply_)), HttpReason(*reply_),
                    QLatin1String(NetworkErrorName(code)), text, reply_->url().toString(),
                    QString::number(attempt_));

    if (IsNetworkProblem(code) && AskRetryIfPossible())
        return;
    const QPointer<HttpRequest> self(this); // a slot may delete it
    if (IsProxyProblem(code))
        Q_EMIT proxyError(code, text);
    if (self && code == QNetworkReply::ProtocolInvalidOperationError)
        Q_EMIT invalidOperationError(code, text);
    if (self)
        Q_EMIT requestError(code, text, body);
}

// "[request, reply]: ", numbers that tell objects apart in a log.
QString HttpRequest::LogPrefix() const
{
    QString prefix = QLatin1Char('[') + QString::number(qHash(this));
    if (reply_)
        prefix += QLatin1String(", ") + QString::number(qHash(reply_.data()));
    return prefix + QLatin1String("]: ");
}

} // namespace common::http
