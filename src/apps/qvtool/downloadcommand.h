#pragma once

#include "command.h"
#include "progress.h"

#include <common/http/filedownload.h>

#include <QNetworkAccessManager>

namespace qvtool {

/**
 * Downloads to FILE.part and renames that to FILE once it is verified, so FILE never holds half a
 * download.
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
    QString PartName() const;
    QString TargetProblem() const;
    void OnProgress(qint64 received, qint64 total);
    void OnComplete();
    void OnFailed(int code, const QString& message);
    QString FailureReason(int code) const;
    void FailWith(const QString& reason);

    QNetworkAccessManager manager_;
    common::http::IFileDownload* download_;
    Progress progress_;
    QString target_;
    qint64 expectedSize_ = -1;
    qint64 received_ = 0;
};

} // namespace qvtool
