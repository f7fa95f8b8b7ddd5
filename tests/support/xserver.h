#pragma once

#include <QProcess>

/**
 * For initMain(): the test's windows, and those of programs it starts, are on an X server without a
 * screen (Xvfb) of its own, on a free display.
 */
inline void RunOnXServer(const QStringList& options = {})
{
    static struct Server : QProcess
    {
        ~Server() override
        {
            terminate(); // so that it leaves no lock of the display behind
            waitForFinished();
        }
    } server;
    // Not reset when its last client goes: the next one may come just then, and be turned away.
    server.start("Xvfb", QStringList{"-displayfd", "1", "-noreset", "-screen", "0", "1024x768x24",
                                     "-nolisten", "tcp"} +
                             options);
    while (!server.canReadLine() && server.waitForReadyRead(10000)) {
    }
    qputenv("DISPLAY", ':' + server.readLine().trimmed());
    qputenv("QT_QPA_PLATFORM", "xcb");
}
