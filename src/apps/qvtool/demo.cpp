#include "command.h"
#include "console.h"

#include <loopback/samples.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <csignal>

namespace qvtool {

namespace {

constexpr int mostLines = 20; // of what a command prints
constexpr int mostColumns = 92;

struct Step
{
    const char* title;
    const char* command; ///< for a shell, in a directory with a folder "tree"; $URL is the server
    QByteArray expected; ///< in what it prints
};

QList<Step> Steps()
{
    return {
        {"GET with form parameters", "qvtool get $URL/query --form 'name=Zoë & Co' --form line=2",
         "line=2&name=Zo%C3%AB%20%26%20Co"},
        {"POST of a JSON object",
         "echo '{\"caller\": \"Zoë\", \"line\": 2}' | qvtool post $URL/echo --json -",
         "{\"caller\": \"Zoë\", \"line\": 2}"},
        {"POST of a multipart form with a file",
         "qvtool post $URL/echo --part comment=hello --file file='tree/folder 0/file 7'",
         "\r\n\r\na small file\n\r\n"},
        {"A reply compressed with gzip", "qvtool get $URL/gzip", loopback::SampleText()},
        {"A connection that breaks", "qvtool get $URL/flaky --tries 3 --interval 1",
         "here at last"},
        {"A verified download, damaged at the first try",
         "qvtool download $URL/file new --md5 67999ad5d4044f7c0086ac4cb4f36d68 --tries 2",
         "50331648 bytes"},
        {"A tree copied, with a log", "qvtool copy tree copy --log-file log && tail -n 2 log",
         "200 items copied"},
        {"Trees removed", "qvtool remove tree copy --yes", "406 items removed"},
        {"What people type becomes a number to dial",
         "qvtool parse '\"Zoë\" <sip:zoe@Example.COM:5060;lr>'",
         "number            zoe@example.com:5060"},
        {"A secret encrypted, and decrypted again",
         "echo sesame | qvtool encrypt | tee sealed && qvtool decrypt < sealed", "\nsesame\n"},
    };
}

// A transcript of the other commands at work against a server of its own.
class Demo
{
public:
    explicit Demo(const Call& call) : isQuiet_(call.IsQuiet()) {}

    void Run()
    {
        if (!directory_.isValid() || !server_.Listen() ||
            !loopback::MakeSampleTree(directory_.filePath("tree"), 2, 100))
            Fail(QString("cannot start: %1 %2")
                     .arg(directory_.errorString(), server_.errorString()));
        const QByteArray ownDirectory = QFile::encodeName(QCoreApplication::applicationDirPath());
        qputenv("PATH", ownDirectory + ':' + qgetenv("PATH"));
        qputenv("no_proxy", "*");
        qputenv("URL", server_.Url({}).toEncoded());
        server_.DamageNextFile();
        QElapsedTimer clock;
        clock.start();
        Say("URL=" + server_.Url({}).toString() + '\n');
        int number = 0;
        for (const Step& step : Steps()) {
            Say(QString("%1. %2\n   $ %3").arg(++number).arg(step.title, step.command));
            const auto before = server_.Requests().size();
            if (!RunCommand(step.command).contains(step.expected))
                Fail(QString("step %1 failed: %2").arg(number).arg(step.command));
            const auto requests = server_.Requests().size() - before;
            Say(requests > 1 ? QString("   (at request %1)\n").arg(requests) : QString());
        }
        Say(QString("All %1 steps ended as they should, in %2 s.")
                .arg(number)
                .arg(double(clock.elapsed()) / 1000, 0, 'f', 1));
    }

private:
    void Say(const QString& text) const
    {
        if (!isQuiet_)
            PrintLine(text);
    }

    // Returns its output, if it succeeds.
    QByteArray RunCommand(const QString& command) const
    {
        QProcess shell;
        shell.setWorkingDirectory(directory_.path());
        shell.setProcessChannelMode(isQuiet_ ? QProcess::SeparateChannels
                                             : QProcess::ForwardedErrorChannel);
        QEventLoop loop;
        QObject::connect(&shell, &QProcess::stateChanged, &loop, [&](QProcess::ProcessState state) {
            if (state == QProcess::NotRunning)
                loop.quit();
        });
        Await(loop, [&] { shell.start("setsid", {"sh", "-c", command}); });
        if (shell.state() != QProcess::NotRunning)
            kill(-static_cast<pid_t>(shell.processId()), SIGKILL); // its pipelines, too
        shell.kill();                                              // which may not have a group yet
        shell.waitForFinished();
        EndIfInterrupted("the demo did not run to its end");
        const QByteArray output = shell.readAllStandardOutput();
        Show(output);
        const bool isDone = shell.exitStatus() == QProcess::NormalExit && shell.exitCode() == 0;
        return isDone ? output : QByteArray();
    }

    void Show(const QByteArray& output) const
    {
        const QStringList lines = QString::fromUtf8(output).trimmed().split('\n');
        for (const QString& line : lines.mid(0, mostLines))
            Say("   " + Escaped(line.left(mostColumns).trimmed()) +
                (line.size() > mostColumns ? "..." : ""));
    }

    bool isQuiet_;
    loopback::SampleServer server_;
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
    "demo", "Show the other commands at work; no network is needed.", {}, {}, &RunDemo,
};

} // namespace qvtool
