#pragma once

#include <common/logger/ilogger.h>
#include <common/logger/logger.h>

#include <QObject>

/** A logger that sends its lines as a signal; the current one for as long as it lives. */
class LiveLogger : public QObject, public common::logger::Logger
{
    Q_OBJECT

public:
    LiveLogger();
    ~LiveLogger() override;

    void Append(const common::logger::IMessage& message) override;

Q_SIGNALS:
    /** On the thread that logs. */
    void line(int level, const QString& category, const QString& text);

private:
    common::logger::ILogger* previous_;
};
