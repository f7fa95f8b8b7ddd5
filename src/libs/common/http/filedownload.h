#pragma once

#include "common/http/httprequest.h"
#include "common/qvcommon_export.h"

#include <QCryptographicHash>
#include <QFile>
#include <QNetworkAccessManager>
#include <QObject>
#include <QPointer>
#include <QScopedPointer>
#include <QString>
#include <QTimer>
#include <QUrl>

namespace common::http {

/**
 * Downloads one URL into a file, verifies its size and digest, and tries again on failure.
 *
 * @code
 * using common::http::IFileDownload;
 * IFileDownload* download = common::http::CreateFileDownload(&manager, this);
 * download->SetUrl(QUrl("https://service.test/sounds.zip"));
 * download->SetFileName(cache + "/sounds.zip.part"); // UseDownload() renames it
 * download->SetExpectedSize(48213004);
 * download->SetExpectedDigest(QCryptographicHash::Sha256, digest);
 * download->SetRetryCount(3);
 * connect(download, &IFileDownload::progress, this, &Client::ShowBytes);
 * connect(download, &IFileDownload::complete, this, &Client::UseDownload);
 * connect(download, &IFileDownload::failed, this, &Client::ShowError);
 * download->Start();
 * @endcode
 *
 * A Start() that returned true ends with exactly one of complete() and failed(), unless Abort() is
 * called or the manager is deleted: then it emits neither. A try that failed on the network, by an
 * HTTP error or in the verification is followed by the next 5 seconds later, from the beginning.
 * Memory stays bounded whatever the size of the file, except for the body of status 401 and 407,
 * which Qt holds until it is complete.
 *
 * The download lives on the thread of its QNetworkAccessManager, which must outlive it. For the
 * digest the whole file is read on that thread, at about the pace of md5sum: expect a pause of some
 * seconds for each GiB. Create downloads on one thread only. Delete a download from a handler
 * of its signals with deleteLater().
 *
 * The target file is never deleted: after failed() or Abort() it holds what had arrived, and for an
 * HTTP error the server's error page. Write to a temporary name and rename on complete() where
 * that matters. The body is stored as it is on the wire: a server that answers with
 * "Content-Encoding: gzip" makes it a gzip file.
 *
 * @warning Without an expected size or digest a download whose connection broke half-way, or whose
 * disk was full, completes with the part that was written; so does one that was redirected, with
 * the body of the redirect.
 *
 * @warning MD5 does not resist an attacker. Take the expected digest, preferably SHA-256, from a
 * trusted source, and see SetPeerVerification().
 */
class QVCOMMON_EXPORT IFileDownload : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
    ~IFileDownload() override;

    /** Number of this download in the log: unique in the process, counted from 100000. */
    virtual quint64 ID() const = 0;

    /** What to download, by HTTP or HTTPS. */
    virtual void SetUrl(const QUrl& url) = 0;
    /** The URL, empty at first. */
    virtual QUrl GetUrl() const = 0;

    /**
     * Path of the target; missing directories are created, an existing file is overwritten. Not to
     * be changed while a try is in progress: the data stays in the old file, the new one is verified.
     */
    virtual void SetFileName(const QString& fileName) = 0;
    /** The path of the target, empty at first. */
    virtual QString GetFileName() const = 0;

    /** Expected size in bytes; negative (the default is -1) for any. */
    virtual void SetExpectedSize(qint64 size) = 0;
    /** The expected size in bytes. */
    virtual qint64 GetExpectedSize() const = 0;

    /** Expected MD5 digest in hexadecimal, letter case ignored; empty (the default) for any. */
    virtual void SetExpectedMD5(const QString& md5) = 0;
    /** The expected digest, as it was given. */
    virtual QString GetExpectedMD5() const = 0;

    /**
     * Number of tries in all; 0 (the default) and 1 both mean a single one. Tries are counted over
     * the life of the object: once used up, a later Start() is a single try again.
     */
    virtual void SetRetryCount(unsigned int count) = 0;
    /** The number of tries, as it was given. */
    virtual unsigned int GetRetryCount() const = 0;

    /** Longest silence of the server in seconds, default 30; 0 or less for no limit. */
    virtual void SetTimeout(int seconds) = 0;
    /** The longest silence in seconds. */
    virtual int GetTimeout() const = 0;

    /** Always false, also during a transfer: do not rely on it. */
    virtual bool isRunning() const = 0;

    /** Whether TLS errors are ignored; default true. */
    virtual bool IgnoreSSLErrors() const = 0;
    /** Sets whether they are ignored, also for a try in progress. */
    virtual void SetIgnoreSSLErrors(bool ignore) = 0;

    /** Permissions added to those that the target gets when it is opened; default none. */
    virtual QFile::Permissions Permissions() const = 0;
    /** Sets them, for later tries. */
    virtual void SetPermissions(QFile::Permissions permissions) = 0;

