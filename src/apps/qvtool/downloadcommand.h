#pragma once

#include "command.h"
#include "progress.h"

#include <common/http/filedownload.h>

#include <QNetworkAccessManager>
#include <QTemporaryFile>

#include <memory>

namespace qvtool {

/**
 * Downloads to a file of its own beside FILE and renames that to FILE once it is verified, so FILE
 * never holds half a download.
 */
class DownloadCommand : public Command
{
    Q_OBJECT

public:
    explicit DownloadCommand(ToolLogger& log);

protected:
    void Declare(QCommandLineParser& parser) override;
    void Configure(Arguments& arguments) override;
    void Start() override;
    QString Stop() override;

private:
    bool ReservePart();
    void OnReplyFinished(QNetworkReply* reply);
    void OnProgress(qint64 received, qint64 total);
    void OnComplete();
    void OnFailed(int code, const QString& message);
    QString Incomplete() const;
    QString MoveIntoPlace();
    void FailWith(const QString& reason);

    QNetworkAccessManager manager_;
    common::http::IFileDownload* download_;
    Progress progress_;
    std::unique_ptr<QTemporaryFile> part_; // removes itself unless it was moved into place
    QString target_;
    QString sha256_;
    qint64 expectedSize_ = -1;
    qint64 received_ = 0;
    int status_ = 0;
    QByteArray coding_;
};

} // namespace qvtool
