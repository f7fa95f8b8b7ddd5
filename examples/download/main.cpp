// Downloads a file with three tries: example_download URL FILE SHA256

#include <common/http/filedownload.h>
#include <common/logger/ilogger.h>

#include <QCoreApplication>
#include <QFile>

int main(int argc, char* argv[])
{
    const QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    if (args.size() != 4) {
        qCritical("usage: example_download URL FILE SHA256");
        return 2;
    }

    using common::http::IFileDownload;
    common::logger::GetLogger()->SetLevel(common::logger::IMessage::ERROR);
    QNetworkAccessManager manager;
    IFileDownload* download = common::http::CreateFileDownload(&manager, &manager);
    download->SetUrl(QUrl(args[1]));
    download->SetFileName(args[2] + ".part");
    download->SetExpectedDigest(QCryptographicHash::Sha256, args[3]);
    download->SetRetryCount(3);
    QObject::connect(download, &IFileDownload::complete, [args] {
        QCoreApplication::exit(QFile::rename(args[2] + ".part", args[2]) ? 0 : 1);
    });
    QObject::connect(download, &IFileDownload::failed, [] { QCoreApplication::exit(1); });
    return download->Start() ? QCoreApplication::exec() : 1;
}
