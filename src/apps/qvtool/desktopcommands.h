#pragma once

#include "command.h"

#include <common/tools/idlewatcher.h>

#include <QTimer>

namespace qvtool {

/** Shows a file in the desktop's file manager. */
class RevealCommand : public Command
{
    Q_OBJECT

public:
    explicit RevealCommand(ToolLogger& log);

protected:
    void Declare(QCommandLineParser& parser) override;
    void Configure(Arguments& arguments) override;
    void Start() override;
    QString Stop() override;

private:
    QString file_;
};

/** Prints the path of a new temporary directory. */
class TempPathCommand : public Command
{
    Q_OBJECT

public:
    explicit TempPathCommand(ToolLogger& log);

protected:
    void Declare(QCommandLineParser& parser) override;
    void Configure(Arguments& arguments) override;
    void Start() override;
    QString Stop() override;
};

/** Prints how long the user has been idle, each second; for an X server it needs a QGuiApplication. */
class IdleCommand : public Command
{
    Q_OBJECT

public:
    explicit IdleCommand(ToolLogger& log);

    /** Whether there is an X server that can tell; without any, a QGuiApplication would abort. */
    static bool HasXServer();

protected:
    void Declare(QCommandLineParser& parser) override;
    void Configure(Arguments& arguments) override;
    void Start() override;
    QString Stop() override;

private:
    void Tell(const QString& line);
    void Poll();

    QSharedPointer<common::IdleWatcher> watcher_;
    QTimer timer_;
    int left_ = -1;
};

} // namespace qvtool
