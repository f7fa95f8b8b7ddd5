#include "jobpage.h"
#include "pages.h"

#include <common/http/filedownload.h>
#include <common/tools/string/converter.h>
#include <loopback/samples.h>

#include <QCheckBox>
#include <QFile>
#include <QNetworkAccessManager>
#include <QPointer>

using common::http::IFileDownload;

namespace {

/** A download, by default a verified one from a server of the gallery's own. */
class DownloadJob : public Job
{
public:
    DownloadJob() { manager_.setRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy); }
    ~DownloadJob() override { delete download_; } // before the manager

    void Start(const QString& source, const QString& folder) override
    {
        download_ = common::http::CreateFileDownload(&manager_, nullptr);
        if (!source.isEmpty())
            download_->SetUrl(QUrl::fromUserInput(source));
        else if (!ExpectSample())
            return End(server_->errorString());
        const QString name = download_->GetUrl().fileName();
        target_ = FreePath(folder, name.isEmpty() ? QString("download") : name);
        download_->SetFileName(target_ + ".part");
        download_->SetPeerVerification(true);
        connect(download_, &IFileDownload::progress, this, [this](qint64 received, qint64 total) {
            Q_EMIT progress(received == total ? "Verifying" : "Downloading", received, total);
        });
        connect(download_, &IFileDownload::complete, this, &DownloadJob::Finish);
        connect(download_, &IFileDownload::failed, this, [this](int code, const QString& text) {
            End(QString("Failed with code %1: %2").arg(QString::number(code), text));
        });
        Q_EMIT began(QString("From %1 to %2").arg(download_->GetUrl().toDisplayString(), target_));
        download_->Start();
    }

    void Stop() override
    {
        if (!download_)
            return;
        download_->Abort();
        End("Stopped.");
    }

    /** Whether the sample is to be damaged at the first try. */
    void DamageSample(bool damage) { damage_ = damage; }

private:
    bool ExpectSample()
    {
        if (!server_)
            server_ = new loopback::SampleServer(this);
        if (!server_->isListening() && !server_->Listen())
            return false;
        if (damage_)
            server_->DamageNextFile();
        download_->SetUrl(server_->Url("/file"));
        download_->SetExpectedSize(server_->File().size());
        download_->SetExpectedMD5(tools::string::converter::ToMD5(server_->File()));
        download_->SetRetryCount(2);
        return true;
    }

    void Finish()
    {
        const QString md5 = download_->GetExpectedMD5();
        const QString proof = md5.isEmpty() ? "there was no digest to verify it by"
                                            : "verified by the MD5 digest " + md5;
        if (QFile::rename(download_->GetFileName(), target_))
            End(QString("Downloaded to %1, %2").arg(target_, proof));
        else
            End("Cannot create " + target_);
    }

    void End(const QString& result)
    {
        QFile::remove(download_->GetFileName()); // where it was not complete
        download_->deleteLater();
        download_.clear();
        Q_EMIT ended(result);
    }

    loopback::SampleServer* server_ = nullptr; // a child, made on the thread of the job
    QNetworkAccessManager manager_{this};
    QPointer<IFileDownload> download_;
    QString target_;
    bool damage_ = false;
};

} // namespace

Page* NewDownloadPage()
{
    auto* job = new DownloadJob;
    auto* page = new JobPage(
        "Download",
        "A file from an HTTP server. The sample is verified by its size and MD5 "
        "digest, and a failed try is repeated after five seconds. TLS peers are verified.",
        job);
    QFormLayout* form = page->AddForm();
    QLineEdit* url = Page::AddField(form, "&URL", "A sample from a server in this program");
    QLineEdit* folder = Page::AddFolder(form, "&Folder", "A temporary folder");
    auto* damage = new QCheckBox("Da&mage the sample at the first try");
    QObject::connect(damage, &QCheckBox::toggled, job, &DownloadJob::DamageSample);
    page->AddJob(url, folder, "Do&wnload", damage);
    return page;
}
