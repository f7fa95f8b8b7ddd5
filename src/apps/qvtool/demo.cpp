#include "command.h"
#include "job.h"
#include "network.h"

#include <common/contact/contactcontext.h>
#include <common/http/httprequestdatamap.h>
#include <common/http/httprequestmultipartformdata.h>
#include <common/tools/jsonfile/jsonfile.h>
#include <common/tools/string/converter.h>
#include <loopback/samples.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <memory>
#include <utility>

namespace qvtool {

using namespace common::http;

namespace {

// A transcript of the library at work against a server of its own. Each step checks what came out.
class Demo
{
public:
    explicit Demo(Call& call) : call_(call) {}

    void Run()
    {
        const std::pair<const char*, bool (Demo::*)()> steps[] = {
            {"GET with form parameters", &Demo::GetWithForm},
            {"POST of a JSON object", &Demo::PostJson},
            {"POST of a multipart form with a file", &Demo::PostMultiPart},
            {"A reply compressed with gzip", &Demo::GetCompressed},
            {"A connection that breaks", &Demo::SurviveDroppedConnection},
            {"A verified download, damaged at the first try", &Demo::DownloadVerified},
            {"A tree copied with its links, and removed again", &Demo::CopyAndRemove},
            {"What people type becomes a number to dial", &Demo::ParseAddresses},
            {"Settings in an encrypted JSON file", &Demo::KeepSettings},
            {"All of this is in the log", &Demo::ShowLog},
        };
        if (!directory_.isValid() || !server_.Listen())
            Fail(QString("cannot start: %1 %2")
                     .arg(directory_.errorString(), server_.errorString()));
        if (!call_.Has("log-file") && !call_.Has("log-config"))
            call_.Log().WriteToFile(Path("demo.log"), common::logger::IMessage::DEBUG);
        QElapsedTimer clock;
        clock.start();
        int number = 0;
        for (const auto& [title, step] : steps) {
            Headline(QString("%1. %2").arg(++number).arg(title));
            const bool passed = (this->*step)();
            EndIfInterrupted("the demo did not run to its end");
            if (!passed)
                Fail(QString("step %1 failed").arg(number));
            Say("ok\n");
        }
        Headline(QString("All %1 steps ended as they should, in %2 s.")
                     .arg(number)
                     .arg(double(clock.elapsed()) / 1000, 0, 'f', 1));
    }

private:
    QString Path(const QString& name) const { return directory_.filePath(name); }

    void Headline(const QString& text) const
    {
        if (!call_.IsQuiet())
            PrintLine(text);
    }

    void Say(const QString& text) const { Headline("   " + text); }

    QByteArray Ask(const QString& path, IHttpRequest::HTTPRequestMethod method,
                   const QSharedPointer<IHttpRequestData>& data = {})
    {
        const std::unique_ptr<IHttpRequest> request(CreateHttpRequest(&network_, nullptr));
        request->SetUrl(server_.Url(path));
        request->SetTimeout(5);
        request->SetAttemptCountOnNetworkProblem(3);
        request->SetAttemptIntervalOnNetworkProblem(1);
        if (data)
            request->SetData(data);
        const Answer answer = qvtool::Ask(*request, method, network_, call_.Log());
        if (!answer.problem.isEmpty())
            Say("error: " + answer.problem);
        return answer.body;
    }

    bool GetWithForm()
    {
        const auto form = IHttpRequestDataMap::CreateUrlencodedDataMap();
        form->SetParam("name", "Zoë & Co");
        form->SetParam("line", "2");
        const QByteArray body = Ask("/query", IHttpRequest::GET, form);
        Say("the server got the query " + QString::fromUtf8(body));
        return body == "line=2&name=Zo%C3%AB%20%26%20Co";
    }

    bool PostJson()
    {
        const QByteArray body =
            Ask("/echo", IHttpRequest::POST,
                IHttpRequestSimpleData::CreateJsonData({{"caller", "Zoë"}, {"line", 2}}));
        Say("echoed: " + QString::fromUtf8(body));
        return body == R"({"caller":"Zoë","line":2})";
    }

    bool PostMultiPart()
    {
        const QByteArray content = server_.File().left(100000);
        QFile file(Path("photo.png"));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            return false;
        file.close();
        const auto parts = IHttpRequestMultiPartData::CreateMultiPartFormData();
        parts->AddPart(IHttpRequestPartData::CreateTextPartFormData("comment", "from the demo"));
        parts->AddPart(IHttpRequestPartData::CreateFilePartFormData("file", file.fileName()));
        const QByteArray body = Ask("/echo", IHttpRequest::POST, parts);
        Say(QString("echoed: %1 bytes, a text and a file of %2 bytes among them")
                .arg(body.size())
                .arg(content.size()));
        return body.contains("\r\n\r\nfrom the demo\r\n") &&
               body.contains("\r\n\r\n" + content + "\r\n");
    }

