#include "command.h"
#include "job.h"
#include "network.h"

#include <common/http/filedownload.h>
#include <common/tools/string/converter.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <limits>
#include <memory>
#include <optional>

#include <sys/stat.h>
#include <unistd.h>

namespace qvtool {

using common::http::IFileDownload;

namespace {

constexpr int verificationError = 900103;
constexpr int httpOk = 200;

// Where the download goes once it is verified. It grows in a file of its own, which goes with this.
class Target
{
public:
    explicit Target(const QString& given)
        : isOutput_(given == "-" || given == "/dev/stdout"),
          path_(ThroughLinks(given)),
          isStream_(isOutput_ || given.startsWith("/dev/fd/") || IsSpecial(path_))
    {
        const QFileInfo info(path_);
        if (!isStream_ && (info.isDir() || path_.endsWith('/')))
            FailToWrite("it is a directory");
        if (!isStream_ && info.exists() && !info.isWritable())
            FailToWrite("it is write-protected");
        if (!isStream_ && !QDir().mkpath(info.absolutePath()))
            FailToWrite("its directory cannot be created");
        CatchSignals();
        // The names are short: that of the target may have all the length there is.
        directory_.emplace((isStream_ ? QDir::tempPath() : info.absolutePath()) +
                           "/.qvtool-XXXXXX");
        if (!directory_->isValid())
            FailToWrite(directory_->errorString());
        part_.setFileName(directory_->filePath("part"));
    }

    QString Path() const { return path_; }
    bool IsOutput() const { return isOutput_; }
    /** What to download into. */
    QFile& Part() { return part_; }
    qint64 PartSize() const { return QFileInfo(part_.fileName()).size(); }

    /** Puts what was downloaded where it belongs. */
    void Deliver() { isStream_ ? Pour() : Rename(); }

private:
    [[noreturn]] void FailToWrite(const QString& reason) const
    {
        Fail(QString("cannot write '%1': %2").arg(path_, reason));
    }

    static bool IsSpecial(const QString& path)
    {
        const QFileInfo info(path);
        return info.exists() && !info.isFile() && !info.isDir();
    }

    // Renaming would replace a link instead of the file it leads to.
    static QString ThroughLinks(const QString& path)
    {
        const QFileInfo info(path);
        if (!info.isSymLink())
            return path;
        const QString target = info.exists() ? info.canonicalFilePath() : info.symLinkTarget();
        return target.isEmpty() ? path : target; // one in /dev/fd may lead nowhere
    }

    // The new file has the permissions of the old one.
    void Rename()
    {
        const QByteArray from = QFile::encodeName(part_.fileName());
        const QByteArray to = QFile::encodeName(path_);
        struct stat old = {};
        if ((stat(to.constData(), &old) == 0 && chmod(from.constData(), old.st_mode & 0777) != 0) ||
            std::rename(from.constData(), to.constData()) != 0)
            FailToWrite(qt_error_string(errno));
    }

    void Pour()
    {
        constexpr int pieceSize = 64 * 1024;
        constexpr auto mode = QIODevice::WriteOnly | QIODevice::Unbuffered;
        QFile sink(path_);
        // The open file can still be read. As nothing is left behind, waiting for a reader may be
        // ended at any time.
        directory_->remove();
        HandleSignals(SIG_DFL);
        part_.seek(0);
        if (!(isOutput_ ? sink.open(STDOUT_FILENO, mode) : sink.open(mode)))
            FailToWrite(sink.errorString());
        for (QByteArray piece; !(piece = part_.read(pieceSize)).isEmpty();) {
            if (sink.write(piece) != piece.size())
                FailToWrite(sink.errorString());
        }
        if (part_.error() != QFileDevice::NoError)
            FailToWrite(part_.errorString());
    }

