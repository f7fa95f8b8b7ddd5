#include "demo.h"

#include "text.h"

#include <common/contact/contactcontext.h>
#include <common/http/filedownload.h>
#include <common/http/httprequestdatamap.h>
#include <common/http/httprequestmultipartformdata.h>
#include <common/shell/filecopier.h>
#include <common/shell/fileremover.h>
#include <common/tools/cipher/aes.h>
#include <common/tools/jsonfile/jsonfile.h>
#include <common/tools/string/converter.h>

#include <QDir>

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QJsonObject>
#include <QRandomGenerator>

#include <algorithm>

namespace qvtool {

using namespace common::http;

namespace {

constexpr int fileSize = 48 * 1024 * 1024;
constexpr quint32 fileSeed = 20260501;
constexpr unsigned long logFileSize = 65536;
const auto logFile = QStringLiteral("demo.log");

QByteArray RandomFile()
{
    QByteArray file(fileSize, Qt::Uninitialized);
    QRandomGenerator generator(fileSeed);
    generator.fillRange(reinterpret_cast<quint32*>(file.data()), fileSize / int(sizeof(quint32)));
    return file;
}

} // namespace

Demo::Demo(ToolLogger& log)
    : Command(QStringLiteral("demo"),
              QStringLiteral("Show the library at work; needs no arguments and no network."), log),
      progress_(stdout, Progress::Bytes, QStringLiteral("   "))
{
}

void Demo::Declare(QCommandLineParser&)
{
}

void Demo::Configure(Arguments& arguments)
{
    arguments.ExpectPositionals({});
}

QString Demo::Stop()
{
    progress_.Finish();
    stopped_ = true;
    return QStringLiteral("the demo did not run to its end");
}

void Demo::Start()
{
    file_ = RandomFile();
    server_ = std::make_unique<DemoServer>(file_);
    directory_ = std::make_unique<QTemporaryDir>();
    if (!directory_->isValid() || !server_->Listen())
        return Fail(QStringLiteral("cannot start: %1 %2")
                        .arg(directory_->errorString(), server_->errorString()));
    if (!Log().WritesToFile())
        Log().WriteToRollingFile(directory_->filePath(logFile), logFileSize);
    Log().SetFailureListener([this](const QString& text) { // on any thread
        QMetaObject::invokeMethod(this, [=] { Say(QStringLiteral("log: ") + text); });
    });
    RunSteps();
    Log().SetFailureListener(nullptr);
}

void Demo::RunSteps()
{

    const Step steps[] = {
        {"GET with form parameters", &Demo::GetWithForm},
        {"POST of a JSON object", &Demo::PostJson},
        {"POST of a multipart form with a file", &Demo::PostMultiPart},
        {"A reply compressed with gzip", &Demo::GetCompressed},
        {"A connection that breaks", &Demo::SurviveDroppedConnection},
        {"A verified download, damaged at the first try", &Demo::DownloadVerified},
        {"A tree copied with its links, and removed again", &Demo::CopyAndRemove},
        {"What people type becomes a number to dial", &Demo::ParseAddresses},
        {"A secret that reads back under its name only", &Demo::StoreSecret},
        {"Settings in an encrypted JSON file", &Demo::KeepSettings},
        {"All of this is in the log", &Demo::ShowLog},
    };
    QElapsedTimer clock;
    clock.start();
    Tell(QStringLiteral("libqvcommon %1 talks to its own server, %2\n")
             .arg(QStringLiteral(QVTOOL_VERSION), server_->Url({}).toString()));
    int number = 0;
    for (const Step& step : steps) {
        if (!RunStep(++number, step))
            return stopped_ ? void() : Fail(QStringLiteral("step %1 failed").arg(number));
    }
    Tell(QStringLiteral("All %1 steps ended as they should, in %2 s.")
             .arg(number)
             .arg(clock.elapsed() / 1000.0, 0, 'f', 1));
    FinishWritten(told_);
}

bool Demo::RunStep(int number, const Step& step)
{
    Tell(QStringLiteral("%1. %2").arg(number).arg(QLatin1String(step.title)));
    const bool passed = (this->*step.run)() && !stopped_;
    Tell(passed ? QStringLiteral("   ok\n") : QStringLiteral("   FAILED\n"));
    return passed;
}

void Demo::Tell(const QString& line)
{
    if (!stopped_)
        told_ = PrintLine(stdout, line) && told_;
}

void Demo::Say(const QString& text)
{
    Tell(QStringLiteral("   ") + text);
}

IHttpRequest* Demo::NewRequest(const QString& path)
{
    IHttpRequest* request = CreateHttpRequest(&manager_, this);
    request->SetUrl(server_->Url(path));
    request->SetTimeout(5);
    return request;
}

Demo::Outcome Demo::Await(IHttpRequest* request, IHttpRequest::HTTPRequestMethod method)
{
    using ErrorSignal = void (IHttpRequest::*)(int, const QString&, const QByteArray&);
    Outcome outcome;
    QEventLoop loop;
    connect(request, &IHttpRequest::requestFinishedWithBinaryData, &loop,
            [&](const QByteArray& body) {
                outcome.success = true;
                outcome.body = body;
                loop.quit();
            });
    connect(request, static_cast<ErrorSignal>(&IHttpRequest::requestError), &loop,
            [&](int code, const QString& message) {
                Say(QStringLiteral("error %1: %2").arg(QString::number(code), message));
                loop.quit();
            });
    if (request->Send(method))
        loop.exec();
    request->deleteLater();
    return outcome;
}

bool Demo::GetWithForm()
{
    const auto form = IHttpRequestDataMap::CreateUrlencodedDataMap();
    form->SetParam(QStringLiteral("name"), QStringLiteral("Zoë & Co"));
    form->SetParam(QStringLiteral("line"), QStringLiteral("2"));
    IHttpRequest* request = NewRequest(QStringLiteral("/query"));
    request->SetData(form);

    const Outcome outcome = Await(request, IHttpRequest::GET);
    Say(QStringLiteral("the server got the query %1").arg(QString::fromUtf8(outcome.body)));
    return outcome.success && outcome.body == "line=2&name=Zo%C3%AB%20%26%20Co";
}

bool Demo::PostJson()
{
    IHttpRequest* request = NewRequest(QStringLiteral("/echo"));
    request->SetData(IHttpRequestSimpleData::CreateJsonData(
        {{QStringLiteral("caller"), QStringLiteral("Zoë")}, {QStringLiteral("line"), 2}}));

    const Outcome outcome = Await(request, IHttpRequest::POST);
    Say(QStringLiteral("echoed: %1").arg(QString::fromUtf8(outcome.body)));
    return outcome.success && outcome.body == R"({"caller":"Zoë","line":2})";
}

bool Demo::PostMultiPart()
{
    const QByteArray content = file_.left(100000);
    QFile file(directory_->filePath(QStringLiteral("photo.png")));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        return false;
    file.close();

    const auto body = IHttpRequestMultiPartData::CreateMultiPartFormData();
    body->AddPart(IHttpRequestPartData::CreateTextPartFormData(QStringLiteral("comment"),
                                                               QStringLiteral("from the demo")));
    body->AddPart(
        IHttpRequestPartData::CreateFilePartFormData(QStringLiteral("file"), file.fileName()));
    IHttpRequest* request = NewRequest(QStringLiteral("/echo"));
    request->SetData(body);

    const Outcome outcome = Await(request, IHttpRequest::POST);
    Say(QStringLiteral("echoed: %1 bytes, a text and a file of %2 bytes among them")
            .arg(QString::number(outcome.body.size()), QString::number(content.size())));
    return outcome.success && outcome.body.contains("\r\n\r\nfrom the demo\r\n") &&
           outcome.body.contains(R"(form-data; name="file"; filename="photo.png")") &&
           outcome.body.contains("\r\n\r\n" + content + "\r\n");
}

bool Demo::GetCompressed()
{
    IHttpRequest* request = NewRequest(QStringLiteral("/gzip"));
    qint64 onTheWire = 0;
    connect(request, &IHttpRequest::downloadProgress, this,
            [&](qint64 received, qint64) { onTheWire = received; });

    const Outcome outcome = Await(request, IHttpRequest::GET);
    Say(QStringLiteral("%1 bytes came over the wire, decoded %2")
            .arg(QString::number(onTheWire), QString::number(outcome.body.size())));
    return outcome.success && outcome.body == DemoServer::LongText();
}

bool Demo::SurviveDroppedConnection()
{
    IHttpRequest* request = NewRequest(QStringLiteral("/flaky"));
    request->SetAttemptCountOnNetworkProblem(3);
    request->SetAttemptIntervalOnNetworkProblem(1);

    const Outcome outcome = Await(request, IHttpRequest::GET);
    Say(QStringLiteral("sent again after a second: \"%1\"").arg(QString::fromUtf8(outcome.body)));
    return outcome.success && outcome.body == "here at last" && server_->Hits("/flaky") > 1;
}

bool Demo::DownloadVerified()
{
    const QString target = directory_->filePath(QStringLiteral("downloads/update.bin"));
    const QString md5 = tools::string::converter::ToMD5(file_);
    QEventLoop loop;
    bool completed = false;

    IFileDownload* download = CreateFileDownload(&manager_, this);
    download->SetUrl(server_->Url(QStringLiteral("/file")));
    download->SetFileName(target);
    download->SetExpectedSize(file_.size());
    download->SetExpectedMD5(md5);
    download->SetRetryCount(2);
    connect(download, &IFileDownload::progress, &loop, [&](qint64 received, qint64 total) {
        progress_.Update(received, total);
        if (received == total)
            progress_.Finish();
    });
    progress_.Start();
    connect(download, &IFileDownload::failed, &loop, &QEventLoop::quit);
    connect(download, &IFileDownload::complete, &loop, [&] {
        completed = true;
        loop.quit();
    });
    if (download->Start())
        loop.exec();
    download->deleteLater();

    if (completed)
        Say(QStringLiteral("%1 bytes, MD5 %2, as announced")
                .arg(QString::number(QFile(target).size()), md5));
    return completed && server_->Hits("/file") == 2;
}

// Runs a job of FileCopier or FileRemover to its end; whether it succeeded.
template <typename Front>
bool Demo::AwaitJob(Front& front, bool (Front::*start)())
{
    QEventLoop loop;
    bool succeeded = false;
    connect(&front, &Front::progress, &loop, [&](int current, int total) {
        if (current == total)
            Say(QStringLiteral("%1 of %2 items").arg(current).arg(total));
    });
    connect(&front, &Front::failed, &loop, &QEventLoop::quit);
    connect(&front, &Front::succesed, &loop, [&] {
        succeeded = true;
        loop.quit();
    });
    (front.*start)();
    loop.exec();
    return succeeded;
}

bool Demo::CopyAndRemove()
{
    constexpr int fileCount = 200;
    const QDir source(directory_->filePath(QStringLiteral("tree")));
    const QDir copy(directory_->filePath(QStringLiteral("copy")));
    if (!source.mkpath(QStringLiteral("files")))
        return false;
    for (int i = 0; i < fileCount; ++i) {
        QFile file(source.filePath(QStringLiteral("files/%1").arg(i)));
        if (!file.open(QIODevice::WriteOnly) || file.write(file_.mid(i * 1000, 1000)) != 1000)
            return false;
    }
    if (!QFile::link(source.filePath(QStringLiteral("files/7")),
                     source.filePath(QStringLiteral("seven"))))
        return false;

    common::FileCopier copier;
    copier.AddDirectory(source.path(), copy.path());
    if (!AwaitJob(copier, &common::FileCopier::Copy))
        return false;
    QFile linked(copy.filePath(QStringLiteral("seven")));
    const bool intact = QFileInfo(linked).isSymLink() && linked.open(QIODevice::ReadOnly) &&
                        linked.readAll() == file_.mid(7000, 1000);
    Say(QStringLiteral("the absolute link leads into the copy now: %1")
            .arg(QFileInfo(linked).symLinkTarget() == copy.filePath(QStringLiteral("files/7"))
                     ? QStringLiteral("yes")
                     : QStringLiteral("no")));

    common::FileRemover remover;
    remover.AddDirectory(source.path());
    remover.AddDirectory(copy.path());
    return AwaitJob(remover, &common::FileRemover::Remove) && intact && !source.exists() &&
           !copy.exists();
}

bool Demo::ParseAddresses()
{
    using common::contact::number::INumberContext;
    struct Example
    {
        const char* text;
        int kind;
        const char* number;
    };
    const Example examples[] = {
        {" +74955550123,,1 2 3# ", INumberContext::PhoneNumber, "74955550123,123#"},
        {"\"Zoë\" <sip:zoe@Example.COM:5060;lr>", INumberContext::SipAddress,
         "zoe@example.com:5060"},
        {"skype:Echo123", INumberContext::SkypeName, "skype: echo123@skype.com"},
    };
    bool right = true;
    for (const Example& example : examples) {
        const QString text = QString::fromUtf8(example.text);
        const auto contact = common::contact::CreateInstance(text, QString());
        Say(QStringLiteral("'%1' is of kind %2: %3")
                .arg(text, QString::number(contact->Type()), contact->Number()));
        right = right && contact->Type() == example.kind &&
                contact->Number() == QLatin1String(example.number);
    }
    return right;
}

bool Demo::StoreSecret()
{
    using tools::cipher::AES;
    const QString secret = QStringLiteral("pässword");
    const QString stored = AES::encryptPair(QStringLiteral("mail"), secret);
    Say(QStringLiteral("stored as %1").arg(stored));
    return AES::decryptPair(QStringLiteral("mail"), stored) == secret &&
           AES::decryptPair(QStringLiteral("chat"), stored).isNull();
}

bool Demo::KeepSettings()
{
    const QString path = directory_->filePath(QStringLiteral("config/settings.json"));
    const QString key = QStringLiteral("of the demo");
    const QJsonObject settings{{QStringLiteral("ring"), true}, {QStringLiteral("volume"), 0.8}};
    tools::JsonFile loaded(path, key);
    tools::JsonFile withoutKey(path);
    if (!tools::JsonFile(path, settings, key).Save() || !loaded.Load() || !withoutKey.Load())
        return false;
    Say(QStringLiteral("%1 bytes, which are no JSON without the key: %2")
            .arg(QString::number(QFile(path).size()),
                 withoutKey.isNull() ? QStringLiteral("right") : QStringLiteral("wrong")));
    return withoutKey.isNull() && loaded.object() == settings;
}

bool Demo::ShowLog()
{
    const QDir directory(directory_->path());
    const QStringList files =
        directory.entryList({logFile + QLatin1Char('*')}, QDir::Files, QDir::Name | QDir::Reversed);
    if (files.isEmpty()) { // the user has it elsewhere
        Say(QStringLiteral("it is where the command line says"));
        return true;
    }
    QByteArray log;
    for (const QString& name : files) { // the oldest first
        QFile file(directory.filePath(name));
        if (!file.open(QIODevice::ReadOnly))
            return false;
        log += file.readAll();
    }
    Say(QStringLiteral("%1, of about %2 each at most; the last lines:")
            .arg(files.join(QStringLiteral(", ")), HumanSize(logFileSize)));
    const QList<QByteArray> lines = log.trimmed().split('\n');
    for (const QByteArray& line : lines.mid(std::max(0, lines.size() - 3)))
        Say(QString::fromUtf8(line));
    return lines.size() > 3;
}

} // namespace qvtool
