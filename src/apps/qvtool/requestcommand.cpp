#include "requestcommand.h"

#include "input.h"
#include "proxy.h"
#include "text.h"

#include <common/http/httprequestdatamap.h>
#include <common/http/httprequestmultipartformdata.h>

#include <QFileInfo>
#include <QJsonDocument>
#include <QRegularExpression>

namespace qvtool {

using namespace common::http;

namespace {

const auto headerOption = QStringLiteral("header");
const auto formOption = QStringLiteral("form");
const auto triesOption = QStringLiteral("tries");
const auto intervalOption = QStringLiteral("interval");
const auto timeoutOption = QStringLiteral("timeout");
const auto insecureOption = QStringLiteral("insecure");
const auto jsonOption = QStringLiteral("json");
const auto partOption = QStringLiteral("part");
const auto fileOption = QStringLiteral("file");

const auto pairSyntax = QStringLiteral("NAME=VALUE");

} // namespace

RequestCommand::RequestCommand(const QString& name, const QString& summary, ToolLogger& log)
    : Command(name, summary, log), request_(CreateHttpRequest(&manager_, this))
{
    using ErrorSignal = void (IHttpRequest::*)(int, const QString&, const QByteArray&);
    connect(request_, &IHttpRequest::requestFinishedWithBinaryData, this,
            &RequestCommand::OnFinished);
    connect(request_, static_cast<ErrorSignal>(&IHttpRequest::requestError), this,
            &RequestCommand::OnError);
}

void RequestCommand::Declare(QCommandLineParser& parser)
{
    parser.addPositionalArgument(QStringLiteral("URL"),
                                 QStringLiteral("Address, http:// or https://. The proxies of "
                                                "http_proxy, https_proxy and no_proxy are used."));
    parser.addOption({insecureOption, QStringLiteral("Do not verify the server's certificate.")});
    parser.addOption({headerOption, QStringLiteral("Send a header."), pairSyntax});
    parser.addOption({triesOption, QStringLiteral("Attempts in all after network problems (1)."),
                      QStringLiteral("N"), QStringLiteral("1")});
    parser.addOption({intervalOption, QStringLiteral("Pause between attempts (20)."),
                      QStringLiteral("SECONDS"), QStringLiteral("20")});
    parser.addOption({timeoutOption,
                      QStringLiteral("Longest silence of the server (30), 0 for no limit."),
                      QStringLiteral("SECONDS"), QStringLiteral("30")});
}

void RequestCommand::Configure(Arguments& arguments)
{
    arguments.ExpectPositionals({QStringLiteral("URL")});
    request_->SetUrl(arguments.HttpUrl(0));
    request_->SetAttemptCountOnNetworkProblem(arguments.Number(triesOption, 1));
    request_->SetAttemptIntervalOnNetworkProblem(arguments.Number(intervalOption, 0));
    request_->SetTimeout(arguments.Number(timeoutOption, 0));
    request_->SetPeerVerification(!arguments.Has(insecureOption));
    UseProxiesOfEnvironment();
    SetHeaders(arguments);
}

void RequestCommand::SetHeaders(Arguments& arguments)
{
    static const QRegularExpression token(QStringLiteral("\\A[!#$%&'*+.^_`|~0-9A-Za-z-]+\\z"));
    QStringList given;
    for (const auto& [name, value] : arguments.Pairs(headerOption)) {
        if (!token.match(name).hasMatch() || value.contains(QLatin1Char('\n')) ||
            value.contains(QLatin1Char('\r')))
            arguments.Fail(QStringLiteral("'%1' is no valid header").arg(name));
        if (given.contains(name.toLower()))
            arguments.Fail(QStringLiteral("the header '%1' is given twice").arg(name));
        given << name.toLower();
        request_->SetRawHeader(name, value);
    }
}

void RequestCommand::SetForm(Arguments& arguments)
{
    const auto form = IHttpRequestDataMap::CreateUrlencodedDataMap();
    for (const auto& [name, value] : arguments.Pairs(formOption)) {
        if (!form->GetParam(name).isNull())
            arguments.Fail(QStringLiteral("the form field '%1' is given twice").arg(name));
        form->SetParam(name, value);
    }
    if (arguments.Has(formOption))
        request_->SetData(form);
}

void RequestCommand::Start()
{
    if (Send())
        return;
    QString reason = Log().LastFailure("AppendTo");
    if (reason.isEmpty())
        reason = Log().LastFailure("SendRequest");
    Fail(Address() + QStringLiteral(": ") + reason);
}

QString RequestCommand::Stop()
{
    request_->Abort();
    return Address() + QStringLiteral(": no reply was received");
}

void RequestCommand::OnFinished(const QByteArray& body)
{
    const QString target = request_->Reply()
                               ->attribute(QNetworkRequest::RedirectionTargetAttribute)
                               .toUrl()
                               .toString();
    if (!target.isEmpty())
        return Fail(QStringLiteral("%1: redirected to %2").arg(Address(), target));
    const QString warning = Log().LastFailure("OnRequestFinished");
    if (warning.startsWith(QLatin1String("Failed to decompress gzip")))
        PrintError(Address() + QStringLiteral(": ") + warning);
    FinishWritten(PrintBytes(stdout, body));
}

void RequestCommand::OnError(int code, const QString& message, const QByteArray& body)
{
    Fail(QStringLiteral("%1: %2 (code %3)")
             .arg(Address(), WithoutPassword(message, request_->GetUrl()), QString::number(code)));
    if (!body.isEmpty())
        PrintBytes(stderr, body.endsWith('\n') ? body : body + '\n');
}

QString RequestCommand::Address() const
{
    return request_->GetUrl().toDisplayString();
}

GetCommand::GetCommand(ToolLogger& log)
    : RequestCommand(QStringLiteral("get"), QStringLiteral("Send a GET and print the reply."), log)
{
}

void GetCommand::Declare(QCommandLineParser& parser)
{
    RequestCommand::Declare(parser);
    parser.addOption({formOption, QStringLiteral("Add a parameter to the query."), pairSyntax});
}

void GetCommand::Configure(Arguments& arguments)
{
    RequestCommand::Configure(arguments);
    SetForm(arguments);
}

bool GetCommand::Send()
{
    Manager().setRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
    return Request().Get();
}

PostCommand::PostCommand(ToolLogger& log)
    : RequestCommand(QStringLiteral("post"), QStringLiteral("Send a POST and print the reply."),
                     log)
{
}

void PostCommand::Declare(QCommandLineParser& parser)
{
    RequestCommand::Declare(parser);
    parser.addOption({jsonOption,
                      QStringLiteral("Send the JSON object in FILE, or of standard input (-)."),
                      QStringLiteral("FILE")});
    parser.addOption({formOption, QStringLiteral("Send a form field, URL-encoded."), pairSyntax});
    parser.addOption({partOption,
                      QStringLiteral("Send a form field as a part of a multipart "
                                     "body."),
                      pairSyntax});
    parser.addOption({fileOption, QStringLiteral("Send a file as a part of a multipart body."),
                      QStringLiteral("NAME=PATH")});
}

void PostCommand::Configure(Arguments& arguments)
{
    RequestCommand::Configure(arguments);
    const bool multiPart = arguments.Has(partOption) || arguments.Has(fileOption);
    if (arguments.Has(jsonOption) + arguments.Has(formOption) + multiPart > 1)
        arguments.Fail(QStringLiteral("--json, --form, and --part or --file exclude each other"));
    if (arguments.Has(jsonOption))
        jsonFile_ = arguments.Text(jsonOption);
    if (arguments.Has(jsonOption) && jsonFile_.isEmpty())
        arguments.Fail(QStringLiteral("--json takes a file name, or - for standard input"));
    SetForm(arguments);
    if (multiPart)
        SetParts(arguments);
}

void PostCommand::SetParts(Arguments& arguments)
{
    const auto body = IHttpRequestMultiPartData::CreateMultiPartFormData();
    const auto checkedName = [&arguments](const QString& name) {
        static const QRegularExpression forbidden(QStringLiteral("[\"\\r\\n]"));
        if (name.contains(forbidden))
            arguments.Fail(
                QStringLiteral("a part's name holds no quotes or line ends: '%1'").arg(name));
        return name;
    };
    for (const auto& [name, value] : arguments.Pairs(partOption))
        body->AddPart(IHttpRequestPartData::CreateTextPartFormData(checkedName(name), value));
    for (const auto& [name, path] : arguments.Pairs(fileOption)) {
        const QFileInfo file(path);
        if (file.exists() && !file.isFile())
            arguments.Fail(QStringLiteral("'%1' is not a regular file").arg(path));
        checkedName(file.fileName());
        body->AddPart(IHttpRequestPartData::CreateFilePartFormData(checkedName(name), path));
    }
    Request().SetData(body);
}

void PostCommand::Start()
{
    if (jsonFile_.isNull())
        return RequestCommand::Start();
    if (jsonFile_ == QLatin1String("-")) {
        Input* input = ReadInput();
        connect(input, &Input::ended, this, [=] { SendJson(input->TakeRest()); });
        return;
    }
    QString error;
    const QByteArray text = ReadFile(jsonFile_, error);
    if (error.isEmpty())
        SendJson(text);
    else
        Fail(error);
}

void PostCommand::SendJson(const QByteArray& text)
{
    QJsonParseError error = {};
    const auto document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError)
        return Fail(QStringLiteral("'%1' is no JSON: %2 at byte %3")
                        .arg(jsonFile_, error.errorString(), QString::number(error.offset)));
    if (!document.isObject())
        return Fail(QStringLiteral("'%1' holds no JSON object").arg(jsonFile_));
    Request().SetData(IHttpRequestSimpleData::CreateJsonData(document.object()));
    RequestCommand::Start();
}

bool PostCommand::Send()
{
    return Request().Post();
}

} // namespace qvtool
