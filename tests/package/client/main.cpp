// Uses the library across its boundary in the ways that an incomplete installation breaks: a logger
// of its own, run-time types, interfaces, the exported operators.

#include <common/contact/contactcontext.h>
#include <common/http/httprequest.h>
#include <common/logger/log.h>
#include <common/logger/logger.h>
#include <common/tools/jsonfile.h>

#include <QtSingleCoreApplication>
#include <qtlockedfile.h>

#include <QDebug>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QTemporaryDir>

namespace {

constexpr common::logger::ICategory logCategory{"client"};
constexpr char logSource[] = "client";

struct Lines : common::logger::Logger
{
    Lines() { SetLevel(common::logger::IMessage::DEBUG); }
    void Append(const common::logger::IMessage& message) override { texts += message.Text(); }

    QStringList texts;
};

} // namespace

int main(int argc, char* argv[])
{
    QtSingleCoreApplication app(argc, argv);
    QNetworkAccessManager manager;
    const QTemporaryDir directory;
    Lines lines;
    common::logger::SetLogger(&lines);

    tools::JsonFile settings(directory.filePath("settings.json"), QJsonObject{{"volume", 7}});
    const auto contact = common::contact::CreateInstance("sip:zoe@example.com", "");
    QObject* request = common::http::CreateHttpRequest(&manager, &manager);
    QVLOG(INFO) << "settings " << settings.object();

    const QList<QPair<const char*, bool>> checks = {
        {"save a JSON file", settings.Save()},
        {"parse an address", contact->User() == "zoe"},
        {"cast by meta-object", qobject_cast<common::http::IHttpRequest*>(request) != nullptr},
        {"cast by run-time type", dynamic_cast<common::http::HttpRequest*>(request) != nullptr},
        {"log through an own logger", lines.texts.filter("volume").size() == 1},
        {"be the first instance", !app.isRunning()}};
    common::logger::SetLogger(nullptr);
    int failures = 0;
    for (const auto& [what, ok] : checks) {
        if (!ok)
            qCritical() << "failed:" << what << ++failures;
    }
    return failures;
}
