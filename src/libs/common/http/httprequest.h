#pragma once

#include "common/http/httprequestdata.h"
#include "common/qvcommon_export.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QObject>
#include <QPointer>
#include <QSharedPointer>
#include <QSslCertificate>
#include <QSslError>
#include <QSslKey>
#include <QString>
#include <QTimer>
#include <QUrl>
#include <QVariant>

namespace common::http {

class IHttpRequestMultiPartData;
class RequestState;

/**
 * One logical HTTP request: set up once, sent, re-sent after network problems, timed out, aborted.
 *
 * @code
 * using common::http::IHttpRequest;
 * IHttpRequest* request = common::http::CreateHttpRequest(&manager, this);
 * request->SetUrl(QUrl("https://service.test/status"));
 * request->SetTimeout(30);
 * request->SetAttemptCountOnNetworkProblem(3);
 * connect(request, &IHttpRequest::requestFinished, this, &Client::ShowStatus);
 * connect(request, &IHttpRequest::requestError, this, &Client::ShowError);
 * if (!request->Get())
 *     ShowProblem("The status cannot be asked for.");
 * @endcode
 *
 * If Send(), Get() or Post() returned true, the request ends with exactly one of requestFinished()
 * and requestError(), unless it is aborted, replaced by another send, or loses its manager, or a
 * repeated attempt cannot be sent (a file part was removed meanwhile, say): then it emits neither.
 * If they returned false, it emits nothing.
 *
 * An attempt is repeated, after GetAttemptIntervalOnNetworkProblem() seconds and up to
 * GetAttemptCountOnNetworkProblem() attempts in all, when it ends with a network problem (codes 1
 * to 9 and 99), with HTTP status 429, or by time-out.
 *
 * Settings apply to what is sent later, repeated attempts included. Only the number of attempts, the
 * pause between them and whether TLS errors are ignored also apply to a transfer in progress.
 *
 * The request lives on the thread of its QNetworkAccessManager. A handler of its signals may send
 * or abort it at once, but delete it only with deleteLater(). The signals of one outcome belong
 * together: after requestFinishedWithBinaryData(), proxyError() or invalidOperationError() the
 * final one follows, whatever the handler does.
 *
 * Error codes are QNetworkReply::NetworkError values. A reply's HTTP error status arrives as such
 * a code (404 as 203), and a status below 200 with nothing behind it as 399; redirects are not
 * followed unless SetRedirectPolicy() asks for it. Replies with "Content-Encoding: gzip" are
 * decoded. HTTP/2 is not used.
 *
 * @warning The peer's TLS certificate is not verified, whatever IgnoreSSLErrors() says, unless
 * SetPeerVerification() asks for it: the connection is encrypted, but the server is not
 * authenticated.
 *
 * @warning Where redirects are followed, all headers that were set (Authorization, too) are sent to
 * any host that the server names, and with status 307 and 308 the body as well.
 *
 * @warning URLs appear unchanged in the log and in error texts, with any password or token.
 *
 * @warning A connection that breaks in the middle of a body may count as success with the part
 * that arrived: timing decides, in Qt's network layer. Check the length or a digest where that
 * matters; IFileDownload does.
 *
 * @warning Qt itself sends a request again, a POST too, if the connection closes before a reply
 * came. A server may therefore see one attempt more than once.
 */
class QVCOMMON_EXPORT IHttpRequest : public QObject
{
    Q_OBJECT

public:
    /** Methods of a request (RFC 9110, section 9.3). */
    enum HTTPRequestMethod : int {
        POST = 0, ///< sends the body
        GET = 1   ///< sends no body; a URL-encoded map becomes the query
    };

    using QObject::QObject;
    ~IHttpRequest() override;

    /** Where to send to. The map of a GET is appended after a "?", also if there is one already. */
    virtual void SetUrl(const QUrl& url) = 0;
    /** The URL as it was given, empty at first. */
    virtual QUrl GetUrl() const = 0;

