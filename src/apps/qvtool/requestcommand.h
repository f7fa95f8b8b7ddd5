#pragma once

#include "command.h"

#include <common/http/httprequest.h>

#include <QNetworkAccessManager>

namespace qvtool {

/** Sends one request and writes the body of the reply to standard output. */
class RequestCommand : public Command
{
    Q_OBJECT

protected:
    RequestCommand(const QString& name, const QString& summary, ToolLogger& log);

    void Declare(QCommandLineParser& parser) override;
    void Configure(Arguments& arguments) override;
    void Start() override;
    QString Stop() override;

    common::http::IHttpRequest& Request() { return *request_; }
    QNetworkAccessManager& Manager() { return manager_; }
    /** Sets a URL-encoded body from the --form options, if there are any. */
    void SetForm(Arguments& arguments);
    virtual bool Send() = 0;

private:
    void SetHeaders(Arguments& arguments);
    void OnFinished(const QByteArray& body);
    void OnError(int code, const QString& message, const QByteArray& body);
    QString Address() const;

    QNetworkAccessManager manager_;
    common::http::IHttpRequest* request_;
};

class GetCommand : public RequestCommand
{
    Q_OBJECT

public:
    explicit GetCommand(ToolLogger& log);

protected:
    void Declare(QCommandLineParser& parser) override;
    void Configure(Arguments& arguments) override;
    bool Send() override;
};

class PostCommand : public RequestCommand
{
    Q_OBJECT

public:
    explicit PostCommand(ToolLogger& log);

protected:
    void Declare(QCommandLineParser& parser) override;
    void Configure(Arguments& arguments) override;
    void Start() override;
    bool Send() override;

private:
    void SendJson(const QByteArray& text);
    void SetParts(Arguments& arguments);

    QString jsonFile_; // null for none
};

} // namespace qvtool
