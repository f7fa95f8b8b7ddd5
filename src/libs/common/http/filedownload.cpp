#include "common/http/filedownload.h"

#include "common/logger/log.h"
#include "common/tools/string/digest_p.h"

#include <QDir>
#include <QFileInfo>

namespace common::http {

namespace {

constexpr logger::ICategory logCategory{"http.download"};
constexpr char logSource[] = "src/libs/common/http/filedownload";

constexpr int noRequestError = 900100;
constexpr int requestFailedError = 900101;
constexpr int prepareFileError = 900102;
constexpr int verificationError = 900103;

constexpr int defaultTimeout = 30;
constexpr int retryPause = 5000;
constexpr qint64 replyBufferSize = Q_INT64_C(4) << 20;

quint64 nextId = 100000;

// Null if it is not of the library's own class.
IHttpRequest* RequestOf(const IFileDownload& download)
{
    return download.findChild<IHttpRequest*>(QString(), Qt::FindDirectChildrenOnly);
}

} // namespace

// What a download knows beyond the members of its class, which no longer change. A child of it.
class DownloadState : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    QCryptographicHash::Algorithm algorithm = QCryptographicHash::Sha256;
    QString digest;
};

#define DOWNLOAD_LOG(priority) QVLOG(priority) << '[' << id_ << ", " << attempt_ << "]: "
#define DOWNLOAD_LOG_FROM(function, priority)                                                      \
    QVLOG_FROM(function, priority) << '[' << id_ << ", " << attempt_ << "]: "

IFileDownload::~IFileDownload() = default;

bool IFileDownload::SetPeerVerification(bool verify, const QList<QSslCertificate>& authorities)
{
    IHttpRequest* request = RequestOf(*this);
    return request && request->SetPeerVerification(verify, authorities);
}

bool IFileDownload::SetRedirectPolicy(QNetworkRequest::RedirectPolicy policy)
{
    IHttpRequest* request = RequestOf(*this);
    if (request)
        request->SetRedirectPolicy(policy);
    return request != nullptr;
}

bool IFileDownload::SetExpectedDigest(QCryptographicHash::Algorithm algorithm,
                                      const QString& digest)
{
    auto* state = findChild<DownloadState*>(QString(), Qt::FindDirectChildrenOnly);
    if (!state)
        return false;
    state->algorithm = algorithm;
    state->digest = digest;
    return true;
}

IFileDownload* CreateFileDownload(QNetworkAccessManager* manager, QObject* parent)
{
    return new FileDownload(manager, parent);
}

quint64 FileDownload::CreateID()
{
    return nextId++;
}

FileDownload::FileDownload(QNetworkAccessManager* manager, QObject* parent)
    : id_(CreateID()), retryTimer_(new QTimer(this))
{
    new DownloadState(this);
    request_ = CreateRequest(manager);
    setParent(parent);
    retryTimer_->setSingleShot(true);
    retryTimer_->setInterval(retryPause);
    connect(retryTimer_, SIGNAL(timeout()), this, SLOT(Start()));
}

FileDownload::~FileDownload() = default;

IHttpRequest* FileDownload::CreateRequest(QNetworkAccessManager* manager)
{
    IHttpRequest* request = CreateHttpRequest(manager, this);
    if (!request) {
        DOWNLOAD_LOG(CRIT) << "Failed to create HTTP request!";
        return nullptr;
    }
    request->SetTimeout(defaultTimeout);
    request->SetIgnoreSSLErrors(true);
    connect(request, SIGNAL(requestError(int, const QString&)), this,
            SLOT(OnRequestError(int, const QString&)));
    connect(request, SIGNAL(requestFinished(const QString&)), this,
            SLOT(OnRequestFinished(const QString&)));
    connect(request, SIGNAL(downloadProgress(qint64, qint64)), this,
            SLOT(OnDownloadProgress(qint64, qint64)));
    return request;
}

quint64 FileDownload::ID() const
{
    return id_;
}

void FileDownload::SetUrl(const QUrl& url)
{
    if (request_)
        request_->SetUrl(url);
    else
        DOWNLOAD_LOG(CRIT) << "Can't set URL - request doesn't exist!";
}