    bool isOutput_;
    QString path_;
    bool isStream_;
    std::optional<QTemporaryDir> directory_;
    QFile part_;
};

void Configure(IFileDownload& download, Call& call)
{
    download.SetUrl(call.HttpUrl());
    download.SetPeerVerification(!call.Has("insecure"));
    download.SetExpectedMD5(call.Digest("md5", 32));
    download.SetExpectedDigest(QCryptographicHash::Sha256, call.Digest("sha256", 64));
    download.SetExpectedSize(
        call.Has("size") ? call.Number("size", 0, std::numeric_limits<qint64>::max()) : -1);
    download.SetRetryCount(unsigned(call.Number("tries", 1)));
    download.SetTimeout(int(call.Number("timeout", 0)));
}

// Fails unless there is a usable file.
void Check(const Outcome& outcome, const Network& network, const Target& target, Call& call,
           const QUrl& url)
{
    const QString address = url.toDisplayString() + ": ";
    EndIfInterrupted(address + QString("'%1' was not written").arg(target.Path()));
    if (outcome.error != 0 && outcome.error != verificationError)
        Fail(address + network.Reason(outcome.message, url));
    if (target.PartSize() < outcome.done)
        Fail(QString("only %1 of %2 bytes could be written, is the disk full?")
                 .arg(target.PartSize())
                 .arg(outcome.done));
    if (outcome.error != 0)
        Fail(QString("%1%2 (%3)")
                 .arg(address, outcome.message, call.Log().LastFailure("CheckDownload")));
    if (network.Head().status != httpOk)
        Fail(address + "the server sent no file, but status " + network.Head().StatusLine());
}

int Download(Call& call)
{
    Network network;
    const std::unique_ptr<IFileDownload> download(
        common::http::CreateFileDownload(&network, nullptr));
    download->SetRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
    Configure(*download, call);
    if (call.Positional(1).isEmpty())
        Reject("FILE is empty");
    Target target(call.Positional(1));

    const bool isSizeGiven = download->GetExpectedSize() >= 0;
    // A broken connection can look like success to the network layer; the announced size tells.
    QObject::connect(&network, &Network::finished, download.get(), [&] {
        if (!isSizeGiven)
            download->SetExpectedSize(network.Head().announcedSize);
    });
    download->SetFileName(target.Part().fileName());
    Network::UseProxiesOfEnvironment();
    const Outcome outcome = Run(
        *download, &IFileDownload::complete, &IFileDownload::progress,
        Progress(Progress::Bytes, call.IsQuiet()), [&] { download->Start(); },
        [&] { download->Abort(); });
    Check(outcome, network, target, call, download->GetUrl());
    const qint64 size = target.PartSize();
    if (!target.Part().open(QIODevice::ReadOnly))
        Fail(target.Part().errorString());
    const QString md5 = call.Has("md5") ? call.Text("md5").toLower()
                                        : tools::string::converter::ToMD5(target.Part());
    EndIfInterrupted(QString("'%1' was not written").arg(target.Path()));
    target.Deliver();

    if (download->GetExpectedSize() < 0 && !call.Has("md5") && !call.Has("sha256"))
        call.Note(QString("the server announced no size: give --size or --sha256 to be sure that "
                          "'%1' is complete")
                      .arg(target.Path()));
    const QString coding = network.Head().coding;
    if (!coding.isEmpty() && coding != "identity")
        call.Note(
            QString("'%1' is stored as it was sent, encoded with %2").arg(target.Path(), coding));
    if (!target.IsOutput())
        call.Summarise(
            QString("%1  %2 bytes  MD5 %3").arg(Escaped(target.Path()), QString::number(size), md5),
            {{"file", target.Path()}, {"size", size}, {"md5", md5}});
    return Success;
}

} // namespace

const Command downloadCommand = {
    "download",
    "Download a URL into a file and verify it.",
    {urlArgument,
     {"FILE",
      "File to write. It is created or replaced only when the download is complete and "
      "verified. Standard output (-), pipes and devices receive the bytes only then, too; with "
      "'-', no result is printed."}},
    Options{{"size", "Expected size in bytes.", "N"},
            {"md5", "Expected MD5 digest.", "HEX"},
            {"sha256", "Expected SHA-256 digest.", "HEX"}} +
        networkOptions + Options{jsonOption},
    &Download,
};

} // namespace qvtool