    bool GetCompressed()
    {
        const QByteArray body = Ask("/gzip", IHttpRequest::GET);
        Say(QString("%1 bytes came over the wire, decoded %2")
                .arg(network_.Head().announcedSize)
                .arg(body.size()));
        return body == loopback::SampleText() && network_.Head().coding == "gzip";
    }

    bool SurviveDroppedConnection()
    {
        const QByteArray body = Ask("/flaky", IHttpRequest::GET);
        Say(QString("sent again after a second: \"%1\"").arg(QString::fromUtf8(body)));
        return body == "here at last" && server_.Hits("/flaky") > 1;
    }

    bool DownloadVerified()
    {
        const QString md5 = tools::string::converter::ToMD5(server_.File());
        const std::unique_ptr<IFileDownload> download(CreateFileDownload(&network_, nullptr));
        download->SetUrl(server_.Url("/file"));
        download->SetFileName(Path("downloads/update.bin"));
        download->SetExpectedSize(server_.File().size());
        download->SetExpectedMD5(md5);
        download->SetRetryCount(2);
        server_.DamageNextFile();
        const Outcome outcome = qvtool::Run(*download, call_.IsQuiet());
        Say("the first try: " + call_.Log().LastFailure("CheckDownload"));
        Say(QString("the second one: %1 bytes, MD5 %2, as announced")
                .arg(QString::number(outcome.done), md5));
        return outcome.error == 0 && server_.Hits("/file") == 2;
    }

    bool CopyAndRemove()
    {
        const QDir source(Path("tree"));
        const QDir copy(Path("copy"));
        if (!loopback::MakeSampleTree(source.path(), 2, 100) ||
            !QFile::link(source.filePath("folder 0/file 7"), source.filePath("seven")))
            return false;
        common::FileCopier copier;
        copier.AddDirectory(source.path(), copy.path());
        const Outcome copied = qvtool::Run(copier, call_.IsQuiet());
        const QString target = QFileInfo(copy.filePath("seven")).symLinkTarget();
        Say(QString("%1 of %2 items copied; the absolute link leads to %3")
                .arg(QString::number(copied.done), QString::number(copied.total), target));
        common::FileRemover remover;
        remover.AddDirectory(source.path());
        remover.AddDirectory(copy.path());
        const Outcome removed = qvtool::Run(remover, call_.IsQuiet());
        Say(QString("%1 of %2 items removed").arg(removed.done).arg(removed.total));
        return target == copy.filePath("folder 0/file 7") && !source.exists() && !copy.exists();
    }

    bool ParseAddresses()
    {
        bool isRight = true;
        for (const auto& [text, expected] : {
                 std::pair{" +74955550123,,1 2 3# ", "1: 74955550123,123#"},
                 std::pair{"\"Zoë\" <sip:zoe@Example.COM:5060;lr>", "2: zoe@example.com:5060"},
                 std::pair{"skype:Echo123", "3: skype: echo123@skype.com"},
             }) {
            const auto contact = common::contact::CreateInstance(text, QString());
            const QString result = QString("%1: %2").arg(contact->Type()).arg(contact->Number());
            Say(QString("'%1' is of kind %2").arg(text, result));
            isRight = isRight && result == expected;
        }
        return isRight;
    }

    bool KeepSettings()
    {
        const QString path = Path("config/settings.json");
        const QJsonObject settings{{"ring", true}, {"volume", 0.8}};
        tools::JsonFile loaded(path, "the key");
        tools::JsonFile withoutKey(path);
        if (!tools::JsonFile(path, settings, "the key").Save() || !loaded.Load())
            return false;
        Say(QString("%1 bytes, unreadable without the key").arg(QFile(path).size()));
        return withoutKey.Load() && withoutKey.isNull() && loaded.object() == settings;
    }

    bool ShowLog()
    {
        if (call_.Has("log-config"))
            return true; // it is where the property file says
        const QString path = call_.Has("log-file") ? call_.Text("log-file") : Path("demo.log");
        const QList<QByteArray> lines = ReadFile(path).trimmed().split('\n');
        Say(QString("%1 lines, the last ones:").arg(lines.size()));
        for (const QByteArray& line : lines.mid(std::max<qsizetype>(0, lines.size() - 3)))
            Say(QString::fromUtf8(line));
        return lines.size() > 3;
    }

    Call& call_;
    loopback::SampleServer server_;
    Network network_;
    QTemporaryDir directory_;
};

int RunDemo(Call& call)
{
    CatchSignals(); // what the demo makes goes with it
    Demo(call).Run();
    return Success;
}

} // namespace

const Command demoCommand = {
    "demo", "Show the library at work; no network is needed.", {}, {}, &RunDemo,
};

} // namespace qvtool