    /**
     * Starts, or starts the next try at once if one is pending.
     *
     * @return false if the download could not start. failed() tells why, with one exception: a
     *         transfer in progress goes on and nothing is emitted.
     */
    virtual bool Start() = 0;

    /** Stops a transfer or a pending try without a signal. */
    virtual void Abort() = 0;

    /**
     * Whether to verify TLS peers; see IHttpRequest::SetPeerVerification().
     *
     * @return false if this is not the library's own implementation: nothing is verified then
     */
    bool SetPeerVerification(bool verify, const QList<QSslCertificate>& authorities = {});

    /**
     * Which redirects to follow; see IHttpRequest::SetRedirectPolicy().
     *
     * @return false if this is not the library's own implementation
     */
    bool SetRedirectPolicy(QNetworkRequest::RedirectPolicy policy);

    /**
     * Expected digest in hexadecimal, letter case ignored, beside the MD5 one; empty (the default)
     * for any. Use SHA-256: unlike with MD5, nobody can make another file with the same digest.
     *
     * @return false if this is not the library's own implementation: nothing is checked then
     */
    bool SetExpectedDigest(QCryptographicHash::Algorithm algorithm, const QString& digest);

Q_SIGNALS:
    /** The file is complete and verified. */
    void complete();
    /**
     * The download ended without a usable file: no try is left, or a further one would be of no use
     * (900100 to 900102, emitted within Start()).
     *
     * Codes: 900100 the request object is missing, 900101 the request could not be sent, 900102 the
     * target could not be opened for writing, 900103 the verification failed; others are those of
     * IHttpRequest::requestError().
     */
    void failed(int code, const QString& message);
    /** Bytes received (and written) so far, of a total that is -1 while unknown. */
    void progress(qint64 bytesReceived, qint64 bytesTotal);
};

/** A new download through @p manager, which is not owned; owned by @p parent or the caller. */
QVCOMMON_EXPORT IFileDownload* CreateFileDownload(QNetworkAccessManager* manager, QObject* parent);

/** The one implementation of IFileDownload. */
class QVCOMMON_EXPORT FileDownload : public IFileDownload
{
    Q_OBJECT

public:
    /** See CreateFileDownload(). */
    FileDownload(QNetworkAccessManager* manager, QObject* parent);
    ~FileDownload() override;

    /** The next download number; it is used up by this call. */
    static quint64 CreateID();

    quint64 ID() const override;
    void SetUrl(const QUrl& url) override;
    QUrl GetUrl() const override;
    void SetFileName(const QString& fileName) override;
    QString GetFileName() const override;
    void SetExpectedSize(qint64 size) override;
    qint64 GetExpectedSize() const override;
    void SetExpectedMD5(const QString& md5) override;
    QString GetExpectedMD5() const override;
    void SetRetryCount(unsigned int count) override;
    unsigned int GetRetryCount() const override;
    void SetTimeout(int seconds) override;
    int GetTimeout() const override;
    bool isRunning() const override;
    bool IgnoreSSLErrors() const override;
    void SetIgnoreSSLErrors(bool ignore) override;
    QFile::Permissions Permissions() const override;
    void SetPermissions(QFile::Permissions permissions) override;

public Q_SLOTS:
    /** See IFileDownload::Start(). */
    bool Start() override;
    /** See IFileDownload::Abort(). */
    void Abort() override;

protected Q_SLOTS:
    /** Ends the try as failed. */
    void OnRequestError(int code, const QString& message);
    /** Writes the rest, closes the file and verifies it. */
    void OnRequestFinished(const QString& result);
    /** Writes what has arrived and reports progress. */
    void OnDownloadProgress(qint64 bytesReceived, qint64 bytesTotal);

protected:
    /** Makes and connects the request; null (logged) if there is none. */
    IHttpRequest* CreateRequest(QNetworkAccessManager* manager);
    /** Schedules the next try, or fails with the given code and message. */
    void Retry(int code, const QString& message);
    /** Creates the target with its directories and opens it. */
    bool PrepareFile(const QString& fileName);
    /** Whether the file on disk has the expected size and digest. */
    bool CheckDownload();

private:
    QVCOMMON_NO_EXPORT void DrainAsDataArrives();
    QVCOMMON_NO_EXPORT void Drain(QNetworkReply& reply);
    QVCOMMON_NO_EXPORT bool HasDigest(QFile& file, QCryptographicHash::Algorithm algorithm,
                                      const QString& expected) const;

    quint64 id_;
    QPointer<IHttpRequest> request_; // owned as a child
    QScopedPointer<QFile> file_;
    QString fileName_;
    QString expectedMd5_;
    qint64 expectedSize_ = -1;
    quint32 retryCount_ = 0;
    quint32 attempt_ = 1;
    QFile::Permissions permissions_;
    QTimer* retryTimer_; // a child
};

} // namespace common::http
