#pragma once

#include "page.h"

#include <common/http/filedownload.h>
#include <loopback/server.h>

#include <QElapsedTimer>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QTemporaryDir>

class QCheckBox;
class QProgressBar;
class QPushButton;

/** A verified download from a server of the gallery's own. */
class DownloadPage : public Page
{
    Q_OBJECT

public:
    DownloadPage();
    ~DownloadPage() override;

    void Rehearse() override;
    int RehearsalTime() const override { return 1200; }

private:
    loopback::Reply Serve(const loopback::Request& request);
    void Start();
    void Abort();
    void ShowProgress(qint64 received, qint64 total);
    void ShowEnd(const QString& text);

    QByteArray file_;
    loopback::Server server_;
    QTemporaryDir directory_;
    QNetworkAccessManager manager_;
    QPointer<common::http::IFileDownload> download_;
    QElapsedTimer clock_;
    bool damageNext_ = false;

    QCheckBox* damage_;
    QPushButton* start_;
    QPushButton* abort_;
    QProgressBar* bar_;
    QLabel* state_;
    QLabel* target_;
    QLabel* digest_;
};
