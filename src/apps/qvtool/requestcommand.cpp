#include "commands.h"
#include "network.h"

#include <common/http/httprequestdatamap.h>
#include <common/http/httprequestmultipartformdata.h>

#include <QFileInfo>
#include <QJsonDocument>
#include <QRegularExpression>

#include <memory>
#include <optional>

namespace qvtool {

using namespace common::http;

namespace {

// JSON as its author wrote it: numbers that only he can read stay what they are.
class JsonText : public IHttpRequestSimpleData
{
public:
    explicit JsonText(const QByteArray& text) : text_(text) {}

    QString ContentTypeHeader() const override { return "application/json"; }
    QByteArray GetBody() const override { return text_; }

private:
    QByteArray text_;
};

void SetHeaders(IHttpRequest& request, Call& call)
{
    static const QRegularExpression token("\\A[!#$%&'*+.^_`|~0-9A-Za-z-]+\\z");
    for (const auto& [name, value] : call.UniquePairs("header", Qt::CaseInsensitive)) {
        if (!token.match(name).hasMatch() || value.contains('\n') || value.contains('\r'))
            call.Reject(QString("'%1' is not a valid header").arg(name));
        request.SetRawHeader(name, value);
    }
}

void SetForm(IHttpRequest& request, Call& call)
{
    const auto form = IHttpRequestDataMap::CreateUrlencodedDataMap();
    for (const auto& [name, value] : call.UniquePairs("form", Qt::CaseSensitive))
        form->SetParam(name, value);
    if (call.Has("form"))
        request.SetData(form);
}

QString CheckedName(const QString& name, Call& call)
{
    static const QRegularExpression forbidden("[\"\\r\\n]");
    if (name.contains(forbidden))
        call.Reject(
            QString("the name of a part must not contain quotes or line ends: '%1'").arg(name));
    return name;
}

void SetParts(IHttpRequest& request, Call& call)
{
    const auto body = IHttpRequestMultiPartData::CreateMultiPartFormData();
    for (const auto& [name, value] : call.Pairs("part"))
        body->AddPart(IHttpRequestPartData::CreateTextPartFormData(CheckedName(name, call), value));
    for (const auto& [name, path] : call.Pairs("file")) {
        const QFileInfo file(path);
        if (file.exists() && !file.isFile())
            call.Reject(QString("'%1' is not a regular file").arg(path));
        CheckedName(file.fileName(), call);
        body->AddPart(IHttpRequestPartData::CreateFilePartFormData(CheckedName(name, call), path));
    }
    request.SetData(body);
}

// Reads the JSON of a POST; an exit code if there is none.
std::optional<int> SetJson(IHttpRequest& request, Call& call)
{
    const QString path = call.Text("json");
    QByteArray text;
    QString error;
    if (path == "-") {
        if (const auto code = call.ReadInput(text))
            return code;
    } else {
        text = ReadFile(path, error);
    }
    if (!error.isEmpty())
        return call.Fail(error);
    QJsonParseError problem = {};
    QJsonDocument::fromJson(text, &problem);
    if (problem.error != QJsonParseError::NoError)
        return call.Fail(QString("'%1' is not JSON: %2 at byte %3")
                             .arg(path, problem.errorString(), QString::number(problem.offset)));
    request.SetData(QSharedPointer<JsonText>::create(text));
    return std::nullopt;
}

void Configure(IHttpRequest& request, Call& call)
{
    request.SetUrl(call.HttpUrl());
    request.SetAttemptCountOnNetworkProblem(int(call.Number("tries", 1)));
    request.SetAttemptIntervalOnNetworkProblem(int(call.Number("interval", 0)));
    request.SetTimeout(int(call.Number("timeout", 0)));
    request.SetPeerVerification(!call.Has("insecure"));
    SetHeaders(request, call);
    SetForm(request, call);
}

// The error page of a server, line by line.
void ShowErrorBody(const QByteArray& body)
{
    for (const QByteArray& line : body.split('\n')) {
        if (!line.trimmed().isEmpty())
            PrintError(QString::fromUtf8(line).trimmed());
    }
}

int Send(Call& call, Network& network, IHttpRequest& request,
         IHttpRequest::HTTPRequestMethod method)
{
    const QString address = request.GetUrl().toDisplayString() + ": ";
    Network::UseProxiesOfEnvironment();
    const Answer answer = Ask(request, method, network, call.Log());
    if (SignalThatCame() != 0)
        return call.Interrupted(address + "no reply was received");
    if (!answer.problem.isEmpty()) {
        call.Fail(address + answer.problem);
        ShowErrorBody(answer.body);
        return JobFailed;
    }
    if (!network.Redirection().isEmpty())
        return call.Fail(address + "redirected to " + network.Redirection());
    const QString warning = call.Log().LastFailure("OnRequestFinished");
    if (warning.startsWith("Failed to decompress gzip"))
        call.Note(address + warning);
    return call.Written(PrintBytes(stdout, answer.body));
}

int Get(Call& call)
{
    Network network;
    const std::unique_ptr<IHttpRequest> request(CreateHttpRequest(&network, nullptr));
    request->SetRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
    Configure(*request, call);
    return call.IsRejected() ? call.Rejection() : Send(call, network, *request, IHttpRequest::GET);
}

int Post(Call& call)
{
    Network network;
    const std::unique_ptr<IHttpRequest> request(CreateHttpRequest(&network, nullptr));
    Configure(*request, call);
    const bool isMultiPart = call.Has("part") || call.Has("file");
    if (call.Has("json") + call.Has("form") + isMultiPart > 1)
        call.Reject("--json, --form, and --part or --file exclude each other");
    if (isMultiPart)
        SetParts(*request, call);
    if (call.IsRejected())
        return call.Rejection();
    if (call.Has("json")) {
        if (const auto code = SetJson(*request, call))
            return *code;
    }
    return Send(call, network, *request, IHttpRequest::POST);
}

const Options requestOptions =
    NetworkOptions() +
    Options{{"interval", "SECONDS", "Pause between attempts (default: 20).", "20"},
            {"header", "NAME=VALUE", "Send a header; may be repeated with other names."}};

} // namespace

const Command getCommand = {
    "get",
    "Send a GET request and print the reply.",
    {urlArgument},
    Options{
        {"form", "NAME=VALUE", "Add a parameter to the query; may be repeated with other names."}} +
        requestOptions,
    &Get,
};

const Command postCommand = {
    "post",
    "Send a POST request and print the reply.",
    {urlArgument},
    Options{
        {"json", "FILE",
         "Send FILE, or standard input (-), as JSON. It is checked, but not changed."},
        {"form", "NAME=VALUE", "Send a URL-encoded form field; may be repeated with other names."},
        {"part", "NAME=VALUE", "Send a form field as part of a multipart body; may be repeated."},
        {"file", "NAME=PATH", "Send a file as part of a multipart body; may be repeated."}} +
        requestOptions,
    &Post,
};

} // namespace qvtool
