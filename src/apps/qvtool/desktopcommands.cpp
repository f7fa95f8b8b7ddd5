#include "desktopcommands.h"

#include "text.h"

#include <common/shell/shell.h>

#include <QFileInfo>

#include <xcb/screensaver.h>

namespace qvtool {

namespace {

const auto countOption = QStringLiteral("count");
constexpr int pollInterval = 1000; // milliseconds

} // namespace

RevealCommand::RevealCommand(ToolLogger& log)
    : Command(QStringLiteral("reveal"), QStringLiteral("Show a file in the file manager."), log)
{
}

void RevealCommand::Declare(QCommandLineParser& parser)
{
    parser.addPositionalArgument(QStringLiteral("FILE"),
                                 QStringLiteral("Selected there if the file manager can do that."));
}

void RevealCommand::Configure(Arguments& arguments)
{
    arguments.ExpectPositionals({QStringLiteral("FILE")});
    file_ = arguments.Positional(0);
}

QString RevealCommand::Stop()
{
    return QStringLiteral("nothing was shown");
}

void RevealCommand::Start()
{
    const QFileInfo info(file_);
    if (!info.exists() && !info.isSymLink())
        Fail(QStringLiteral("cannot show '%1': it does not exist").arg(file_));
    else if (common::Shell::ShowFile(file_))
        Finish(Success);
    else
        Fail(Log().LastFailure("ShowFile"));
}

TempPathCommand::TempPathCommand(ToolLogger& log)
    : Command(QStringLiteral("temp-path"),
              QStringLiteral("Print the path of a new temporary directory; nothing is created."),
              log)
{
}

void TempPathCommand::Declare(QCommandLineParser&)
{
}

void TempPathCommand::Configure(Arguments& arguments)
{
    arguments.ExpectPositionals({});
}

QString TempPathCommand::Stop()
{
    return QStringLiteral("nothing was printed");
}

void TempPathCommand::Start()
{
    FinishWritten(PrintLine(stdout, common::Shell::TempPath()));
}

IdleCommand::IdleCommand(ToolLogger& log)
    : Command(QStringLiteral("idle"),
              QStringLiteral("Print each second how long the user has been idle, and when he goes "
                             "and comes back."),
              log)
{
    connect(&timer_, &QTimer::timeout, this, &IdleCommand::Poll);
}

bool IdleCommand::HasXServer()
{
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    bool usable = false;
    if (!xcb_connection_has_error(connection)) {
        const auto* extension = xcb_get_extension_data(connection, &xcb_screensaver_id);
        usable = extension && extension->present;
    }
    xcb_disconnect(connection);
    return usable;
}

void IdleCommand::Declare(QCommandLineParser& parser)
{
    parser.addOption({countOption, QStringLiteral("End after COUNT lines of seconds."),
                      QStringLiteral("COUNT")});
}

void IdleCommand::Configure(Arguments& arguments)
{
    arguments.ExpectPositionals({});
    if (arguments.Has(countOption))
        left_ = arguments.Number(countOption, 1);
}

QString IdleCommand::Stop()
{
    return QStringLiteral("no longer watching");
}

void IdleCommand::Start()
{
    watcher_ = common::IdleWatcher::instance();
    connect(watcher_.data(), &common::IdleWatcher::idle, this,
            [this](int seconds) { Tell(QStringLiteral("event: idle for %1 s").arg(seconds)); });
    connect(watcher_.data(), &common::IdleWatcher::active, this,
            [this] { Tell(QStringLiteral("event: active again")); });
    timer_.start(pollInterval);
    Poll();
}

void IdleCommand::Poll()
{
    const int seconds = watcher_->seconds();
    const QString backend = watcher_->backendName();
    if (seconds < 0 && backend == QLatin1String("X11"))
        return Fail(
            QStringLiteral("nothing tells how long the user is idle: no compositor, and no X "
                           "server with the screen-saver extension (DISPLAY is '%1')")
                .arg(QString::fromLocal8Bit(qgetenv("DISPLAY"))));
    Tell(backend +
         (seconds < 0 ? QStringLiteral(": unknown") : QStringLiteral(": %1 s").arg(seconds)));
    if (left_ > 0 && --left_ == 0)
        Finish(Success);
}

void IdleCommand::Tell(const QString& line)
{
    if (!PrintLine(stdout, line))
        FinishWritten(false);
}

} // namespace qvtool
