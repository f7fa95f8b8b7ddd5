#pragma once

#include <common/logger/logger.h>

#include <QMutex>
#include <QStringList>

#include <functional>

/** Keeps every message; the current logger for as long as it lives. */
class RecordingLogger : public common::logger::Logger
{
public:
    RecordingLogger();
    ~RecordingLogger() override;

    void Append(const common::logger::IMessage& message) override;

    /** Calls the listener with each line, on the thread that logs: a test can act amid a job. */
    void SetListener(std::function<void(const QString& line)> listener);

    /**
     * The messages so far that contain the text, as "priority category function: text", without the
     * numbers in brackets that tell objects apart.
     */
    QStringList Lines(const QString& part = {}) const;
    /** The source files that logged, each once. */
    QStringList Files() const;

private:
    common::logger::ILogger* previous_;
    std::function<void(const QString&)> listener_;
    mutable QMutex mutex_;
    QStringList lines_;
    QStringList files_;
};
