#include "downloadcommand.h"

#include "interrupt.h"
#include "proxy.h"
#include "text.h"

#include <common/tools/string/converter.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QNetworkReply>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <sys/stat.h>

namespace qvtool {

namespace {

constexpr int verificationError = 900103;
constexpr int httpOk = 200;

const auto sizeOption = QStringLiteral("size");
const auto md5Option = QStringLiteral("md5");
const auto sha256Option = QStringLiteral("sha256");
const auto triesOption = QStringLiteral("tries");
const auto timeoutOption = QStringLiteral("timeout");
const auto insecureOption = QStringLiteral("insecure");

// Renaming would replace a link instead of the file it leads to.
QString ThroughLinks(const QString& path)
{
    const QFileInfo info(path);
    if (info.exists())
        return info.canonicalFilePath();
    return info.isSymLink() ? info.symLinkTarget() : path;
}

// What a program gives a new file, for want of a way to ask without changing it.
QFile::Permissions UsualPermissions()
{
    const mode_t mask = umask(0);
    umask(mask);
    QFile::Permissions permissions = QFile::ReadOwner | QFile::WriteOwner;
    const auto add = [&](mode_t bit, QFile::Permission permission) {
        if (!(mask & bit))
            permissions |= permission;
    };
    add(S_IRGRP, QFile::ReadGroup);
    add(S_IWGRP, QFile::WriteGroup);
    add(S_IROTH, QFile::ReadOther);
    add(S_IWOTH, QFile::WriteOther);
    return permissions;
}

// Why the path cannot be the target; empty if it can.
QString TargetProblem(const QString& path)
{
    const QFileInfo target(path);
    if (target.isDir() || path.endsWith(QLatin1Char('/')))
        return QStringLiteral("it is a directory");
    if (target.exists() && !target.isFile())
        return QStringLiteral("it is not a regular file");
    if (target.exists() && !target.isWritable())
        return QStringLiteral("it is write-protected");
    if (!QDir().mkpath(target.absolutePath()))
        return QStringLiteral("its directory cannot be created");
    return QString();
}

} // namespace

DownloadCommand::DownloadCommand(ToolLogger& log)
    : Command(QStringLiteral("download"),
              QStringLiteral("Download a URL into a file and verify it."), log),
      download_(common::http::CreateFileDownload(&manager_, this)),
      progress_(stderr, Progress::Bytes)
{
    manager_.setRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
    connect(&manager_, &QNetworkAccessManager::finished, this, &DownloadCommand::OnReplyFinished);
    connect(download_, &common::http::IFileDownload::progress, this, &DownloadCommand::OnProgress);
    connect(download_, &common::http::IFileDownload::complete, this, &DownloadCommand::OnComplete);
    connect(download_, &common::http::IFileDownload::failed, this, &DownloadCommand::OnFailed);
}

void DownloadCommand::Declare(QCommandLineParser& parser)
{
    parser.addPositionalArgument(QStringLiteral("URL"),
                                 QStringLiteral("Address, http:// or https://. The proxies of "
                                                "http_proxy, https_proxy and no_proxy are used."));
    parser.addOption({insecureOption, QStringLiteral("Do not verify the server's certificate.")});
    parser.addPositionalArgument(QStringLiteral("FILE"),
                                 QStringLiteral("Target; it is replaced once the download is "
                                                "complete and verified, not before."));
    parser.addOption({sizeOption, QStringLiteral("Expected size in bytes."), QStringLiteral("N")});
    parser.addOption({md5Option, QStringLiteral("Expected MD5 digest."), QStringLiteral("HEX")});
    parser.addOption(
        {sha256Option, QStringLiteral("Expected SHA-256 digest."), QStringLiteral("HEX")});
    parser.addOption({triesOption, QStringLiteral("Tries in all, 5 seconds apart (1)."),
                      QStringLiteral("N"), QStringLiteral("1")});
    parser.addOption({timeoutOption,
                      QStringLiteral("Longest silence of the server (30), 0 for no limit."),
                      QStringLiteral("SECONDS"), QStringLiteral("30")});
}

void DownloadCommand::Configure(Arguments& arguments)
{
    arguments.ExpectPositionals({QStringLiteral("URL"), QStringLiteral("FILE")});
    target_ = ThroughLinks(arguments.Positional(1));
    if (target_.isEmpty())
        arguments.Fail(QStringLiteral("FILE is empty"));
    expectedSize_ = arguments.Size(sizeOption);

    download_->SetUrl(arguments.HttpUrl(0));
    download_->SetPeerVerification(!arguments.Has(insecureOption));
    UseProxiesOfEnvironment();
    download_->SetExpectedMD5(arguments.Digest(md5Option, 32));
    sha256_ = arguments.Digest(sha256Option, 64);
    download_->SetExpectedDigest(QCryptographicHash::Sha256, sha256_);
    download_->SetRetryCount(static_cast<unsigned int>(arguments.Number(triesOption, 1)));
    download_->SetTimeout(arguments.Number(timeoutOption, 0));
}

void DownloadCommand::Start()
{
    if (!ReservePart())
        return;
    download_->SetFileName(part_->fileName());
    download_->SetExpectedSize(expectedSize_);
    progress_.Start();
    download_->Start();
}

// Makes a file beside the target that is nobody else's.
bool DownloadCommand::ReservePart()
{
    QString problem = TargetProblem(target_);
    if (problem.isEmpty()) {
        part_ = std::make_unique<QTemporaryFile>(target_ + QStringLiteral(".XXXXXX.part"));
        if (part_->open())
            return true;
        problem = part_->errorString();
    }
    Fail(QStringLiteral("cannot write '%1': %2").arg(target_, problem));
    return false;
}

QString DownloadCommand::Stop()
{
    download_->Abort();
    progress_.Finish();
    part_.reset();
    return QStringLiteral("'%1' was not written").arg(target_);
}

void DownloadCommand::OnReplyFinished(QNetworkReply* reply)
{
    status_ = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    coding_ = reply->rawHeader("Content-Encoding");
    // A broken connection can look like success to the network layer; the announced size tells.
    const QVariant announced = reply->header(QNetworkRequest::ContentLengthHeader);
    if (expectedSize_ < 0)
        download_->SetExpectedSize(announced.isValid() ? announced.toLongLong() : -1);
}

void DownloadCommand::OnProgress(qint64 received, qint64 total)
{
    received_ = received;
    progress_.Update(received, total);
}

void DownloadCommand::OnComplete()
{
    progress_.Finish();
    if (status_ != httpOk)
        return FailWith(QStringLiteral("the server sent no file, but status %1").arg(status_));
    const qint64 size = QFileInfo(part_->fileName()).size();
    if (size < received_)
        return FailWith(Incomplete());

    QString md5 = download_->GetExpectedMD5().toLower();
    QFile content(part_->fileName());
    if (md5.isEmpty() && content.open(QIODevice::ReadOnly))
        md5 = tools::string::converter::ToMD5(content);
    if (Interrupt::HasCome())
        return; // while the file was verified: the event loop will tell
    const QString problem = MoveIntoPlace();
    if (!problem.isEmpty())
        return FailWith(problem);

    if (download_->GetExpectedSize() < 0 && download_->GetExpectedMD5().isEmpty() &&
        sha256_.isEmpty())
        PrintError(QStringLiteral("the server announced no size: give --size or --sha256 to be "
                                  "sure that '%1' is complete")
                       .arg(target_));
    if (!coding_.isEmpty() && coding_ != "identity")
        PrintError(QStringLiteral("'%1' is stored as it was sent, encoded with %2")
                       .arg(target_, QString::fromLatin1(coding_)));
    if (PrintLine(stdout,
                  QStringLiteral("%1  %2 bytes  MD5 %3").arg(target_, QString::number(size), md5)))
        Finish(Success);
    else
        Fail(
            QStringLiteral("'%1' is complete, but standard output cannot be written").arg(target_));
}

// Gives the file the permissions and the name of the target; what went wrong, or empty.
QString DownloadCommand::MoveIntoPlace()
{
    const QFileInfo old(target_);
    const QString name = part_->fileName();
    QFile::setPermissions(name, old.exists() ? old.permissions() : UsualPermissions());
    if (std::rename(QFile::encodeName(name).constData(), QFile::encodeName(target_).constData()) !=
        0)
        return QString::fromLocal8Bit(std::strerror(errno));
    part_->setAutoRemove(false);
    return QString();
}

void DownloadCommand::OnFailed(int code, const QString& message)
{
    progress_.Finish();
    if (code != verificationError)
        return FailWith(message);
    const bool written = QFileInfo(part_->fileName()).size() >= received_;
    const QString reason = written ? Log().LastFailure("CheckDownload") : Incomplete();
    FailWith(QStringLiteral("%1 (%2)").arg(message, reason));
}

QString DownloadCommand::Incomplete() const
{
    return QStringLiteral("only %1 of %2 bytes could be written, is the disk full?")
        .arg(QFileInfo(part_->fileName()).size())
        .arg(received_);
}

void DownloadCommand::FailWith(const QString& reason)
{
    part_.reset();
    const QUrl url = download_->GetUrl();
    Fail(QStringLiteral("%1 -> '%2': %3")
             .arg(url.toDisplayString(), target_, WithoutPassword(reason, url)));
}

} // namespace qvtool