    /** The body, shared with the caller; null for none. A GET takes a URL-encoded map only. */
    virtual void SetData(const QSharedPointer<IHttpRequestData>& data) = 0;
    /** The body, or null. */
    virtual QSharedPointer<IHttpRequestData> Data() const = 0;

    /**
     * Stores or replaces a header, sent as UTF-8. Names are compared exactly here, case included,
     * but without case by Qt, where the last in order wins: only "Accept-Encoding" in just that
     * spelling replaces the default "Accept-Encoding: gzip", any other is replaced by it.
     */
    virtual void SetRawHeader(const QString& name, const QString& value) = 0;
    /** The stored header, or an empty string. */
    virtual QString GetRawHeader(const QString& name) const = 0;

    /** Stores an attribute of the QNetworkRequest, such as one to follow redirects. */
    virtual void SetAttribute(QNetworkRequest::Attribute attribute, const QVariant& value) = 0;
    /** The stored attribute, or an invalid QVariant. */
    virtual QVariant GetAttribute(QNetworkRequest::Attribute attribute) const = 0;

    /** Attempts in all, the first included. Default 1: no retry; less counts as 1. */
    virtual void SetAttemptCountOnNetworkProblem(int count) = 0;
    /** The number of attempts, as it was given. */
    virtual int GetAttemptCountOnNetworkProblem() const = 0;

    /**
     * Pause before a retry in seconds, default 20; clamped to 0 ... 2,147,483 when it is used. Set
     * while a retry is pending, the new pause begins at once.
     */
    virtual void SetAttemptIntervalOnNetworkProblem(int seconds) = 0;
    /** The pause in seconds, as it was given. */
    virtual int GetAttemptIntervalOnNetworkProblem() const = 0;

    /**
     * Longest silence in seconds, default 0: any transferred data restarts the period, so a slow
     * transfer is not cut off. 0 or less for none; more than 2,147,483 counts as that.
     */
    virtual void SetTimeout(int seconds) = 0;
    /** The longest silence in seconds, as it was given. */
    virtual int GetTimeout() const = 0;

    /**
     * Begins a new series of attempts, dropping silently whatever this request was doing.
     *
     * @return false if nothing could be sent (manager gone, body of the wrong kind, a file part
     *         that cannot be opened; logged): no signal follows
     */
    virtual bool Send(HTTPRequestMethod method) = 0;
    /** Send(POST). */
    virtual bool Post() = 0;
    /** Send(GET). */
    virtual bool Get() = 0;

    /** Whether a transfer is in progress. False while a retry is pending. */
    virtual bool isRunning() const = 0;

    /** Whether TLS errors reported by the network layer are ignored; default false. */
    virtual bool IgnoreSSLErrors() const = 0;
    /** Sets whether they are ignored, also for a transfer in progress. */
    virtual void SetIgnoreSSLErrors(bool ignore) = 0;

    /** Client certificate, its key, and the CA certificates for later sends; all copied. */
    virtual void SetSslCertificate(const QSslCertificate& certificate, const QSslKey& key,
                                   const QList<QSslCertificate>& caCertificates) = 0;

    /** The reply of the latest send, or null. Stays owned by the request; gone at the next send. */
    virtual QNetworkReply* Reply() const = 0;

    /**
     * Most bytes of a reply to hold in memory, as they come and once they are unpacked, for later
     * sends. The default is a bit less than 1 GiB, which is what fits into a QString. More than
     * that, 0 and less stand for the default. A reply that exceeds it is given up at once:
     * requestError() with code 299 and no body, not repeated. One with an error status ends with
     * the code of that, and its body is cut: if it was gzip, it is the cut gzip stream, not
     * decoded. Bytes that were read from Reply() meanwhile do not count.
     *
     * @warning Qt holds the body of status 401 and 407 without limit until it is complete. Only
     * the time-out ends such a reply, because Qt reports no progress, which would restart the
     * time-out.
     *
     * @return false if this is not the library's own implementation: there is no limit then
     */
    bool SetMaxReplySize(qint64 bytes);

