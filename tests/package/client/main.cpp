// Uses the library across its boundary in the ways that an incomplete installation breaks: a logger
// of its own, signals connected by name, run-time types, interfaces, the exported operators.

#include <common/contact/contactcontext.h>
#include <common/http/httprequest.h>
#include <common/logger/log.h>
#include <common/logger/logger.h>
#include <common/shell/filecopier.h>
#include <common/tools/clicktocall.h>
#include <common/tools/jsonfile.h>
#include <common/tools/keyboard.h>
#include <common/tools/process/prochelper.h>

#include <QtSingleCoreApplication>
#include <qtlockedfile.h>

#include <QDebug>
#include <QFile>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QTemporaryDir>

namespace {

constexpr common::logger::ICategory logCategory{"client"};
constexpr char logSource[] = "client";

class Lines : public common::logger::Logger
{
public:
    Lines() { SetLevel(common::logger::IMessage::DEBUG); }
    void Append(const common::logger::IMessage& message) override { texts += message.Text(); }

    QStringList texts;
};

class Outcome : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void Succeed() { QCoreApplication::exit(0); }
    void Fail(int code, const QString& text)
    {
        qCritical() << code << text;
        QCoreApplication::exit(1);
    }
};

bool Check(bool ok, const char* what)
{
    if (!ok)
        qCritical() << "failed:" << what;
    return ok;
}

bool CopiesFile(const QString& from, const QString& to)
{
    Outcome outcome;
    common::FileCopier copier;
    const bool connected =
        QObject::connect(&copier, SIGNAL(succesed()), &outcome, SLOT(Succeed())) &&
        QObject::connect(&copier, SIGNAL(failed(int, QString)), &outcome, SLOT(Fail(int, QString)));
    copier.AddFile(from, to);
    return connected && copier.Copy() && QCoreApplication::exec() == 0 && QFile::exists(to);
}

} // namespace

int main(int argc, char* argv[])
{
    QtSingleCoreApplication app(argc, argv);
    QNetworkAccessManager manager;
    const QTemporaryDir directory;
    Lines lines;
    common::logger::SetLogger(&lines);

    const QString file = directory.filePath(QStringLiteral("settings.json"));
    tools::JsonFile settings(file, QJsonObject{{QStringLiteral("volume"), 7}});
    const auto contact =
        common::contact::CreateInstance(QStringLiteral("sip:zoe@example.com"), QString());
    QObject* request = common::http::CreateHttpRequest(&manager, &manager);
    QVLOG(INFO) << "settings " << settings.object();

    const bool ok =
        Check(settings.Save(), "save a JSON file") &&
        Check(CopiesFile(file, directory.filePath(QStringLiteral("copy/settings.json"))),
              "copy it") &&
        Check(contact->User() == QLatin1String("zoe"), "parse an address") &&
        Check(qobject_cast<common::http::IHttpRequest*>(request), "cast by meta-object") &&
        Check(dynamic_cast<common::http::HttpRequest*>(request), "cast by run-time type") &&
        Check(lines.texts.filter(QStringLiteral("volume")).size() == 1,
              "log through an own logger") &&
        Check(!tools::Keyboard().IsCapsLock() &&
                  common::ClickToCall().availableProtocols().isEmpty() &&
                  tools::process::ProcHelper().FindProcessId({}) == 0,
              "ask objects of fixed answers") &&
        Check(!app.isRunning(), "be the first instance");
    common::logger::SetLogger(nullptr);
    if (ok)
        qInfo("client: all well");
    return ok ? 0 : 1;
}

#include "main.moc"
