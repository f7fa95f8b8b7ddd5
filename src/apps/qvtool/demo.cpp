#include "demo.h"

#include "text.h"

#include <common/contact/contactcontext.h>
#include <common/shell/filecopier.h>
#include <common/shell/fileremover.h>
#include <common/tools/cipher/aes.h>
#include <common/tools/jsonfile/jsonfile.h>

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QJsonObject>
#include <QRandomGenerator>

#include <algorithm>

namespace qvtool {

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

QByteArray Slice(const QByteArray& content, int number)
{
    constexpr int size = 1000;
    return content.mid(number * size, size);
}

// Files with a slice of the content each, and a link to number 7.
bool MakeTree(const QDir& root, const QByteArray& content)
{
    constexpr int fileCount = 200;
    if (!root.mkpath(QStringLiteral("files")))
        return false;
    for (int i = 0; i < fileCount; ++i) {
        const QByteArray slice = Slice(content, i);
        QFile file(root.filePath(QStringLiteral("files/%1").arg(i)));
        if (!file.open(QIODevice::WriteOnly) || file.write(slice) != slice.size())
            return false;
    }
    return QFile::link(root.filePath(QStringLiteral("files/7")),
                       root.filePath(QStringLiteral("seven")));
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
    const QDir source(directory_->filePath(QStringLiteral("tree")));
    const QDir copy(directory_->filePath(QStringLiteral("copy")));
    if (!MakeTree(source, file_))
        return false;

    common::FileCopier copier;
    copier.AddDirectory(source.path(), copy.path());
    if (!AwaitJob(copier, &common::FileCopier::Copy))
        return false;
    QFile linked(copy.filePath(QStringLiteral("seven")));
    const bool intact = QFileInfo(linked).isSymLink() && linked.open(QIODevice::ReadOnly) &&
                        linked.readAll() == Slice(file_, 7);
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