    /**
     * Which redirects to follow, for later sends: the attribute RedirectPolicyAttribute. As long as
     * it is not set, the policy of the manager counts if that is not Qt's default; else none is
     * followed.
     */
    void SetRedirectPolicy(QNetworkRequest::RedirectPolicy policy);

    /**
     * Whether to verify TLS peers, for later sends; default false. The certificates must lead to
     * one of @p authorities (if there are none, to one of the CA certificates of
     * SetSslCertificate(), or else of the system) and name the host; TLS 1.2 or later. Otherwise
     * the attempt fails with code 6, whatever IgnoreSSLErrors() says; it is repeated up to the
     * attempt count, and the text of the final error tells the problems. A connection that was not
     * verified, or verified with other CA certificates, is never used.
     *
     * A redirect to another host fails unless the certificate there names the first one, too. On
     * plain http nothing is verified, and the request succeeds.
     *
     * A handler of QNetworkAccessManager::sslErrors() that ignores errors has them ignored here as
     * well, and the connection then counts as verified for later requests of that manager. A
     * subclass that overrides SetSslConfiguration() decides for itself.
     *
     * @warning An empty list means the system's CA certificates. QSslCertificate::fromPath() gives
     * one for a file that it cannot read: check it.
     *
     * @return false if this is not the library's own implementation: nothing is verified then
     */
    bool SetPeerVerification(bool verify, const QList<QSslCertificate>& authorities = {});

public Q_SLOTS:
    /** Ends a transfer or a pending retry without a signal. */
    virtual void Abort() = 0;

Q_SIGNALS:
    /** Success; the body as UTF-8 text, up to its first zero byte. */
    void requestFinished(const QString& result);
    /** Success; the body as bytes. Emitted just before requestFinished(). */
    void requestFinishedWithBinaryData(const QByteArray& result);
    /**
     * Final failure: no attempt is left, or errors of this kind are not repeated. @p result is the
     * body of the error reply, if any; @p errorDesc is for logs, in English.
     */
    void requestError(int error, const QString& errorDesc, const QByteArray& result = QByteArray());
    /** Just before requestError() of code 302, as HTTP status 400 gives. */
    void invalidOperationError(int error, const QString& errorDesc);
    /** Just before requestError() of a proxy failure (codes 101 to 105 and 199). */
    void proxyError(int error, const QString& errorDesc);
    /** Bytes received so far, of a total that is -1 while unknown; at most every 100 ms. */
    void downloadProgress(qint64 bytesReceived, qint64 bytesTotal);
    /** Bytes of the body sent so far. */
    void uploadProgress(qint64 bytesSent, qint64 bytesTotal);
};

/**
 * A new request that sends through @p manager, which is not owned and must outlive its transfers.
 * The request is owned by @p parent, or by the caller if that is null.
 *
 * Bodies for it come from common/http/httprequestdata.h (JSON), common/http/httprequestdatamap.h
 * (pairs of names and values) and common/http/httprequestmultipartformdata.h (files and texts).
 */
QVCOMMON_EXPORT IHttpRequest* CreateHttpRequest(QNetworkAccessManager* manager, QObject* parent);

/** The one implementation of IHttpRequest. A client uses the interface; subclasses change steps. */
class QVCOMMON_EXPORT HttpRequest : public IHttpRequest
{
    Q_OBJECT

public:
    /** See CreateHttpRequest(). */
    HttpRequest(QNetworkAccessManager* manager, QObject* parent);
    ~HttpRequest() override;

