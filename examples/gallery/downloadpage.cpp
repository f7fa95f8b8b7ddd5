#include "downloadpage.h"

#include <common/tools/string/converter.h>

#include <QCheckBox>
#include <QFormLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QRandomGenerator>

using common::http::IFileDownload;
using loopback::Reply;

namespace {

constexpr int fileSize = 64 * 1024 * 1024;
constexpr int mebibyte = 1024 * 1024;

QByteArray RandomFile()
{
    QByteArray file(fileSize, Qt::Uninitialized);
    QRandomGenerator(1).fillRange(reinterpret_cast<quint32*>(file.data()),
                                  fileSize / int(sizeof(quint32)));
    return file;
}

} // namespace

DownloadPage::DownloadPage()
    : Page("Download", "A file from a server inside this program, verified by size and MD5 digest. "
                       "A try that fails is followed by another one five seconds later."),
      file_(RandomFile()),
      server_([this](const loopback::Request& request) { return Serve(request); }),
      damage_(new QCheckBox("Damage the file at the first try")),
      start_(NewButton("Download")),
      abort_(NewButton("Abort")),
      bar_(new QProgressBar),
      state_(new QLabel("Ready."))
{
    bar_->setRange(0, fileSize / mebibyte);
    bar_->setValue(0);
    bar_->setFormat("%v of %m MiB");
    bar_->setMinimumHeight(28);
    abort_->setEnabled(false);
    connect(start_, &QPushButton::clicked, this, &DownloadPage::Start);
    connect(abort_, &QPushButton::clicked, this, &DownloadPage::Abort);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(start_);
    buttons->addWidget(abort_);
    buttons->addSpacing(12);
    buttons->addWidget(damage_);
    buttons->addStretch();
    auto* form = NewForm();
    target_ = AddValue(form, "File");
    digest_ = AddValue(form, "Expected MD5");
    target_->setText(directory_.filePath("download.bin"));
    digest_->setText(tools::string::converter::ToMD5(file_));
    Content()->addLayout(buttons);
    Content()->addWidget(bar_);
    Content()->addWidget(state_);
    Content()->addLayout(form);
    Content()->addStretch();
    if (!server_.Listen())
        ShowEnd(server_.errorString());
}

DownloadPage::~DownloadPage()
{
    delete download_; // before the manager
}

void DownloadPage::Rehearse()
{
    Start();
}

Reply DownloadPage::Serve(const loopback::Request&)
{
    Reply reply = Reply::Ok(file_, "application/octet-stream");
    reply.pieceSize = 256 * 1024;
    reply.pause = 12;
    if (damageNext_)
        reply.body[fileSize / 2] = static_cast<char>(~reply.body[fileSize / 2]);
    damageNext_ = false;
    return reply;
}

void DownloadPage::Start()
{
    damageNext_ = damage_->isChecked();
    download_ = common::http::CreateFileDownload(&manager_, nullptr);
    download_->SetUrl(server_.Url("/download.bin"));
    download_->SetFileName(target_->text());
    download_->SetExpectedSize(file_.size());
    download_->SetExpectedMD5(digest_->text());
    download_->SetRetryCount(2);
    connect(download_, &IFileDownload::progress, this, &DownloadPage::ShowProgress);
    connect(download_, &IFileDownload::complete, this,
            [this] { ShowEnd("Complete: size and digest are as expected."); });
    connect(download_, &IFileDownload::failed, this, [this](int code, const QString& text) {
        ShowEnd(QString("%1: %2").arg(code).arg(text));
    });
    start_->setEnabled(false);
    abort_->setEnabled(true);
    state_->setText("Starting ...");
    clock_.start();
    download_->Start();
}

void DownloadPage::Abort()
{
    if (download_)
        download_->Abort();
    ShowEnd("Aborted; the file holds what had arrived.");
}

void DownloadPage::ShowProgress(qint64 received, qint64 total)
{
    bar_->setValue(static_cast<int>(received / mebibyte));
    const double seconds = static_cast<double>(clock_.elapsed()) / 1000;
    state_->setText(
        received == total
            ? QString("Verifying ...")
            : QString("%1 MiB/s").arg(double(received) / mebibyte / seconds, 0, 'f', 1));
    if (received == total)
        clock_.start(); // for a further try
}

void DownloadPage::ShowEnd(const QString& text)
{
    if (download_)
        download_->deleteLater();
    state_->setText(text);
    start_->setEnabled(true);
    abort_->setEnabled(false);
}
