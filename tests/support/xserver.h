#pragma once

#include <QProcess>
#include <QString>

/** An X server without a screen (Xvfb) on a free display; ends with this object. */
class XServer
{
public:
    explicit XServer(const QStringList& options = {});
    ~XServer();

    /** As for DISPLAY: ":1"; no number if the server did not start. */
    QString Display() const { return display_; }

private:
    QProcess process_;
    QString display_;
};

/** For initMain(): the test's windows are on an X server of its own. */
void RunOnXServer(const QStringList& options = {});