QUrl FileDownload::GetUrl() const
{
    return request_ ? request_->GetUrl() : QUrl();
}

void FileDownload::SetFileName(const QString& fileName)
{
    fileName_ = fileName;
}

QString FileDownload::GetFileName() const
{
    return fileName_;
}

void FileDownload::SetExpectedSize(qint64 size)
{
    expectedSize_ = size;
}

qint64 FileDownload::GetExpectedSize() const
{
    return expectedSize_;
}

void FileDownload::SetExpectedMD5(const QString& md5)
{
    expectedMd5_ = md5;
}

QString FileDownload::GetExpectedMD5() const
{
    return expectedMd5_;
}

void FileDownload::SetRetryCount(unsigned int count)
{
    retryCount_ = count;
}

unsigned int FileDownload::GetRetryCount() const
{
    return retryCount_;
}

void FileDownload::SetTimeout(int seconds)
{
    if (request_)
        request_->SetTimeout(seconds);
    else
        DOWNLOAD_LOG(CRIT) << "Can't set timeout - request doesn't exist!";
}

int FileDownload::GetTimeout() const
{
    return request_ ? request_->GetTimeout() : defaultTimeout;
}

bool FileDownload::isRunning() const
{
    // The constant answer is deliberate and documented.
    return false;
}

bool FileDownload::IgnoreSSLErrors() const
{
    return request_ ? request_->IgnoreSSLErrors() : true;
}

void FileDownload::SetIgnoreSSLErrors(bool ignore)
{
    if (request_)
        request_->SetIgnoreSSLErrors(ignore);
    else
        DOWNLOAD_LOG(CRIT) << "Can't set ignoring SSL errors - request doesn't exist!";
}

QFile::Permissions FileDownload::Permissions() const
{
    return permissions_;
}

void FileDownload::SetPermissions(QFile::Permissions permissions)
{
    permissions_ = permissions;
}

bool FileDownload::Start()
{
    DOWNLOAD_LOG(DEBUG) << "Trying to start download...";
    retryTimer_->stop(); // a manual start takes the place of the scheduled one
    if (!request_) {
        const auto message = QStringLiteral("Can't start download: request doesn't exist!");
        DOWNLOAD_LOG(CRIT) << message;
        Q_EMIT failed(noRequestError, message);
        return false;
    }
    if (request_->isRunning()) {
        DOWNLOAD_LOG(CRIT) << "Can't start download: request already started!";
        return false;
    }
    if (!PrepareFile(GetFileName())) {
        Q_EMIT failed(prepareFileError, QStringLiteral("Can't prepare file!"));
        return false;
    }
    if (!request_->Get()) {
        const auto message = QStringLiteral("Can't start download: request failed!");
        DOWNLOAD_LOG(CRIT) << message;
        Q_EMIT failed(requestFailedError, message);
        return false;
    }
    DrainAsDataArrives();
    return true;
}

void FileDownload::Abort()
{
    retryTimer_->stop();
    if (!request_) {
        DOWNLOAD_LOG(CRIT) << "Can't abort request - request doesn't exist!";
        return;
    }
    if (QNetworkReply* reply = request_->Reply())
        disconnect(reply, nullptr, this, nullptr);
    const QPointer<FileDownload> self(this); // whoever hears of it may delete this object
    request_->Abort();
    if (self && file_)
        file_->flush();
}

// Progress is reported every 100 ms at most: drained only then, a fast transfer would pile up in
// memory, or stand still with a limited buffer.
void FileDownload::DrainAsDataArrives()
{
    QNetworkReply* reply = request_->Reply();
    if (!reply)
        return;
    reply->setReadBufferSize(replyBufferSize);
    connect(reply, &QNetworkReply::readyRead, this, [this, reply] {
        if (file_ && request_ && request_->Reply() == reply)
            Drain(*reply);
    });
}

void FileDownload::Drain(QNetworkReply& reply)
{
    const QByteArray data = reply.readAll();
    if (data.isEmpty())
        return;
    const qint64 written = file_->write(data);
    DOWNLOAD_LOG_FROM("OnDownloadProgress", DEBUG)
        << "readed from device " << data.size() << ", written " << written << " bytes.";
}

