#pragma once

#include "command.h"
#include "demoserver.h"
#include "progress.h"

#include <common/http/httprequest.h>

#include <QNetworkAccessManager>
#include <QTemporaryDir>

#include <memory>

namespace qvtool {

/**
 * Shows the library at work against a loopback server of its own: a transcript, a step at a time.
 * Each step checks what came out of it.
 */
class Demo : public Command
{
    Q_OBJECT

public:
    explicit Demo(ToolLogger& log);

protected:
    void Declare(QCommandLineParser& parser) override;
    void Configure(Arguments& arguments) override;
    void Start() override;
    QString Stop() override;

private:
    struct Step
    {
        const char* title;
        bool (Demo::*run)();
    };
    struct Outcome
    {
        bool success = false;
        QByteArray body;
    };

    void RunSteps();
    bool RunStep(int number, const Step& step);
    bool GetWithForm();
    bool PostJson();
    bool PostMultiPart();
    bool GetCompressed();
    bool SurviveDroppedConnection();
    bool DownloadVerified();
    bool CopyAndRemove();
    bool ParseAddresses();
    bool StoreSecret();
    bool KeepSettings();
    bool ShowLog();

    common::http::IHttpRequest* NewRequest(const QString& path);
    Outcome Await(common::http::IHttpRequest* request,
                  common::http::IHttpRequest::HTTPRequestMethod method);
    template <typename Front>
    bool AwaitJob(Front& front, bool (Front::*start)());
    void Tell(const QString& line);
    void Say(const QString& text);

    QByteArray file_;
    std::unique_ptr<DemoServer> server_;
    QNetworkAccessManager manager_;
    std::unique_ptr<QTemporaryDir> directory_;
    Progress progress_;
    bool stopped_ = false;
    bool told_ = true; // whether all of the transcript could be written
};

} // namespace qvtool
