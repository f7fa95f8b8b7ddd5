#include "console.h"
#include "network.h"

#include <common/http/httprequest.h>
#include <common/http/httprequestdatamap.h>
#include <common/http/httprequestmultipartformdata.h>

#include <QFileInfo>
#include <QJsonDocument>
#include <QRegularExpression>

#include <memory>

namespace qvtool {

using namespace common::http;

namespace {

// JSON as it was written: numbers that Qt cannot hold stay what they are.
class JsonText : public IHttpRequestSimpleData
{
public:
    explicit JsonText(const QByteArray& text) : text_(text) {}

    QString ContentTypeHeader() const override { return "application/json"; }
    QByteArray GetBody() const override { return text_; }

private:
    QByteArray text_;
};

void SetHeaders(IHttpRequest& request, const Call& call)
{
    static const QRegularExpression token("\\A[!#$%&'*+.^_`|~0-9A-Za-z-]+\\z");
    for (const auto& [name, value] : call.Pairs("header", Qt::CaseInsensitive)) {
        if (!token.match(name).hasMatch() || value.contains('\n') || value.contains('\r'))
            Reject(QString("'%1' is not a valid header").arg(name));
        request.SetRawHeader(name, value);
    }
}

void SetForm(IHttpRequest& request, const Call& call)
{
    const auto form = IHttpRequestDataMap::CreateUrlencodedDataMap();
    for (const auto& [name, value] : call.Pairs("form", Qt::CaseSensitive))
        form->SetParam(name, value);
    if (call.Has("form"))
        request.SetData(form);
}

QString CheckedName(const QString& name)
{
    static const QRegularExpression forbidden("[\"\\r\\n]");
    if (name.contains(forbidden))
        Reject(QString("the name of a part must not contain quotes or line ends: '%1'").arg(name));
    return name;
}

void SetParts(IHttpRequest& request, const Call& call)
{
    const auto body = IHttpRequestMultiPartData::CreateMultiPartFormData();
    for (const auto& [name, value] : call.Pairs("part"))
        body->AddPart(IHttpRequestPartData::CreateTextPartFormData(CheckedName(name), value));
    for (const auto& [name, path] : call.Pairs("file")) {
        CheckedName(QFileInfo(path).fileName());
        body->AddPart(IHttpRequestPartData::CreateFilePartFormData(CheckedName(name), path));
    }
    request.SetData(body);
}

void SetJson(IHttpRequest& request, const Call& call)
{
    const QString path = call.Text("json");
    const bool isInput = path == "-";
    if (isInput)
        call.AskFor("the JSON");
    const QByteArray text = isInput ? ReadInput() : ReadFile(path);
    QJsonParseError problem = {};
    QJsonDocument::fromJson(text, &problem);
    if (problem.error != QJsonParseError::NoError)
        Fail(QString("'%1' is not JSON: %2 at byte %3")
                 .arg(path, problem.errorString(), QString::number(problem.offset)));
    request.SetData(QSharedPointer<JsonText>::create(text));
}

void SetBody(IHttpRequest& request, const Call& call)
{
    const bool isMultiPart = call.Has("part") || call.Has("file");
    if (call.Has("json") + call.Has("form") + isMultiPart > 1)
        Reject("--json, --form, and --part or --file exclude each other");
    if (isMultiPart)
        SetParts(request, call);
    if (call.Has("json"))
        SetJson(request, call);
}

// The body of a reply, and why it is not what was asked for; empty if it is.
struct Answer
{
    QByteArray body;
    QString problem;
};

// Sends the request and waits for the end, or for a signal.
Answer Ask(IHttpRequest& request, IHttpRequest::HTTPRequestMethod method, const ToolLogger& log)
{
    Answer answer;
    QEventLoop loop;
    const auto end = [&](const QByteArray& body, const QString& problem) {
        answer = {body, problem};
        loop.quit();
    };
    QObject::connect(&request, &IHttpRequest::requestFinishedWithBinaryData, &loop,
                     [&](const QByteArray& body) { end(body, {}); });
    QObject::connect(
        &request, qOverload<int, const QString&, const QByteArray&>(&IHttpRequest::requestError),
        &loop, [&](int, const QString& message, const QByteArray& body) { end(body, message); });
    Await(loop, [&] {
        if (request.Send(method))
            return;
        const QString reason = log.LastFailure("AppendTo");
        end({}, reason.isEmpty() ? log.LastFailure("SendRequest") : reason);
    });
    return answer;
}

int Send(Call& call, IHttpRequest::HTTPRequestMethod method)
{
    Network network;
    const std::unique_ptr<IHttpRequest> request(CreateHttpRequest(&network, nullptr));
    request->SetUrl(call.HttpUrl());
    request->SetAttemptCountOnNetworkProblem(int(call.Number("tries", 1)));
    request->SetAttemptIntervalOnNetworkProblem(int(call.Number("interval", 0)));
    request->SetTimeout(int(call.Number("timeout", 0)));
    request->SetPeerVerification(!call.Has("insecure"));
    SetHeaders(*request, call);
    SetForm(*request, call);
    if (method == IHttpRequest::GET)
        request->SetRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
    else
        SetBody(*request, call);

    const QString address = request->GetUrl().toDisplayString() + ": ";
    Network::UseProxiesOfEnvironment();
    const Answer answer = Ask(*request, method, call.Log());
    EndIfInterrupted(address + "no reply was received");
    if (!answer.problem.isEmpty()) {
        for (const QString& line : QString::fromUtf8(answer.body).split('\n', Qt::SkipEmptyParts))
            PrintError(line.trimmed());
        Fail(address + network.Reason(answer.problem, request->GetUrl()));
    }
    if (!network.Head().redirection.isEmpty())
        Fail(address + "redirected to " + network.Head().redirection);
    const QString warning = call.Log().LastFailure("OnRequestFinished");
    if (warning.startsWith("Failed to decompress gzip"))
        call.Note(address + warning);
    Print(answer.body);
    return Success;
}

int Get(Call& call)
{
    return Send(call, IHttpRequest::GET);
}

int Post(Call& call)
{
    return Send(call, IHttpRequest::POST);
}

const Options requestOptions =
    networkOptions +
    Options{{"interval", "Pause between attempts (default: 20).", "SECONDS", "20"},
            {"header", "Send a header; may be repeated with other names.", "NAME=VALUE"}};

} // namespace

const Command getCommand = {
    "get",
    "Send a GET request and print the reply.",
    {urlArgument},
    Options{
        {"form", "Add a parameter to the query; may be repeated with other names.", "NAME=VALUE"}} +
        requestOptions,
    &Get,
};

const Command postCommand = {
    "post",
    "Send a POST request and print the reply.",
    {urlArgument},
    Options{
        {"json", "Send FILE, or standard input (-), as JSON. It is checked, but not changed.",
         "FILE"},
        {"form", "Send a URL-encoded form field; may be repeated with other names.", "NAME=VALUE"},
        {"part", "Send a form field as part of a multipart body; may be repeated.", "NAME=VALUE"},
        {"file", "Send a file as part of a multipart body; may be repeated.", "NAME=PATH"}} +
        requestOptions,
    &Post,
};

} // namespace qvtool