void FileDownload::OnDownloadProgress(qint64 bytesReceived, qint64 bytesTotal)
{
    DOWNLOAD_LOG(DEBUG) << "download progress: bytesReceived=" << bytesReceived
                        << ", bytesTotal=" << bytesTotal << '.';
    if (!file_) {
        DOWNLOAD_LOG(CRIT) << "missing file to write!";
        return;
    }
    const auto* request = qobject_cast<IHttpRequest*>(sender());
    QNetworkReply* reply = request ? request->Reply() : nullptr;
    if (!reply) {
        DOWNLOAD_LOG(CRIT) << "can't access to reply!";
        return;
    }
    Drain(*reply);
    Q_EMIT progress(bytesReceived, bytesTotal);
}

void FileDownload::OnRequestFinished(const QString&)
{
    file_.reset();
    if (CheckDownload())
        Q_EMIT complete();
    else
        Retry(verificationError, QStringLiteral("Download verification failed!"));
}

void FileDownload::OnRequestError(int code, const QString& message)
{
    DOWNLOAD_LOG(ERROR) << "Failed with error " << code << ", (" << message << ").";
    file_.reset();
    Retry(code, message);
}

void FileDownload::Retry(int code, const QString& message)
{
    if (attempt_ >= retryCount_) {
        DOWNLOAD_LOG(ERROR) << "Downloading failed. No more tries.";
        Q_EMIT failed(code, message);
        return;
    }
    DOWNLOAD_LOG(DEBUG) << "Retrying download...";
    ++attempt_;
    retryTimer_->start();
}

bool FileDownload::PrepareFile(const QString& fileName)
{
    if (file_) {
        DOWNLOAD_LOG(DEBUG) << "closing previously open file '" << file_->fileName() << '\'';
        file_.reset();
    }

    const QFileInfo target(fileName);
    const QString directory = target.absolutePath();
    if (!QDir().mkpath(directory)) {
        DOWNLOAD_LOG(CRIT) << "Failed to create directory '" << directory << "'!";
        return false;
    }

    // These lines name the directory even where the file is meant: that is their established form.
    file_.reset(new QFile(target.absoluteFilePath()));
    if (!file_->open(QIODevice::WriteOnly)) {
        DOWNLOAD_LOG(CRIT) << "Failed to open file '" << directory << "'!";
        DOWNLOAD_LOG(ERROR) << "I/O error: '" << file_->errorString() << '\'';
        file_.reset();
        return false;
    }
    if (!file_->setPermissions(file_->permissions() | Permissions())) {
        DOWNLOAD_LOG(ERROR) << "Failed to set permissions to file '" << directory << "'!";
        DOWNLOAD_LOG(ERROR) << "I/O error: '" << file_->errorString() << '\'';
    }
    return true;
}

bool FileDownload::CheckDownload()
{
    QFile file(GetFileName());
    if (!file.open(QIODevice::ReadOnly)) {
        DOWNLOAD_LOG(ERROR) << "Checking download failed to open file '" << GetFileName() << '\'';
        return false;
    }
    if (expectedSize_ >= 0 && file.size() != expectedSize_) {
        DOWNLOAD_LOG(ERROR) << "Checking download failed by size! Expected " << expectedSize_
                            << " bytes, downloaded " << file.size() << " bytes.";
        return false;
    }
    const auto* state = findChild<DownloadState*>(QString(), Qt::FindDirectChildrenOnly);
    return HasDigest(file, QCryptographicHash::Md5, expectedMd5_) &&
           HasDigest(file, state->algorithm, state->digest);
}

bool FileDownload::HasDigest(QFile& file, QCryptographicHash::Algorithm algorithm,
                             const QString& expected) const
{
    if (expected.isEmpty())
        return true;
    file.seek(0);
    const QString digest = tools::string::DigestOf(file, algorithm);
    if (digest.compare(expected, Qt::CaseInsensitive) == 0)
        return true;
    DOWNLOAD_LOG_FROM("CheckDownload", ERROR) << "Checking download failed by checksum! Expected '"
                                              << expected << "', downloaded '" << digest << '\'';
    return false;
}

} // namespace common::http
#include "filedownload.moc"
