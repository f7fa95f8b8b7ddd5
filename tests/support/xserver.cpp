#include "support/xserver.h"

XServer::XServer(const QStringList& options)
{
    // Not reset when its last client goes: the next one may come just then, and be turned away.
    process_.start("Xvfb", QStringList{"-displayfd", "1", "-noreset", "-screen", "0", "1024x768x24",
                                       "-nolisten", "tcp"} +
                               options);
    while (!process_.canReadLine() && process_.waitForReadyRead(10000)) {
    }
    display_ = ':' + QString::fromLatin1(process_.readLine().trimmed());
}

XServer::~XServer()
{
    process_.terminate();
    process_.waitForFinished();
}

void RunOnXServer(const QStringList& options)
{
    static const XServer server(options);
    qputenv("DISPLAY", server.Display().toLatin1());
    qputenv("QT_QPA_PLATFORM", "xcb");
}
