#include "commands.h"
#include "network.h"

#include <common/tools/string/converter.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

#include <cerrno>
#include <cstdio>
#include <limits>
#include <memory>

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
    }

    QString Path() const { return path_; }
    bool IsOutput() const { return isOutput_; }
    QString PartPath() const { return part_.fileName(); }
    qint64 PartSize() const { return QFileInfo(PartPath()).size(); }

    /** Makes the file to download to; what went wrong, or empty. */
    QString Reserve()
    {
        const QString problem = isStream_ ? QString() : Problem();
        if (!problem.isEmpty())
            return problem;
        // The name is short: that of the target may have all the length there is.
        const QString dir = isStream_ ? QDir::tempPath() : QFileInfo(path_).absolutePath();
        part_.setFileTemplate(dir + "/.qvtool-XXXXXX.part");
        return part_.open() ? QString() : part_.errorString();
    }

    /** Puts what was downloaded where it belongs; what went wrong, or empty. */
    QString Deliver() { return isStream_ ? Pour() : Rename(); }

private:
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

    QString Problem() const
    {
        const QFileInfo info(path_);
        if (info.isDir() || path_.endsWith('/'))
            return "it is a directory";
        if (info.exists() && !info.isWritable())
            return "it is write-protected";
        return QDir().mkpath(info.absolutePath()) ? QString() : "its directory cannot be created";
    }

    // The new file has the permissions of the old one, or those of any new file.
    QString Rename()
    {
        const QByteArray from = QFile::encodeName(PartPath());
        const QByteArray to = QFile::encodeName(path_);
        struct stat old = {};
        const mode_t mask = umask(0);
        umask(mask);
        const mode_t mode = stat(to.constData(), &old) == 0 ? old.st_mode & 0777 : 0666 & ~mask;
        if (chmod(from.constData(), mode) != 0 ||
            std::rename(from.constData(), to.constData()) != 0)
            return qt_error_string(errno);
        part_.setAutoRemove(false);
        return QString();
    }

    QString Pour()
    {
        constexpr int pieceSize = 64 * 1024;
        QFile sink(path_);
        unlink(QFile::encodeName(PartPath()).constData()); // it can still be read
        part_.seek(0);
        ReleaseSignals(); // so nothing is left behind: waiting for a reader may be ended any time
        if (!(isOutput_ ? sink.open(STDOUT_FILENO, QIODevice::WriteOnly | QIODevice::Unbuffered)
                        : sink.open(QIODevice::WriteOnly | QIODevice::Unbuffered)))
            return sink.errorString();
        for (QByteArray piece; !(piece = part_.read(pieceSize)).isEmpty();) {
            if (sink.write(piece) != piece.size())
                return sink.errorString();
        }
        return part_.error() == QFileDevice::NoError ? QString() : part_.errorString();
    }

    bool isOutput_;
    QString path_;
    bool isStream_;
    QTemporaryFile part_;
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

// Why there is no usable file; empty if there is one.
QString Problem(const Fetched& fetched, const Network& network, const Target& target, Call& call,
                const QUrl& url)
{
    if (fetched.error != 0 && fetched.error != verificationError)
        return network.Reason(fetched.message, url);
    if (target.PartSize() < fetched.received)
        return QString("only %1 of %2 bytes could be written, is the disk full?")
            .arg(target.PartSize())
            .arg(fetched.received);
    if (fetched.error != 0)
        return QString("%1 (%2)").arg(fetched.message, call.Log().LastFailure("CheckDownload"));
    if (network.Status() != httpOk)
        return "the server sent no file, but status " + network.StatusLine();
    return QString();
}

int Download(Call& call)
{
    Network network;
    const std::unique_ptr<IFileDownload> download(
        common::http::CreateFileDownload(&network, nullptr));
    download->SetRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
    Configure(*download, call);
    Target target(call.Positional(1));
    if (target.Path().isEmpty())
        call.Reject("FILE is empty");
    if (call.IsRejected())
        return call.Rejection();
    QString problem = target.Reserve();
    if (!problem.isEmpty())
        return call.Fail(QString("cannot write '%1': %2").arg(target.Path(), problem));

    const bool isSizeGiven = download->GetExpectedSize() >= 0;
    // A broken connection can look like success to the network layer; the announced size tells.
    QObject::connect(&network, &Network::finished, download.get(), [&] {
        if (!isSizeGiven)
            download->SetExpectedSize(network.AnnouncedSize());
    });
    download->SetFileName(target.PartPath());
    Progress progress(Progress::Bytes, call.IsQuiet());
    Network::UseProxiesOfEnvironment();
    const Fetched fetched = Fetch(*download, progress);
    const QUrl url = download->GetUrl();
    problem = Problem(fetched, network, target, call, url);
    const qint64 size = target.PartSize();
    QString md5 = call.Text("md5").toLower();
    QFile content(target.PartPath());
    if (problem.isEmpty() && md5.isEmpty() && content.open(QIODevice::ReadOnly))
        md5 = tools::string::converter::ToMD5(content);
    if (SignalThatCame() != 0) // perhaps while the file was read
        return call.Interrupted(QString("'%1' was not written").arg(target.Path()));
    if (problem.isEmpty())
        problem = target.Deliver();
    if (!problem.isEmpty())
        return call.Fail(
            QString("%1 -> '%2': %3").arg(url.toDisplayString(), target.Path(), problem));

    if (download->GetExpectedSize() < 0 && !call.Has("md5") && !call.Has("sha256"))
        call.Note(QString("the server announced no size: give --size or --sha256 to be sure that "
                          "'%1' is complete")
                      .arg(target.Path()));
    if (!network.Coding().isEmpty() && network.Coding() != "identity")
        call.Note(QString("'%1' is stored as it was sent, encoded with %2")
                      .arg(target.Path(), network.Coding()));
    if (target.IsOutput())
        return Success;
    return call.Summarise(
        QString("%1  %2 bytes  MD5 %3").arg(Escaped(target.Path()), QString::number(size), md5),
        {{"file", target.Path()}, {"size", size}, {"md5", md5}});
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
    Options{{"size", "N", "Expected size in bytes."},
            {"md5", "HEX", "Expected MD5 digest."},
            {"sha256", "HEX", "Expected SHA-256 digest."}} +
        NetworkOptions() + Options{jsonOption},
    &Download,
};

} // namespace qvtool
