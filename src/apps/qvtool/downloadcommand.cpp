#include "downloadcommand.h"

#include "text.h"

#include <common/tools/string/converter.h>

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace qvtool {

namespace {

constexpr int prepareFileError = 900102;
constexpr int verificationError = 900103;

const auto sizeOption = QStringLiteral("size");
const auto md5Option = QStringLiteral("md5");
const auto triesOption = QStringLiteral("tries");
const auto timeoutOption = QStringLiteral("timeout");

// Renaming would replace a link instead of the file it leads to.
QString ThroughLinks(const QString& path)
{
    const QString canonical = QFileInfo(path).canonicalFilePath();
    return canonical.isEmpty() ? path : canonical;
}

} // namespace

DownloadCommand::DownloadCommand(ToolLogger& log)
    : Command(QStringLiteral("download"),
              QStringLiteral("Download a URL into a file and verify it."), log),
      download_(common::http::CreateFileDownload(&manager_, this)),
      progress_(stderr)
{
    connect(download_, &common::http::IFileDownload::progress, this, &DownloadCommand::OnProgress);
    connect(download_, &common::http::IFileDownload::complete, this, &DownloadCommand::OnComplete);
    connect(download_, &common::http::IFileDownload::failed, this, &DownloadCommand::OnFailed);
}

void DownloadCommand::Declare(QCommandLineParser& parser)
{
    parser.addPositionalArgument(QStringLiteral("URL"),
                                 QStringLiteral("Address, http:// or https:// (the server's "
                                                "certificate is not verified)."));
    parser.addPositionalArgument(QStringLiteral("FILE"),
                                 QStringLiteral("Target; it is replaced once the download is "
                                                "complete, until then FILE.part is written."));
    parser.addOption({sizeOption, QStringLiteral("Expected size in bytes."), QStringLiteral("N")});
    parser.addOption({md5Option, QStringLiteral("Expected MD5 digest."), QStringLiteral("HEX")});
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
    expectedSize_ = arguments.Size(sizeOption);

    download_->SetUrl(arguments.HttpUrl(0));
    download_->SetFileName(PartName());
    download_->SetExpectedMD5(arguments.Md5(md5Option));
    download_->SetRetryCount(static_cast<unsigned int>(arguments.Number(triesOption, 1)));
    download_->SetTimeout(arguments.Number(timeoutOption, 0));
}

QString DownloadCommand::PartName() const
{
    return target_ + QStringLiteral(".part");
}

QString DownloadCommand::TargetProblem() const
{
    const QFileInfo target(target_);
    if (target.isDir() || target_.endsWith(QLatin1Char('/')))
        return QStringLiteral("it is a directory");
    if (target.exists() && !target.isFile())
        return QStringLiteral("it is not a regular file");
    return QString();
}

void DownloadCommand::Start()
{
    const QString problem = TargetProblem();
    if (!problem.isEmpty())
        return Fail(QStringLiteral("cannot write '%1': %2").arg(target_, problem));
    download_->SetExpectedSize(expectedSize_);
    download_->Start();
}

QString DownloadCommand::Stop()
{
    download_->Abort();
    progress_.Finish();
    QFile::remove(PartName());
    return QStringLiteral("'%1' was not written").arg(target_);
}

void DownloadCommand::OnProgress(qint64 received, qint64 total)
{
    received_ = received;
    // A broken connection looks like success to the network layer; the announced size tells.
    if (expectedSize_ < 0)
        download_->SetExpectedSize(total);
    progress_.Update(received, total);
}

void DownloadCommand::OnComplete()
{
    progress_.Finish();
    QFile part(PartName());
    const qint64 size = part.size();
    if (size < received_)
        return FailWith(FailureReason(verificationError));

    QString md5 = download_->GetExpectedMD5().toLower();
    if (md5.isEmpty() && part.open(QIODevice::ReadOnly))
        md5 = tools::string::converter::ToMD5(part);
    part.close();
    if (std::rename(QFile::encodeName(PartName()).constData(),
                    QFile::encodeName(target_).constData()) != 0)
        return FailWith(QString::fromLocal8Bit(std::strerror(errno)));

    const bool told = PrintLine(
        stdout, QStringLiteral("%1  %2 bytes  MD5 %3").arg(target_, QString::number(size), md5));
    Finish(told ? Success : JobFailed);
}

void DownloadCommand::OnFailed(int code, const QString& message)
{
    progress_.Finish();
    const QString reason = FailureReason(code);
    FailWith(reason.isEmpty() ? message : message + QStringLiteral(" (%1)").arg(reason));
}

// What the library tells in its log only.
QString DownloadCommand::FailureReason(int code) const
{
    const qint64 written = QFileInfo(PartName()).size();
    if (code == prepareFileError)
        return Log().LastFailure("PrepareFile");
    if (code != verificationError)
        return QString();
    if (written < received_)
        return QStringLiteral("only %1 of %2 bytes could be written, is the disk full?")
            .arg(QString::number(written), QString::number(received_));
    return Log().LastFailure("CheckDownload");
}

void DownloadCommand::FailWith(const QString& reason)
{
    QFile::remove(PartName());
    Fail(QStringLiteral("%1 -> '%2': %3")
             .arg(download_->GetUrl().toDisplayString(), target_, reason));
}

} // namespace qvtool