    void SetUrl(const QUrl& url) override;
    QUrl GetUrl() const override;
    void SetData(const QSharedPointer<IHttpRequestData>& data) override;
    QSharedPointer<IHttpRequestData> Data() const override;
    void SetRawHeader(const QString& name, const QString& value) override;
    QString GetRawHeader(const QString& name) const override;
    void SetAttribute(QNetworkRequest::Attribute attribute, const QVariant& value) override;
    QVariant GetAttribute(QNetworkRequest::Attribute attribute) const override;
    void SetAttemptCountOnNetworkProblem(int count) override;
    int GetAttemptCountOnNetworkProblem() const override;
    void SetAttemptIntervalOnNetworkProblem(int seconds) override;
    int GetAttemptIntervalOnNetworkProblem() const override;
    void SetTimeout(int seconds) override;
    int GetTimeout() const override;
    bool Send(HTTPRequestMethod method) override;
    bool Post() override;
    bool Get() override;
    bool isRunning() const override;
    bool IgnoreSSLErrors() const override;
    void SetIgnoreSSLErrors(bool ignore) override;
    void SetSslCertificate(const QSslCertificate& certificate, const QSslKey& key,
                           const QList<QSslCertificate>& caCertificates) override;
    QNetworkReply* Reply() const override;

public Q_SLOTS:
    /** See IHttpRequest::Abort(). */
    void Abort() override;
    /** Sends once more with the latest method, as the next attempt, whatever the attempt limit. */
    virtual void Resend();
    /** Reports the outcome of the held reply. */
    void OnRequestFinished();
    /** Ends the attempt as timed out. */
    void OnRequestTimeout();
    /** Tells the sending reply to go on, if TLS errors are to be ignored. */
    void OnSslErrors(const QList<QSslError>& errors);

Q_SIGNALS:
    /** The current reply reported download or upload progress. */
    void progress();

protected:
    /** Prepares the TLS settings of a request; applied to plain HTTP, too, where it is harmless. */
    virtual void SetSslConfiguration(QNetworkRequest& request);
    /** Sends one attempt; see Send() for the result. */
    virtual bool SendRequest(HTTPRequestMethod method);
    /** Sends a POST; null if that is not possible. The reply is the caller's to hold. */
    virtual QNetworkReply* SendPostRequest();
    /** Sends a GET; null if that is not possible. The reply is the caller's to hold. */
    virtual QNetworkReply* SendGetRequest();
    /** Schedules the next attempt; false if none is left. */
    bool AskRetryIfPossible();

private:
    struct Outcome;

    QVCOMMON_NO_EXPORT QString LogPrefix() const;
    QVCOMMON_NO_EXPORT QNetworkRequest BuildRequest();
    QVCOMMON_NO_EXPORT RequestState& State() const;
    QVCOMMON_NO_EXPORT void HoldReply(QNetworkReply* reply);
    QVCOMMON_NO_EXPORT void ReleaseReply();
    QVCOMMON_NO_EXPORT QNetworkReply* PostMultiPart(const QNetworkRequest& request,
                                                    const IHttpRequestMultiPartData& data);
    QVCOMMON_NO_EXPORT void CheckSize();
    QVCOMMON_NO_EXPORT Outcome TakeOutcome();
    QVCOMMON_NO_EXPORT bool TakeBody(QByteArray& body);
    QVCOMMON_NO_EXPORT void ReportSuccess(const QByteArray& body);
    QVCOMMON_NO_EXPORT void ReportFailure(const Outcome& outcome);
    QVCOMMON_NO_EXPORT void LogAcceptedReply() const;

    QPointer<QNetworkAccessManager> manager_;
    QUrl url_;
    int timeout_ = 0;
    QSharedPointer<IHttpRequestData> data_;
    QMap<QString, QString> rawHeaders_;
    QMap<QNetworkRequest::Attribute, QVariant> attributes_;
    QPointer<QNetworkReply> reply_; // what the state holds
    bool ignoreSslErrors_ = false;
    HTTPRequestMethod method_ = POST;
    int attemptCount_ = 0;
    int attemptInterval_ = 20;
    int attempt_ = 0;
    QPointer<QTimer> resendTimer_;
    QSslCertificate certificate_;
    QSslKey key_;
    QList<QSslCertificate> caCertificates_;
};

} // namespace common::http
